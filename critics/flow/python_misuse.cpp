#include "critics/flow/python_misuse.h"

#include "critics/flow/python_sinks.h"
#include "text/letters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <unordered_set>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

using Index = SyntaxTree::Index;
using Kind = Misuse::Kind;
constexpr Index kNone = SyntaxTree::kNone;

bool contains(std::string_view text, std::string_view what) {
    return text.find(what) != std::string_view::npos;
}

/// Whether a name, or what is read of an object, is that of a password.
bool namesPassword(std::string_view expression) {
    const std::string lower = text::lowerAscii(expression);
    return contains(lower, "password") || contains(lower, "passwd") ||
           contains(lower, "passphrase") || lower == "pwd" || lower == "pw";
}

/// Whether a name is that of what opens something, and not of where it stands or how long it is.
bool namesSecret(std::string_view name) {
    constexpr std::array<std::string_view, 12> kSecrets = {
        "password",   "passwd",      "passphrase", "secret",       "api_key",       "apikey",
        "secret_key", "private_key", "auth_token", "access_token", "client_secret", "pwd"};
    const std::string lower = text::lowerAscii(name);
    return std::ranges::any_of(kSecrets, [&](std::string_view secret) {
        if (!lower.ends_with(secret)) return false;
        const std::string_view before =
            std::string_view(lower).substr(0, lower.size() - secret.size());
        return before.empty() || before.ends_with('_');
    });
}

/// Whether a name is that under which frameworks keep what they sign with.
bool namesSigningKey(std::string_view name) {
    const std::string lower = text::lowerAscii(name);
    return lower == "secret" || lower == "secret_key" || lower == "cookie_secret" ||
           lower == "session_secret" || lower == "jwt_secret_key";
}

/// Whether a value in quotes stands for one that each user fills in.
bool isPlaceholder(std::string_view value) {
    return value.find_first_of("<{$%[") != std::string_view::npos || contains(value, "xxx") ||
           contains(value, "***") || contains(value, "...") || contains(value, "…");
}

/// Whether a pattern repeats what is repeated already, so that a text of n characters can be read
/// in 2^n ways: "(a+)+", "([a-z]*)*". Only groups of a single piece: with more in them it depends.
bool repeatsRepeated(std::string_view pattern) {
    for (std::size_t open = pattern.find('('); open != std::string_view::npos;
         open = pattern.find('(', open + 1)) {
        if (open > 0 && pattern[open - 1] == '\\') continue;
        std::size_t at = open + 1;
        if (pattern.substr(at, 2) == "?:") at += 2;
        if (at >= pattern.size()) return false;
        // One piece: a class, an escape or a character.
        if (pattern[at] == '[') {
            at = pattern.find(']', at + 2);
            if (at == std::string_view::npos) return false;
            ++at;
        } else if (pattern[at] == '\\') {
            at += 2;
        } else if (pattern[at] == '(' || pattern[at] == ')' || pattern[at] == '?') {
            continue;
        } else {
            ++at;
        }
        if (at + 2 >= pattern.size()) continue;
        const bool inner = pattern[at] == '+' || pattern[at] == '*';
        const bool outer = pattern[at + 2] == '+' || pattern[at + 2] == '*';
        if (inner && pattern[at + 1] == ')' && outer) return true;
    }
    return false;
}

class Search {
public:
    Search(const SyntaxTree& tree, std::string_view text)
        : m_tree(tree),
          m_text(text),
          m_names(tree, text),
          m_web(importsAnyOf(m_names, kWebFrameworks)) {}

    std::vector<Misuse> run() {
        collectNames();
        m_verifies = contains(m_text, "verify_jwt");
        m_plainMail = contains(m_text, "smtplib.SMTP(") && !contains(m_text, "starttls");
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            const std::string_view kind = m_tree[i].kind;
            if (kind == "call") call(i);
            if (kind == "assignment") assignment(i);
            if (kind == "default_parameter" || kind == "typed_default_parameter") parameter(i);
            if (kind == "pair") entry(i);
            if (kind == "comparison_operator") comparison(i);
            if (kind == "while_statement") loop(i);
            if (kind == "for_statement") count(i);
            if (kind == "return_statement") answer(i);
            if (kind == "string") literal(i);
            if (kind == "class_definition") definition(i);
        }
        std::ranges::stable_sort(m_found, {}, &Misuse::offset);
        return std::move(m_found);
    }

