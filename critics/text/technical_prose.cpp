#include "critics/text/technical_prose.h"

#include "critics/text/english_words.h"
#include "critics/text/prose.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <array>
#include <cstddef>
#include <string>
#include <unordered_set>

namespace trevix {

namespace text = kelvane::text;

namespace {

// Where these come from stands in docs/thresholds.md.
constexpr std::size_t kWordsOfASign = 150; // Of prose that is about programs.
constexpr std::size_t kTermsOfASign = 3;   // Different words of the trade.
constexpr std::size_t kLongestToken = 200; // Bytes; what is longer is no name.

// Words of the trade; those that everybody uses of computers are left out.
constexpr std::string_view kTrade =
    "api apis argv async autoconf backend backends backtrace basename bitmap boolean "
    "booleans bytecode bytes callback callbacks changelog checksum checksums cli codec "
    "codecs compile compiled compiler compilers compiles config configs const cron daemon "
    "daemons debian debugger debugging decoder deprecated deprecation dereference destructor "
    "dict directories directory dirname docstring encoder encodings endian enum enums "
    "environ exec executable executables filename filenames filesystem filesystems fixme "
    "formatter git glob gnome gtk gui gzip hash hashes hashing hostname html http https init "
    "initialization inode instantiate integer integers int interpreter iterable iterator "
    "iterators javascript json kde kernel kernels lexer libc libraries linker linux "
    "localhost login macro macros makefile malloc metadata middleware module modules mutex "
    "namespace namespaces newline newlines null numpy opengl param parameter parameters "
    "params parse parsed parser parsers parses parsing pathname perl plugin plugins pointer "
    "pointers prepend preprocessor printf python recursion recursive refactor refactored "
    "regex regexp repo repositories repository runtime sdk segfault serialization serializer "
    "sizeof socket sockets stderr stdin stdout struct structs stylesheet subclass subclasses "
    "subcommand subdirectories subdirectory submodule subprocess substring symlink symlinks "
    "syntax sysadmin syscall tarball timestamp timestamps tokenizer toolchain traceback "
    "tuple tuples typedef unicode unix unset uri url urls utf utils uuid variable variables "
    "webkit whitespace widget widgets wrapper wrappers xml yaml";

constexpr std::array<std::string_view, 48> kExtensions = {
    "c",    "cc",  "cfg",  "conf", "cpp",   "css", "csv",   "deb",  "desktop", "exe",
    "gz",   "h",   "hpp",  "htm",  "html",  "ini", "ipynb", "java", "jar",     "js",
    "json", "lua", "md",   "mjs",  "patch", "php", "pl",    "pm",   "po",      "ps1",
    "py",   "pyc", "rb",   "rc",   "rs",    "rst", "sh",    "so",   "sql",     "svg",
    "tar",  "tex", "toml", "ts",   "txt",   "xml", "yaml",  "yml"};

bool isSmall(char c) {
    return c >= 'a' && c <= 'z';
}
bool isLarge(char c) {
    return c >= 'A' && c <= 'Z';
}

/// "setValue"; not "iPhone", "GitHub", "McGregor".
bool hasHump(std::string_view token) {
    if (token.size() < 5 || !isSmall(token[0]) || !isSmall(token[1])) return false;
    for (std::size_t i = 2; i + 1 < token.size(); ++i) {
        if (!text::isAsciiWord(token[i])) return false;
        if (isLarge(token[i]) && isSmall(token[i - 1]) && isSmall(token[i + 1])) return true;
    }
    return false;
}

bool isFileName(std::string_view token) {
    const std::size_t dot = token.rfind('.');
    if (dot == std::string_view::npos || dot + 1 >= token.size()) return false;
    // "a.c." is short for something.
    if (dot < 2 || !text::isAsciiWord(token[dot - 1])) return false;
    return text::isOneOf(token.substr(dot + 1), kExtensions);
}

/// "4.2.1", "v2.39.4rc1": at least three numbers; not "14.9.2026", "14.09.26", "1.000.000".
bool isVersion(std::string_view token) {
    const bool named = token.starts_with('v');
    if (named) token.remove_prefix(1);
    std::array<std::size_t, 3> digits{}; // Of each of the first three numbers.
    std::size_t at = 0;
    for (std::size_t& count : digits) {
        while (at < token.size() && text::isAsciiDigit(token[at])) {
            ++at;
            ++count;
        }
        const bool last = &count == &digits.back();
        if (count == 0 || (!last && (at == token.size() || token[at++] != '.'))) return false;
    }
    if (named || at < token.size()) return named || token[at] != '.' || at + 1 < token.size();
    // A day ends in a year, of two or four digits; thousands in three.
    return digits[2] == 1;
}

/// "open(2)", "fsck(8)".
bool isManual(std::string_view token) {
    return token.size() > 4 && token.back() == ')' && token[token.size() - 3] == '(' &&
           text::isAsciiDigit(token[token.size() - 2]) && isSmall(token[0]) &&
           isSmall(token[token.size() - 4]);
}

/// ":param", ":returns:", "@param": how a comment on code names what it tells of.
bool isField(std::string_view token) {
    constexpr std::array<std::string_view, 15> kFields = {
        ":param", ":type", ":return", ":returns", ":rtype", ":raise",  ":raises", ":class",
        ":func",  ":meth", ":mod",    ":attr",    "@param", "@return", "@throws"};
    return text::isOneOf(token.substr(0, token.find(':', 1)), kFields);
}

bool isOfCode(std::string_view token) {
    constexpr std::array<std::string_view, 7> kMarks = {"()", "::", "->", "==", "!=", "&&", "||"};
    for (const std::string_view mark : kMarks) {
        if (token.size() > mark.size() && token.find(mark) != std::string_view::npos) return true;
    }
    if (isManual(token) || isField(token)) return true;
    while (!token.empty() &&
           std::string_view("([{\"'<*").find(token.front()) != std::string_view::npos)
        token.remove_prefix(1);
    while (!token.empty() &&
           std::string_view(")]}\"'>*.,;:!?").find(token.back()) != std::string_view::npos)
        token.remove_suffix(1);
    if (token.size() < 3) return false;
    if (token.starts_with("--") && isSmall(token[2])) return true;
    if (token.starts_with('$') && text::isAsciiLetter(token[1])) return true;
    if (token.starts_with("~/") || token.starts_with("./") || token.starts_with("../")) return true;
    if (token[0] == '/' && text::isAsciiLetter(token[1]) &&
        token.find('/', 2) != std::string_view::npos) {
        return true;
    }
    const std::size_t low = token.find('_');
    if (low != std::string_view::npos && low > 0 && low + 1 < token.size() &&
        text::isAsciiWord(token[low - 1]) && text::isAsciiLetter(token[low + 1])) {
        return true;
    }
    const std::size_t equals = token.find('=');
    if (equals != std::string_view::npos && equals > 1 && equals + 1 < token.size() &&
        text::isAsciiLetter(token[0]) && text::isAsciiWord(token[equals - 1])) {
        return true;
    }
    return hasHump(token) || isFileName(token) || isVersion(token);
}

std::size_t tokensOfCode(std::string_view masked) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < masked.size();) {
        const auto blank = [&](std::size_t at) {
            return static_cast<unsigned char>(masked[at]) <= ' '; // Also what is masked.
        };
        if (blank(i)) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < masked.size() && !blank(end)) ++end;
        if (end - i <= kLongestToken && isOfCode(masked.substr(i, end - i))) ++count;
        i = end;
    }
    return count;
}

std::size_t termsOfTheTrade(std::string_view masked, const std::vector<text::Word>& words) {
    static const WordSet trade(kTrade);
    constexpr std::size_t kLongest = 16;
    std::unordered_set<std::string> found;
    for (const text::Word& word : words) {
        if (word.length > kLongest || word.length < 3) continue;
        std::string own = text::lowerAscii(masked.substr(word.offset, word.length));
        if (trade.has(own)) found.insert(std::move(own));
    }
    return found.size();
}

} // namespace

bool isTechnicalProse(std::string_view masked, const std::vector<text::Word>& words) {
    const std::size_t wanted = 1 + words.size() / kWordsOfASign;
    const std::size_t tokens = tokensOfCode(masked);
    if (tokens >= wanted) return true;
    return tokens + termsOfTheTrade(masked, words) / kTermsOfASign >= wanted;
}

} // namespace trevix
