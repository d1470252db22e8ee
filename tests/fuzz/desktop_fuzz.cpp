// Whatever other programs say of themselves, in desktop files and on their windows: an application
// is named or is not, and what it is called can stand in a report.
//
// The first line is what a window says, its fields parted by a byte that is no text; the rest is
// the only desktop file.

#include "platform/linux/rules/desktop_entries.h"
#include "platform/linux/rules/window_identity.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace kelvane;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

std::string next(std::string_view& rest) {
    const std::size_t end = std::min(rest.find('\x1e'), rest.size());
    std::string field(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return text::utf8FromOutside(field); // as the adapter hands them on
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    std::string_view window = bytes.substr(0, end);
    const std::string_view file = bytes.substr(std::min(end + 1, bytes.size()));

    const auto keys = localeKeys(next(window));
    std::vector<DesktopEntry> entries;
    if (auto entry = parseDesktopEntry(file, keys)) {
        const auto id = desktopId(std::filesystem::path(next(window)));
        entry->id = id.value_or("org.example.one");
        entries.push_back(*std::move(entry));
    }
    const DesktopEntryIndex index(std::move(entries));
    WindowFacts facts;
    for (std::string* field :
         {&facts.instance, &facts.wmClass, &facts.kdeDesktopFile, &facts.gtkApplicationId,
          &facts.flatpakId, &facts.snapInstance, &facts.executable}) {
        *field = next(window);
    }
    if (const auto identity = identify(facts, index)) {
        require(!identity->id.empty());
        require(identity->id.find_first_of("\"\\\n\r") == std::string::npos);
        (void)processIdOf(1, identity->id);
    }
    const std::array chain{facts};
    (void)identify(chain, chain, index);
    (void)flatpakIdFrom(bytes);
    (void)appImageFrom(bytes);
    (void)snapInstanceFrom(bytes);
    for (const auto& folder :
         dataFolders({.home = next(window), .xdgDataDirs = std::string(bytes)})) {
        require(folder.is_absolute());
    }
    return 0;
}
