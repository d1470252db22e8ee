#include "critics/language/hunspell_shelf.h"

#include "text/unicode.h"

#include <array>
#include <fstream>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#if KELVANE_HAVE_HUNSPELL
#include <hunspell.hxx>
#endif

namespace trevix {

namespace fs = std::filesystem;

namespace {

/// One book of a language, under the names that distributions give it: the first that is there.
struct KnownBook {
    NaturalLanguage language;
    std::array<std::string_view, 4> names;
};

constexpr std::array kBooks = {
    KnownBook{NaturalLanguage::english, {"en_US"}},
    KnownBook{NaturalLanguage::english, {"en_GB", "en_AU"}},
    KnownBook{NaturalLanguage::german, {"de_DE", "de_DE_frami", "de_AT", "de_CH"}},
    KnownBook{NaturalLanguage::french, {"fr", "fr_FR", "fr-classique", "fr-toutesvariantes"}},
    KnownBook{NaturalLanguage::spanish, {"es_ES", "es", "es_MX", "es_AR"}},
};

std::string_view packageOf(NaturalLanguage language) {
    switch (language) {
    case NaturalLanguage::english:
        return "hunspell-en-us";
    case NaturalLanguage::german:
        return "hunspell-de-de";
    case NaturalLanguage::french:
        return "hunspell-fr";
    case NaturalLanguage::spanish:
        return "hunspell-es";
    case NaturalLanguage::unknown:
    case NaturalLanguage::other:
        break;
    }
    return "";
}

#if KELVANE_HAVE_HUNSPELL

// Bytes; the largest dictionary in use, Hungarian's, has 15 MB.
constexpr std::uintmax_t kLargestFile = std::uintmax_t{64} << 20U;
// Bytes; the library copies what it is given into buffers of 100 characters, and no word that
// people misspell is longer.
constexpr std::size_t kLongestWord = 99;

/// Whether the affix file says that it is in UTF-8 or in Latin-1; nothing for what is neither.
enum class Encoding { utf8, latin1 };

std::optional<Encoding> encodingOf(const fs::path& affixes) {
    std::ifstream file(affixes, std::ios::binary);
    std::string line;
    for (int i = 0; i < 200 && std::getline(file, line); ++i) {
        if (line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        if (!line.starts_with("SET ")) continue;
        if (line.find("UTF-8") != std::string::npos) return Encoding::utf8;
        if (line.find("ISO8859-1") != std::string::npos &&
            line.find("ISO8859-1", 4) + 9 <= line.size()) {
            const std::size_t end = line.find("ISO8859-1") + 9;
            const bool same = end == line.size() || line[end] == '\r' || line[end] == ' ';
            if (same) return Encoding::latin1;
        }
        return std::nullopt;
    }
    return Encoding::latin1; // The library's own assumption.
}

/// Opened when it is first asked: a word is looked for in one book after the other, and most texts
/// need only the first. Opening one takes 50 ms.
class HunspellDictionary : public Dictionary {
public:
    HunspellDictionary(const fs::path& affixes, const fs::path& words, Encoding encoding)
        : m_affixes(affixes),
          m_words(words),
          m_encoding(encoding) {}

    [[nodiscard]] bool knows(std::string_view word) const override {
        const std::optional<std::string> own = encoded(word);
        if (!own) return true; // Letters that the dictionary cannot have: not its business.
        const std::lock_guard lock(m_mutex);
        return library().spell(*own);
    }

    [[nodiscard]] std::vector<std::string> suggestions(std::string_view word) const override {
        const std::optional<std::string> own = encoded(word);
        if (!own) return {};
        std::vector<std::string> found;
        {
            const std::lock_guard lock(m_mutex);
            found = library().suggest(*own);
        }
        if (m_encoding == Encoding::latin1) {
            for (std::string& each : found) each = kelvane::text::fromLatin1(each);
        }
        return found;
    }

private:
    [[nodiscard]] std::optional<std::string> encoded(std::string_view word) const {
        if (word.size() > kLongestWord) return std::nullopt;
        if (m_encoding == Encoding::utf8) return std::string(word);
        std::string latin = kelvane::text::toLatin1(word);
        if (latin.find('?') != std::string::npos) return std::nullopt;
        return latin;
    }

    [[nodiscard]] Hunspell& library() const { // under m_mutex
        if (!m_library) m_library.emplace(m_affixes.c_str(), m_words.c_str());
        return *m_library;
    }

    // The library keeps state between calls and is not marked const.
    mutable std::mutex m_mutex;
    mutable std::optional<Hunspell> m_library;
    fs::path m_affixes;
    fs::path m_words;
    Encoding m_encoding;
};

bool isReadable(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) return false;
    const std::uintmax_t size = fs::file_size(file, error);
    return !error && size > 0 && size <= kLargestFile && std::ifstream(file).good();
}

struct Opened {
    std::shared_ptr<const Dictionary> book; ///< None when it is not there, or is broken.
    std::string name;
    bool broken = false;
};

Opened openFirst(const std::vector<fs::path>& folders, const KnownBook& known) {
    Opened opened;
    for (const std::string_view name : known.names) {
        if (name.empty()) break;
        for (const fs::path& folder : folders) {
            const fs::path affixes = folder / (std::string(name) + ".aff");
            const fs::path words = folder / (std::string(name) + ".dic");
            std::error_code error;
            if (!fs::exists(affixes, error) || !fs::exists(words, error)) continue;
            opened.name = name;
            const auto encoding =
                isReadable(affixes) && isReadable(words) ? encodingOf(affixes) : std::nullopt;
            if (!encoding) {
                opened.broken = true;
                continue;
            }
            opened.book = std::make_shared<HunspellDictionary>(affixes, words, *encoding);
            opened.broken = false;
            return opened;
        }
    }
    return opened;
}

class HunspellShelf : public DictionaryShelf {
public:
    explicit HunspellShelf(std::vector<fs::path> folders) : m_folders(std::move(folders)) {}

