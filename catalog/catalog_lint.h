// May this catalog ship?
//
// A catalog file that decodes can still be wrong for people: an identifier listed by two products,
// an entry that takes another product's windows by its prefix, a host so short that it is found in
// every other page's address. The rules here say so, one complaint for each place, in words for the
// person who adds an application. No complaint is the ordinary answer: an empty list.
//
// Everything here is a pure function over values; any thread may call it.

#pragma once

#include "catalog/catalog_file.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::lint {

/// What is wrong, where, and what to do about it. "<app id>: <what>", or "<file>:<line>: <what>".
using Complaints = std::vector<std::string>;

/// An identifier of one application that begins an identifier of another, and why that is meant.
struct Overlap {
    std::string prefix; ///< As listed by the first application.
    std::string longer; ///< As listed by the other one; it must win when asked for.
    std::string reason;
};

/// The modalities the panel has words for, the ways of capturing the program has, and the fields of
/// work the evaluation service is told.
[[nodiscard]] const std::set<std::string>& knownModalities();
[[nodiscard]] const std::set<std::string>& knownCaptures();
[[nodiscard]] const std::set<std::string>& knownVerticals();

/// Pages that belong to no application of any catalog: news, search, webmail, forums, shops. An
/// entry that is found in one of them is too loose.
[[nodiscard]] const std::vector<std::string>& commonPages();

/// The overlaps that are meant in the shipped catalog.
[[nodiscard]] const std::vector<Overlap>& intendedOverlaps();
/// Those of them that `file` has both sides of: the ones to hold a catalog to that may list less.
[[nodiscard]] std::vector<Overlap> intendedOverlapsOf(const CatalogFile& file);

/// Every rule about the entries themselves. `intended` names the overlaps that are meant; one that
/// is not there, and one that is there but no longer occurs, are complaints.
[[nodiscard]] Complaints checkEntries(const CatalogFile& file,
                                      const std::vector<Overlap>& intended);

/// The one way to write a catalog: one application a line, keys in their declared order, defaults
/// left out, sorted by category (in the order of the table) and then by name.
[[nodiscard]] std::string canonicalText(const CatalogFile& file);

/// The first line that `canonicalText` would write differently, with the line it would write. A key
/// nobody reads shows here too.
[[nodiscard]] Complaints checkFormat(std::string_view bytes, const CatalogFile& file);

/// Whether the table of sources names every identifier and host of the catalog, and nothing else.
/// Tab-separated: application, identifier or host, platform, source, note; a header line, then rows
/// in the order of the catalog.
[[nodiscard]] Complaints checkSources(std::string_view table, const CatalogFile& file);

} // namespace kelvane::lint
