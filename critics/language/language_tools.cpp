#include "critics/language/language_tools.h"

#include "critics/language/hunspell_shelf.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace trevix {

namespace fs = std::filesystem;
namespace text = kelvane::text;

PersonalWords personalWordsIn(std::string_view all) {
    PersonalWords words;
    while (!all.empty()) {
        const std::size_t end = std::min(all.find('\n'), all.size());
        const std::string_view line = all.substr(0, end);
        all.remove_prefix(std::min(end + 1, all.size()));
        const std::string_view word = text::trimmed(line.substr(0, line.find('#')));
        if (!word.empty()) words.insert(text::lowercased(word));
    }
    return words;
}

PersonalWords readPersonalWords(const fs::path& path) {
    constexpr std::uintmax_t kLargest = std::uintmax_t{1} << 20U;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > kLargest) return {};
    std::ifstream file(path, std::ios::binary);
    return personalWordsIn(
        std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}

LanguageTools toolsOfMachine(const fs::path& home, const fs::path& dataHome, fs::path personal) {
    LanguageTools tools;
    tools.shelf = hunspellShelf(dictionaryFolders(home, dataHome));
    tools.slips = readSlipList(slipListFiles());
    tools.personalWords = [file = std::move(personal)] { return readPersonalWords(file); };
    return tools;
}

} // namespace trevix
