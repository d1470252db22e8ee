#include "critics/language/slip_list.h"

#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace trevix {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestList = std::uintmax_t{16} << 20U; // Bytes; codespell's has 0.8 MB.

} // namespace

SlipList::SlipList(std::string text) : m_text(std::move(text)) {
    std::string_view rest = m_text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const std::size_t arrow = line.find("->");
        if (arrow == std::string_view::npos || arrow == 0) continue;
        std::string_view meant = line.substr(arrow + 2);
        meant = meant.substr(0, meant.find_first_of(",\r"));
        if (!meant.empty()) m_meant.emplace(line.substr(0, arrow), meant);
    }
}

std::string_view SlipList::meantBy(std::string_view slip) const {
    const auto found = m_meant.find(slip);
    return found == m_meant.end() ? std::string_view() : found->second;
}

std::vector<fs::path> slipListFiles() {
    std::vector<fs::path> files;
    for (const char* folder : {"/usr/lib/python3/dist-packages", "/usr/share"}) {
        files.push_back(fs::path(folder) / "codespell_lib/data/dictionary.txt");
    }
    return files;
}

std::shared_ptr<const SlipList> readSlipList(const std::vector<fs::path>& files) {
    for (const fs::path& path : files) {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(path, error);
        if (error || size > kLargestList) continue;
        std::ifstream file(path, std::ios::binary);
        if (!file) continue;
        return std::make_shared<SlipList>(
            std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
    }
    return nullptr;
}

} // namespace trevix