private:
    [[nodiscard]] std::string_view textOf(Index node) const { return m_tree.textOf(node, m_text); }

    void add(Kind kind, Index node) {
        m_found.push_back({kind, m_tree[node].begin, m_tree[node].end - m_tree[node].begin});
    }

    /// The value of an argument by name; kNone without it.
    [[nodiscard]] Index option(Index arguments, std::string_view name) const {
        for (Index at = arguments == kNone ? kNone : m_tree.firstChild(arguments); at != kNone;
             at = m_tree.nextSibling(at)) {
            if (m_tree.is(at, "keyword_argument") && textOf(m_tree.child(at, "name")) == name) {
                return m_tree.child(at, "value");
            }
        }
        return kNone;
    }
    [[nodiscard]] bool says(Index arguments, std::string_view name, std::string_view value) const {
        const Index given = option(arguments, name);
        return given != kNone && textOf(given) == value;
    }
    /// The argument at that place, counted from 0; kNone where it is given by name.
    [[nodiscard]] Index place(Index arguments, std::size_t number) const {
        for (Index at = arguments == kNone ? kNone : m_tree.firstChild(arguments); at != kNone;
             at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named || m_tree.is(at, "comment")) continue;
            if (m_tree.is(at, "keyword_argument")) return kNone;
            if (number-- == 0) return at;
        }
        return kNone;
    }

    [[nodiscard]] bool isFixed(Index node) const {
        return m_tree.is(node, "string") && !hasInterpolation(node);
    }
    /// Whether the same bytes come out each time: in quotes, repeated, or by a name that is given
    /// such a value and no other.
    [[nodiscard]] bool isConstant(Index node) const {
        if (m_tree.is(node, "binary_operator") && textOf(m_tree.child(node, "operator")) == "*") {
            return isFixed(m_tree.child(node, "left"));
        }
        return isFixed(node) ||
               (m_tree.is(node, "identifier") && m_constants.contains(textOf(node)));
    }
    [[nodiscard]] bool hasInterpolation(Index string) const {
        for (Index at = m_tree.firstChild(string); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree.is(at, "interpolation")) return true;
        }
        return false;
    }
    [[nodiscard]] std::string_view inside(Index string) const {
        std::string_view literal = textOf(string);
        const std::size_t quote = literal.find_first_of("\"'");
        if (quote == std::string_view::npos) return {};
        const char mark = literal[quote];
        literal.remove_prefix(quote);
        while (!literal.empty() && literal.front() == mark) literal.remove_prefix(1);
        while (!literal.empty() && literal.back() == mark) literal.remove_suffix(1);
        return literal;
    }

    /// Text put together from fixed pieces and others.
    [[nodiscard]] bool isBuilt(Index node) const {
        if (m_tree.is(node, "string")) return hasInterpolation(node);
        if (m_tree.is(node, "binary_operator")) {
            const std::string_view sign = textOf(m_tree.child(node, "operator"));
            const Index left = m_tree.child(node, "left");
            const Index right = m_tree.child(node, "right");
            return sign == "%" || (sign == "+" && (!isFixed(left) || !isFixed(right)));
        }
        return m_tree.is(node, "call") &&
               textOf(m_tree.child(m_tree.child(node, "function"), "attribute")) == "format";
    }

    /// Whether a block around it asks something, or expects a failure: it may be for what is
    /// missing elsewhere. Of so many levels, as nothing real has more.
    [[nodiscard]] bool isConditional(Index node) const {
        constexpr int kLevels = 60;
        for (int level = 0; node != 0 && level < kLevels; ++level) {
            node = m_tree[node].parent;
            const std::string_view kind = m_tree[node].kind;
            if (kind == "if_statement" || kind == "try_statement" ||
                kind == "conditional_expression" || kind == "boolean_operator") {
                return true;
            }
        }
        return false;
    }

    /// The name that an expression of names and dots begins with.
    [[nodiscard]] std::string_view rootOf(Index node) const {
        while (m_tree.is(node, "attribute")) node = m_tree.child(node, "object");
        return node == kNone ? std::string_view() : textOf(node);
    }

    /// The function around it; kNone outside of any.
    [[nodiscard]] Index functionAround(Index node) const {
        constexpr int kLevels = 60;
        for (int level = 0; node != 0 && level < kLevels; ++level) {
            node = m_tree[node].parent;
            if (m_tree.is(node, "function_definition")) return node;
        }
        return kNone;
    }

    // ---- calls ----

    void call(Index node) {
        const Index function = m_tree.child(node, "function");
        const Index arguments = m_tree.child(node, "arguments");
        const std::string whole = m_names.full(function);
        const std::string_view last = lastName(whole);
        ciphers(node, arguments, whole, last);
        tokens(node, arguments, whole, last);
        pages(node, arguments, whole, last);
        cookies(node, arguments, last);
        parsers(node, arguments, whole, last);
        passwords(node, arguments, whole, last);
        keys(arguments, whole, last);
        peers(node, arguments, whole, last);
        shown(node, arguments, whole, last);
        shells(node, arguments, whole, last);
        const bool gone = text::isOneOf(whole, kGone) || isOfGoneModule(whole);
        if (gone && !isConditional(node) && !m_chosen.contains(rootOf(function))) {
            add(Kind::goneFunction, node);
        }
        if (whole == "ssl.wrap_socket" && option(arguments, "cert_reqs") == kNone) {
            add(Kind::unverifiedPeer, node);
        }
        // Its answer is how a program asks for the mask.
        if (whole == "os.umask" && textOf(place(arguments, 0)) == "0" &&
            m_tree.is(m_tree[node].parent, "expression_statement")) {
            add(Kind::laxSetting, node);
        }
        if (says(arguments, "require_csrf", "False") || says(arguments, "check_origin", "False")) {
            add(Kind::laxSetting, node);
        }
        if (whole.starts_with("re.") && repeatsRepeated(inside(place(arguments, 0)))) {
            add(Kind::slowPattern, node);
        }
    }

    void ciphers(Index node, Index arguments, std::string_view whole, std::string_view last) {
        const Index first = place(arguments, 0);
        if (whole.starts_with("hashlib.") && text::isOneOf(last, kFastHashes) && first != kNone &&
            !m_tree.is(first, "string") && namesPassword(textOf(first))) {
            add(Kind::fastPasswordHash, node);
        }
        if (last == "pbkdf2_hmac" || last == "scrypt" || last == "PBKDF2HMAC" || last == "PBKDF2" ||
            last == "Scrypt" || last == "bcrypt_pbkdf") {
            const Index salt = option(arguments, "salt") != kNone ? option(arguments, "salt")
                               : last == "pbkdf2_hmac"            ? place(arguments, 2)
                               : last == "PBKDF2"                 ? place(arguments, 1)
                                                                  : kNone;
            if (isConstant(salt)) add(Kind::fixedSalt, node);
            const Index rounds = last == "pbkdf2_hmac" && option(arguments, "iterations") == kNone
                                     ? place(arguments, 3)
                                     : option(arguments, "iterations");
            if (isFewRounds(textOf(rounds))) add(Kind::fewIterations, node);
        }
        if ((whole.ends_with("crypt.crypt") || whole == "bcrypt.hashpw") &&
            isFixed(place(arguments, 1))) {
            add(Kind::fixedSalt, node);
        }
        // "modes.CBC(start)"
        if (contains(whole, "ciphers.modes.") && isConstant(first)) add(Kind::fixedSalt, node);
        if (!whole.starts_with("Crypto.") && !whole.starts_with("Cryptodome.")) return;
        if (last != "new" || !contains(whole, ".Cipher")) return;
        if (contains(whole, ".DES") || contains(whole, ".ARC") || contains(whole, ".Blowfish") ||
            contains(whole, ".XOR")) {
            add(Kind::brokenCipher, node);
            return;
        }
        if (textOf(place(arguments, 1)).ends_with("MODE_ECB") ||
            textOf(option(arguments, "mode")).ends_with("MODE_ECB")) {
            add(Kind::blockwiseCipher, node);
        }
        const Index start = option(arguments, "iv") != kNone      ? option(arguments, "iv")
                            : option(arguments, "IV") != kNone    ? option(arguments, "IV")
                            : option(arguments, "nonce") != kNone ? option(arguments, "nonce")
                                                                  : place(arguments, 2);
        if (isConstant(start)) add(Kind::fixedSalt, node);
        if (isFixed(place(arguments, 0))) add(Kind::knownPassword, node);
    }

    [[nodiscard]] static bool isFewRounds(std::string_view digits) {
        // NIST SP 800-132 asks for a thousand at the least, in 2010; ten times that is what the
        // machines of today made of it.
        constexpr int kFewest = 10'000;
        int rounds = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), rounds);
        return !digits.empty() && read.ec == std::errc() &&
               read.ptr == digits.data() + digits.size() && rounds < kFewest;
    }

    void tokens(Index node, Index arguments, std::string_view whole, std::string_view last) {
        const bool jwt =
            contains(whole, "jwt") || contains(whole, "jose") || contains(whole, "jws");
        if (!jwt) return;
        const std::string_view options = textOf(option(arguments, "options"));
        if (last == "decode" &&
            (says(arguments, "verify", "False") || textOf(place(arguments, 2)) == "False" ||
             (contains(options, "verify_signature") && contains(options, "False")) ||
             contains(text::lowerAscii(textOf(option(arguments, "algorithms"))), "none"))) {
            add(Kind::unverifiedToken, node);
        }
        if (last == "encode" && (inside(option(arguments, "algorithm")) == "none" ||
                                 textOf(option(arguments, "algorithm")) == "None")) {
            add(Kind::unverifiedToken, node);
        }
        if (last == "process_jwt" && !m_verifies) add(Kind::unverifiedToken, node);
    }

    void pages(Index node, Index arguments, std::string_view whole, std::string_view last) {
        if ((last == "Context" || last == "RequestContext" || last == "select_autoescape") &&
            says(arguments, "autoescape", "False")) {
            add(Kind::unescapedTemplate, node);
        }
        const Index first = place(arguments, 0);
        if (last == "format_html" && first != kNone && isBuilt(first)) add(Kind::builtMarkup, node);
        if ((last == "Markup" && (m_web || contains(whole, "markupsafe"))) ||
            (last == "mark_safe" && contains(whole, "django")) || last == "SafeString") {
            if (first != kNone && isBuilt(first)) add(Kind::builtMarkup, node);
        }
        if (whole == "re.sub" || whole == "re.compile") {
            const std::string pattern = text::lowerAscii(inside(first));
            if (contains(pattern, "<script") || contains(pattern, "<\\s*script")) {
                add(Kind::tagFilter, node);
            }
        }
    }

    void cookies(Index node, Index arguments, std::string_view last) {
        if (last != "set_cookie" && !last.ends_with("AuthenticationPolicy") &&
            last != "SignedCookieSessionFactory" && last != "set_signed_cookie") {
            return;
        }
        if (says(arguments, "secure", "False") || says(arguments, "httponly", "False")) {
            add(Kind::laxCookie, node);
            return;
        }
        // What opens a session is no cookie for everybody.
        const std::string name = text::lowerAscii(inside(place(arguments, 0)));
        const bool opens = contains(name, "sess") || contains(name, "token") ||
                           contains(name, "auth") || contains(name, "login") ||
                           contains(name, "password") || contains(name, "remember");
        if (last == "set_cookie" && opens && option(arguments, "secure") == kNone &&
            option(arguments, "httponly") == kNone && !contains(textOf(arguments), "**")) {
            add(Kind::laxCookie, node);
        }
    }

    void parsers(Index node, Index arguments, std::string_view whole, std::string_view last) {
        if (last == "XMLParser" &&
            (says(arguments, "resolve_entities", "True") ||
             says(arguments, "no_network", "False") || says(arguments, "load_dtd", "True") ||
             says(arguments, "huge_tree", "True"))) {
            add(Kind::unsafeParser, node);
        }
        if (last == "setFeature" && textOf(place(arguments, 0)).ends_with("external_ges") &&
            (textOf(place(arguments, 1)) == "True" || textOf(place(arguments, 1)) == "1")) {
            add(Kind::unsafeParser, node);
        }
        if (whole == "jsonpickle.decode" || whole == "logging.config.listen") {
            add(Kind::unsafeParser, node);
        }
        if (whole == "ruamel.yaml.YAML" && (inside(option(arguments, "typ")) == "unsafe" ||
                                            inside(option(arguments, "typ")) == "base")) {
            add(Kind::unsafeParser, node);
        }
    }

    /// Words in quotes that somebody may have chosen for a password, and not a place for one.
    [[nodiscard]] bool isChosen(Index node) const {
        return isFixed(node) && inside(node).size() > 1 && !isPlaceholder(inside(node));
    }

    /// "('clerk', 'mapleleaf')"
    [[nodiscard]] bool isNameAndPassword(Index pair) const {
        const Index name = place(pair, 0);
        const Index password = place(pair, 1);
        return isChosen(name) && isChosen(password) && place(pair, 2) == kNone;
    }

    void passwords(Index node, Index arguments, std::string_view whole, std::string_view last) {
        const std::string lower = text::lowerAscii(last);
        if ((last == "login" || last == "HTTPBasicAuth" || last == "HTTPDigestAuth") &&
            isNameAndPassword(arguments)) {
            add(Kind::knownPassword, place(arguments, 1));
        }
        const Index auth = option(arguments, "auth");
        if (m_tree.is(auth, "tuple") && isNameAndPassword(auth)) {
            add(Kind::knownPassword, place(auth, 1));
        }
        if ((last == "set_password" || last == "make_password") && isFixed(place(arguments, 0)) &&
            !isPlaceholder(inside(place(arguments, 0)))) {
            add(Kind::knownPassword, place(arguments, 0));
        }
        if ((last == "create_user" || last == "create_superuser") &&
            isChosen(option(arguments, "password"))) {
            add(Kind::knownPassword, option(arguments, "password"));
        }
        if (last == "login" && m_plainMail && m_names.imports("smtplib") &&
            place(arguments, 1) != kNone && !whole.starts_with("self.")) {
            add(Kind::plainLogin, node);
        }
        if (!contains(lower, "connect") && !contains(lower, "login") && lower != "client" &&
            !contains(lower, "authenticate") && !contains(lower, "mongoclient") &&
            lower != "redis" && lower != "smtp" && !contains(lower, "connection")) {
            return;
        }
        for (const std::string_view name : {"password", "passwd", "pwd"}) {
            const Index given = option(arguments, name);
            if (isFixed(given) && !isPlaceholder(inside(given))) add(Kind::knownPassword, given);
        }
    }

    /// What signs and encrypts: "Fernet(key)", "jwt.encode(claims, key)", "hmac.new(key, text)".
    void keys(Index arguments, std::string_view whole, std::string_view last) {
        const Index first = place(arguments, 0);
        const Index second =
            option(arguments, "key") != kNone ? option(arguments, "key") : place(arguments, 1);
        const bool signs = whole == "jwt.encode" || whole == "jwt.decode" ||
                           whole == "jose.jwt.encode" || whole == "jose.jwt.decode";
        if (signs && isChosen(second)) add(Kind::knownKey, second);
        const bool encrypts =
            whole == "cryptography.fernet.Fernet" || contains(whole, "ciphers.aead.") ||
            contains(whole, "ciphers.algorithms.") || whole == "hmac.new" || whole == "hmac.HMAC";
        if (encrypts && last != "generate_key" && isChosen(first)) add(Kind::knownKey, first);
        if (!m_web) return;
        for (Index at = arguments == kNone ? kNone : m_tree.firstChild(arguments); at != kNone;
             at = m_tree.nextSibling(at)) {
            if (!m_tree.is(at, "keyword_argument")) continue;
            const Index value = m_tree.child(at, "value");
            if (namesSigningKey(textOf(m_tree.child(at, "name"))) && isChosen(value)) {
                add(Kind::knownKey, value);
            }
        }
    }

    /// Options by which a connection takes anybody for its peer, where no condition asks for it.
    void peers(Index node, Index arguments, std::string_view whole, std::string_view last) {
        constexpr std::array<std::pair<std::string_view, std::string_view>, 9> kOptions = {
            {{"disable_ssl_certificate_validation", "True"},
             {"validate_cert", "False"},
             {"verify_ssl", "False"},
             {"verify_certs", "False"},
             {"tlsAllowInvalidCertificates", "True"},
             {"tlsInsecure", "True"},
             {"cert_reqs", "ssl.CERT_NONE"},
             {"cert_reqs", "'CERT_NONE'"},
             {"cert_reqs", "\"CERT_NONE\""}}};
        bool open = std::ranges::any_of(
            kOptions, [&](const auto& each) { return says(arguments, each.first, each.second); });
        open = open || (m_names.imports("aiohttp") && says(arguments, "ssl", "False"));
        open =
            open || (last == "set_verify" && textOf(place(arguments, 0)).ends_with("VERIFY_NONE"));
        open = open || (whole == "ldap.set_option" &&
                        textOf(place(arguments, 1)).ends_with("OPT_X_TLS_NEVER"));
        if (open && !isConditional(node)) add(Kind::unverifiedPeer, node);
    }

    /// Whether what is written there is a secret itself: "password", "self.password", also within
    /// an f-string or behind "+".
    [[nodiscard]] bool isSecret(Index node, int depth = 0) const {
        constexpr int kLevels = 8;
        if (node == kNone || ++depth > kLevels) return false;
        if (m_tree.is(node, "identifier")) return namesSecret(textOf(node));
        if (m_tree.is(node, "attribute")) {
            return namesSecret(textOf(m_tree.child(node, "attribute")));
        }
        if (!m_tree.is(node, "string") && !m_tree.is(node, "binary_operator") &&
            !m_tree.is(node, "interpolation") && !m_tree.is(node, "tuple") &&
            !m_tree.is(node, "parenthesized_expression")) {
            return false;
        }
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named && isSecret(at, depth)) return true;
        }
        return false;
    }

    /// A password in a line of a log, or in a token, which is signed and can be read by anybody.
    void shown(Index node, Index arguments, std::string_view whole, std::string_view last) {
        if (arguments == kNone) return;
        if (isLog(whole, last)) {
            for (Index at = m_tree.firstChild(arguments); at != kNone;
                 at = m_tree.nextSibling(at)) {
                if (!m_tree[at].named || !isSecret(at)) continue;
                add(Kind::shownPassword, node);
                return;
            }
        }
        if (whole != "jwt.encode" && whole != "jose.jwt.encode") return;
        const Index claims = place(arguments, 0);
        if (!m_tree.is(claims, "dictionary")) return;
        for (Index at = m_tree.firstChild(claims); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree.is(at, "pair") || !namesPassword(inside(m_tree.child(at, "key")))) continue;
            add(Kind::shownPassword, at);
            return;
        }
    }

    /// Whether a module is meant that Python 3 has no more.
    [[nodiscard]] bool isOfGoneModule(std::string_view whole) const {
        for (const std::string_view module : {"commands.", "popen2."}) {
            if (whole.starts_with(module) && m_names.imports(module.substr(0, module.size() - 1))) {
                return true;
            }
        }
        return false;
    }

    void shells(Index node, Index arguments, std::string_view whole, std::string_view last) {
        const Index first = place(arguments, 0);
        if (first == kNone) return;
        if (whole.starts_with("asyncio.") && last == "create_subprocess_shell" && !isFixed(first)) {
            add(Kind::builtShellCommand, node);
        }
        // ["sh", "-c", text]
        if (!m_tree.is(first, "list") && !m_tree.is(first, "string")) return;
        const Index words = m_tree.is(first, "list") ? first : arguments;
        if (words == arguments && last != "create_subprocess_exec" &&
            !whole.starts_with("os.exec") && !whole.starts_with("os.spawn")) {
            return;
        }
        bool shell = false;
        bool command = false;
        for (Index at = m_tree.firstChild(words); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named || m_tree.is(at, "keyword_argument")) continue;
            if (shell && command) {
                if (isBuilt(at)) add(Kind::builtShellCommand, node);
                return;
            }
            const std::string_view word = inside(at);
            if (text::isOneOf(word.substr(word.rfind('/') + 1), kShells)) shell = true;
            command = shell && word == "-c";
        }
    }

    // ---- what is set ----

    void assignment(Index node) {
        const Index left = m_tree.child(node, "left");
        const Index right = m_tree.child(node, "right");
        if (right == kNone) return;
        std::string_view name = textOf(left);
        if (m_tree.is(left, "subscript")) name = inside(m_tree.child(left, "subscript"));
        if (m_tree.is(left, "attribute")) name = textOf(m_tree.child(left, "attribute"));
        const std::string_view value = textOf(right);
        if (value == "False" && text::isOneOf(name, kProtections)) add(Kind::laxSetting, node);
        if (name == "DEBUG" && value == "True" && contains(m_text, "INSTALLED_APPS")) {
            add(Kind::laxSetting, node);
        }
        if (name == "autoescape" && value == "False") add(Kind::unescapedTemplate, node);
        if (m_web && namesSigningKey(name) && !m_tree.is(left, "identifier") && isChosen(right)) {
            add(Kind::knownKey, right);
        }
        // Django takes it from there.
        if (name == "SECRET_KEY" && m_tree.is(left, "identifier") && isChosen(right) &&
            contains(m_text, "INSTALLED_APPS")) {
            add(Kind::knownKey, right);
        }
        if (name == "verify" && value == "False" && m_tree.is(left, "attribute") &&
            m_names.imports("requests") && !m_tree.is(m_tree.child(left, "object"), "attribute") &&
            textOf(m_tree.child(left, "object")) != "self" && !isConditional(node)) {
            add(Kind::unverifiedPeer, node);
        }
    }

    /// "def enter(password='mapleleaf')": whoever leaves it out has that one.
    void parameter(Index node) {
        const std::string_view name = parameterName(m_tree, m_text, node);
        const Index value = m_tree.child(node, "value");
        if (namesPassword(name) && namesSecret(name) && isChosen(value) && inside(value) != name) {
            add(Kind::knownPassword, value);
        }
    }

    /// "{'autoescape': False}"
    void entry(Index pair) {
        if (inside(m_tree.child(pair, "key")) == "autoescape" &&
            textOf(m_tree.child(pair, "value")) == "False") {
            add(Kind::unescapedTemplate, pair);
        }
    }

    void definition(Index node) {
        const std::string_view bases = textOf(m_tree.child(node, "superclasses"));
        if (m_names.imports("django") &&
            (contains(bases, "SafeString") || contains(bases, "SafeText") ||
             contains(bases, "SafeData"))) {
            add(Kind::builtMarkup, m_tree.child(node, "name"));
        }
    }

    void literal(Index node) {
        const std::string_view value = inside(node);
        // "{% autoescape off %}"
        if (contains(value, "autoescape off") || contains(value, "autoescape false")) {
            add(Kind::unescapedTemplate, node);
        }
        // "postgresql://user:@host": nobody asks who it is.
        const std::size_t scheme = value.find("://");
        if (scheme == std::string_view::npos) return;
        const std::string_view rest = value.substr(scheme + 3);
        const std::string_view authority = rest.substr(0, rest.find_first_of("/ ?#"));
        const std::size_t at = authority.find(":@");
        if (at != std::string_view::npos && at > 0 &&
            value.find_first_of("{<%") == std::string_view::npos) {
            add(Kind::knownPassword, node);
        }
    }

    // ---- what is compared and shown ----

    /// The names that an import takes in where a condition or a failure asks for it.
    void collectChosen(Index import) {
        if (!isConditional(import)) return;
        for (Index at = m_tree.firstChild(import); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].field != "name") continue;
            const Index alias = m_tree.child(at, "alias");
            m_chosen.insert(textOf(alias == kNone ? at : alias));
        }
    }

    /// Names that hold the result of a keyed hash, those of constants, and those of which there may
    /// be another.
    void collectNames() {
        std::unordered_set<std::string_view> others;
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            if (m_tree.is(i, "import_statement") || m_tree.is(i, "import_from_statement")) {
                collectChosen(i);
            }
            const bool parameter =
                m_tree.is(i, "identifier") && m_tree.is(m_tree[i].parent, "parameters");
            if (parameter) others.insert(textOf(i));
            if (!m_tree.is(i, "assignment")) continue;
            const Index right = m_tree.child(i, "right");
            const std::string_view name = textOf(m_tree.child(i, "left"));
            if (isKeyedDigest(right)) m_digests.insert(name);
            const bool quoted = !m_tree.is(right, "identifier") && isConstant(right);
            if (!quoted || !m_constants.insert(name).second) others.insert(name);
        }
        for (const std::string_view name : others) m_constants.erase(name);
    }

    [[nodiscard]] bool isKeyedDigest(Index node) const {
        if (!m_tree.is(node, "call")) return false;
        const std::string whole = m_names.full(m_tree.child(node, "function"));
        return whole == "hmac.new().hexdigest" || whole == "hmac.new().digest" ||
               whole == "hmac.digest" || whole == "hmac.HMAC().hexdigest";
    }

    void comparison(Index node) {
        Index sides[2] = {kNone, kNone};
        std::size_t count = 0;
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named) continue;
            if (count < 2) sides[count] = at;
            ++count;
        }
        if (count != 2) return;
        const std::string_view between = text::trimmed(
            m_text.substr(m_tree[sides[0]].end, m_tree[sides[1]].begin - m_tree[sides[0]].end));
        if (between != "==" && between != "!=") return;
        for (const Index side : sides) {
            if (isKeyedDigest(side) ||
                (m_tree.is(side, "identifier") && m_digests.contains(textOf(side)))) {
                add(Kind::leakyComparison, node);
                return;
            }
        }
        // "if password == 'admin'", in a function that lets somebody in; elsewhere it may be one
        // that is not allowed.
        if (functionAround(node) == kNone) return;
        for (const auto& [name, value] :
             {std::pair(sides[0], sides[1]), std::pair(sides[1], sides[0])}) {
            const bool isName = m_tree.is(name, "identifier") || m_tree.is(name, "attribute");
            if (isName && namesPassword(lastName(textOf(name))) && isFixed(value) &&
                inside(value).size() > 1 && !isPlaceholder(inside(value))) {
                add(Kind::knownPassword, node);
                return;
            }
        }
    }

    void answer(Index node) {
        const Index function = functionAround(node);
        if (!m_web || function == kNone) return;
        const Index around = m_tree[function].parent;
        if (!m_tree.is(around, "decorated_definition")) return;
        for (Index i = node; i < m_tree[node].behind; ++i) {
            if (m_tree.is(i, "call") &&
                m_names.full(m_tree.child(i, "function")) == "traceback.format_exc") {
                add(Kind::shownTrace, node);
                return;
            }
        }
    }

    // ---- loops ----

    /// Whether the names of a condition are all that it depends on, and nothing in the loop changes
    /// one of them or leaves it.
    void loop(Index node) {
        const Index condition = m_tree.child(node, "condition");
        const Index body = m_tree.child(node, "body");
        if (condition == kNone || body == kNone) return;
        pastEnd(node, condition, body);
        if (!m_tree.is(condition, "comparison_operator") || functionAround(node) == kNone) return;
        std::unordered_set<std::string_view> names;
        for (Index i = condition + 1; i < m_tree[condition].behind; ++i) {
            const std::string_view kind = m_tree[i].kind;
            if (kind == "identifier") {
                names.insert(textOf(i));
            } else if (m_tree[i].named && kind != "integer" && kind != "float") {
                return;
            }
        }
        if (names.empty()) return;
        for (Index i = body; i < m_tree[body].behind; ++i) {
            const std::string_view kind = m_tree[i].kind;
            // A generator may never be asked for more; a global may be changed by whoever is
            // called.
            if (kind == "break_statement" || kind == "return_statement" ||
                kind == "raise_statement" || kind == "yield" || kind == "await" || kind == "call" ||
                kind == "global_statement" || kind == "nonlocal_statement" || kind == "lambda" ||
                kind == "function_definition" || kind == "ERROR") {
                return;
            }
            if (kind == "identifier" && names.contains(textOf(i)) && isTarget(i)) return;
        }
        add(Kind::endlessLoop, condition);
    }

    /// Whether a name is given a value where it stands.
    [[nodiscard]] bool isTarget(Index name) const {
        constexpr int kLevels = 4;
        Index at = name;
        for (int level = 0; at != 0 && level < kLevels; ++level) {
            if (m_tree[at].field == "left" || m_tree[at].field == "alias" ||
                (m_tree[at].field == "name" && m_tree.is(m_tree[at].parent, "named_expression"))) {
                return true;
            }
            if (m_tree.is(m_tree[at].parent, "delete_statement")) return true;
            at = m_tree[at].parent;
        }
        return false;
    }

    /// "while i <= len(items): items[i]"
    void pastEnd(Index node, Index condition, Index body) {
        if (!m_tree.is(condition, "comparison_operator")) return;
        const std::string_view asked = textOf(condition);
        const std::size_t sign = asked.find("<=");
        if (sign == std::string_view::npos) return;
        const std::string_view index = text::trimmed(asked.substr(0, sign));
        const std::string_view length = text::trimmed(asked.substr(sign + 2));
        if (!length.starts_with("len(") || !length.ends_with(")")) return;
        reads(node, body, length.substr(4, length.size() - 5), index);
    }

    void reads(Index node, Index body, std::string_view list, std::string_view index) {
        const std::string read = std::string(list) + "[" + std::string(index) + "]";
        for (Index i = body; i < m_tree[body].behind; ++i) {
            // A condition before it may keep it back.
            if (m_tree.is(i, "if_statement") || m_tree.is(i, "conditional_expression") ||
                m_tree.is(i, "try_statement")) {
                return;
            }
            if (m_tree.is(i, "subscript") && textOf(i) == read) {
                add(Kind::pastTheEnd, m_tree.child(node, "condition") == kNone
                                          ? m_tree.child(node, "right")
                                          : m_tree.child(node, "condition"));
                return;
            }
        }
    }

    /// "for i in range(len(items) + 1): items[i]", "for i in len(items)"
    void count(Index node) {
        const Index right = m_tree.child(node, "right");
        const Index body = m_tree.child(node, "body");
        if (!m_tree.is(right, "call") || body == kNone) return;
        const std::string_view function = textOf(m_tree.child(right, "function"));
        if (function == "len") add(Kind::loopOverNumber, right);
        if (function != "range") return;
        const Index upTo = place(m_tree.child(right, "arguments"), 0);
        const Index only = place(m_tree.child(right, "arguments"), 1);
        const Index bound = only == kNone ? upTo : only;
        if (!m_tree.is(bound, "binary_operator") ||
            textOf(m_tree.child(bound, "operator")) != "+" ||
            textOf(m_tree.child(bound, "right")) != "1") {
            return;
        }
        const std::string_view length = textOf(m_tree.child(bound, "left"));
        if (!length.starts_with("len(") || !length.ends_with(")")) return;
        reads(node, body, length.substr(4, length.size() - 5), textOf(m_tree.child(node, "left")));
    }

    static constexpr std::array<std::string_view, 10> kFastHashes = {
        "md5",    "sha1",     "sha224",   "sha256",  "sha384",
        "sha512", "sha3_256", "sha3_512", "blake2b", "blake2s"};
    /// Protections that frameworks have on, or ask to be turned on.
    static constexpr std::array<std::string_view, 12> kProtections = {
        "SESSION_COOKIE_SECURE",     "SESSION_COOKIE_HTTPONLY",
        "CSRF_COOKIE_SECURE",        "REMEMBER_COOKIE_SECURE",
        "REMEMBER_COOKIE_HTTPONLY",  "WTF_CSRF_ENABLED",
        "WTF_CSRF_CHECK_DEFAULT",    "CSRF_ENABLED",
        "SECURE_SSL_REDIRECT",       "SECURE_CONTENT_TYPE_NOSNIFF",
        "SECURE_BROWSER_XSS_FILTER", "CSRF_COOKIE_HTTPONLY"};
    /// What Python 3 no longer has.
    static constexpr std::array<std::string_view, 12> kGone = {
        "time.clock",          "os.getcwdu",          "os.popen2",
        "os.popen3",           "cgi.escape",          "inspect.getargspec",
        "base64.encodestring", "base64.decodestring", "platform.linux_distribution",
        "platform.dist",       "string.maketrans",    "string.join"};

    const SyntaxTree& m_tree;
    std::string_view m_text;
    PythonNames m_names;
    bool m_web;
    bool m_verifies = false;
    bool m_plainMail = false;
    std::unordered_set<std::string_view> m_digests;
    std::unordered_set<std::string_view> m_constants;
    std::unordered_set<std::string_view> m_chosen;
    std::vector<Misuse> m_found;
};

} // namespace

std::vector<Misuse> pythonMisuses(const SyntaxTree& tree, std::string_view text) {
    if (tree.nodes.empty()) return {};
    return Search(tree, text).run();
}

} // namespace trevix