    [[nodiscard]] const SpellingBooks& of(NaturalLanguage language) const override {
        Slot& slot = m_slots[static_cast<std::size_t>(language)];
        std::call_once(slot.once, [&] { slot.books = open(language); });
        return slot.books;
    }
    [[nodiscard]] std::string engine() const override { return "hunspell"; }
    [[nodiscard]] std::string version() const override { return KELVANE_HUNSPELL_VERSION; }

private:
    struct Slot {
        std::once_flag once;
        SpellingBooks books;
    };

    [[nodiscard]] SpellingBooks open(NaturalLanguage language) const {
        SpellingBooks books;
        std::string broken;
        for (const KnownBook& known : kBooks) {
            if (known.language != language) continue;
            Opened opened = openFirst(m_folders, known);
            if (opened.broken) broken = opened.name;
            if (opened.book == nullptr) continue;
            books.names += (books.names.empty() ? "" : ", ") + opened.name;
            books.books.push_back(std::move(opened.book));
        }
        if (!books.books.empty()) return books;
        books.why = broken.empty() ? "no dictionary of the language is installed"
                                   : "the dictionary " + broken + " cannot be read";
        if (name(language).empty()) {
            books.why = "no dictionary of it is known here";
        } else {
            books.remedy =
                (broken.empty() ? "install " : "install again ") + std::string(packageOf(language));
        }
        return books;
    }

    std::vector<fs::path> m_folders;
    mutable std::array<Slot, kNaturalLanguages> m_slots;
};

#else

class EmptyShelf : public DictionaryShelf {
public:
    [[nodiscard]] const SpellingBooks& of(NaturalLanguage) const override { return m_books; }
    [[nodiscard]] std::string engine() const override { return "hunspell"; }
    [[nodiscard]] std::string version() const override { return ""; }

private:
    SpellingBooks m_books{
        {}, "", "this build has no spelling library", "install libhunspell and build again"};
};

#endif

} // namespace

std::vector<fs::path> dictionaryFolders(const fs::path& home, const fs::path& dataHome) {
    std::vector<fs::path> folders;
    if (!dataHome.empty()) folders.push_back(dataHome / "hunspell");
    if (!home.empty()) {
        folders.push_back(home / ".local/share/hunspell");
        folders.push_back(home / "Library/Spelling");
    }
    for (const char* system :
         {"/usr/share/hunspell", "/usr/local/share/hunspell", "/opt/homebrew/share/hunspell",
          "/usr/share/myspell/dicts", "/usr/share/myspell", "/Library/Spelling"}) {
        folders.emplace_back(system);
    }
    return folders;
}

std::shared_ptr<const DictionaryShelf> hunspellShelf(std::vector<fs::path> folders) {
#if KELVANE_HAVE_HUNSPELL
    return std::make_shared<HunspellShelf>(std::move(folders));
#else
    (void)packageOf;
    (void)kBooks;
    (void)folders;
    return std::make_shared<EmptyShelf>();
#endif
}

} // namespace trevix
