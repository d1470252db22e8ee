// Which application of the catalog a program in front is.
//
// The catalog's own rule for identifiers (exactly, else by the longest prefix) was made for the
// identifiers of installed programs, which are long and begin with their maker. Two kinds of
// identifiers are no such names: a site in a browser's window of its own, whose name follows from
// the site and begins like the browser's, and the class of a window that no desktop file claims,
// which is any short word. A third kind holds such a name: the desktop files that are made for an
// AppImage when it is put among a person's programs. What they mean is decided here; every other
// identifier is left to the catalog.

#pragma once

#include <optional>
#include <string_view>

namespace kelvane {

class AppCatalog;
struct CatalogApp;

/// The program's own name in the identifier of a desktop file that was made for an AppImage:
/// "appimagekit_<hash>-LM_Studio" gives "LM_Studio", whose blanks became underscores. Absent for
/// every other identifier.
[[nodiscard]] std::optional<std::string_view> nameOfAppImage(std::string_view identifier);

/// The application that `identifier` belongs to, or null when the catalog knows none.
///
/// An identifier that is listed exactly belongs to who lists it. Beyond that:
/// - a class ("wmclass:…") is found by no prefix, but by a family that is listed with "-" or "."
///   at its end;
/// - the name of an installed site leads to the application that lists the same site;
/// - the name of a page's window leads to the application of the page's address, unless a prefix
///   leads to an application that is no browser;
/// - the name of an AppImage's desktop file ("appimagekit_<hash>-<name>") leads to the application
///   that lists the name in it, as an identifier or as a class, in whatever case;
/// - all others lead where `AppCatalog::appForBundleId` does.
///
/// Pure; any thread. The pointer is good for as long as any copy of the catalog lives.
[[nodiscard]] const CatalogApp* recognise(const AppCatalog& catalog, std::string_view identifier);

} // namespace kelvane
