// What a catalog can recognise, counted by where it does.
//
// An application that is listed is not thereby found everywhere: one has no program for Linux,
// another is a page and nothing else. The table made here stands in docs/catalog.md, so that the
// number of applications promises nothing that is not so.
//
// Pure functions over values; any thread.

#pragma once

#include "catalog/catalog_file.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::lint {

/// Numbers of applications.
struct Reach {
    std::string category; ///< Its label.
    std::size_t apps = 0;
    std::size_t onMacos = 0; ///< With a program on macOS.
    std::size_t onLinux = 0; ///< With a program on Linux, by a desktop file or a window's class.
    std::size_t window = 0;  ///< As a site in a browser's window of its own, on either system.
    std::size_t page = 0;    ///< By the address of a page.
    std::size_t none = 0;    ///< By nothing.

    bool operator==(const Reach&) const = default;
};

/// One for each category of `file`, in its order. `sources` is the table that
/// `checkSources` accepts: it says for which system an identifier is. A window counts when the name
/// that a browser gives it leads to the application.
[[nodiscard]] std::vector<Reach> reachOf(const CatalogFile& file, std::string_view sources);

/// The same as a table for people, with a last line that adds up; each line ends.
[[nodiscard]] std::string reachTable(const std::vector<Reach>& reach);

} // namespace kelvane::lint
