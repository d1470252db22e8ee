// The catalog file and its decoder.
//
// A catalog file is one JSON object, UTF-8, with snake_case keys. Decoding is all or nothing: one
// entry that breaks a rule makes the whole file unusable, so that a half-read catalog never decides
// what is captured. Unknown keys are ignored at every level, and an optional key that is null
// counts as missing. A present value of the wrong type is an error, never a default, also under a
// key that is otherwise not used ("schema"). A null inside a list is an error.
//
// Of a key that occurs twice in one object the last value counts. A UTF-8 byte order mark at the
// start is passed over. A string may hold U+0000 when it is written as an escape. A number that no
// double can hold makes the file unusable, wherever it stands. A file of more than 64 MiB or half a
// million values is refused before anything is built from it.

#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// One known application. Every field is filled after decoding.
struct CatalogApp {
    std::string id;                       ///< Stable short identifier, e.g. "figma". Never renamed.
    std::string name;                     ///< For people.
    std::string category = "operations";  ///< An id of the file's category table.
    std::string vertical = "operations";  ///< Handed to the evaluation service as it stands.
    std::vector<std::string> bundleIds;   ///< Identifiers, and prefixes of versioned ones.
    std::vector<std::string> webHosts;    ///< Hosts, with or without a path.
    std::vector<std::string> modalities;  ///< Kinds of work the app holds.
    std::string primaryModality = "text"; ///< Missing in the file: the first of `modalities`.
    std::string capture = "screenshot";
    std::string connector = "native_gui";
    std::string tier = "full";
    std::vector<std::string> workflowNodes; ///< Workflow steps it can be, the main one first.
    bool isBrowser = false;

    bool operator==(const CatalogApp&) const = default;
};

struct CatalogCategory {
    std::string id;
    std::string label;

    bool operator==(const CatalogCategory&) const = default;
};

/// A decoded file, in file order.
struct CatalogFile {
    std::string version = "0";
    std::vector<std::string> modalities;
    std::vector<CatalogCategory> categories;
    std::vector<CatalogApp> apps;

    bool operator==(const CatalogFile&) const = default;
};

/// Larger files are not decoded. The shipped one has 0.3 MB.
inline constexpr std::size_t kMostCatalogBytes = std::size_t{64} << 20U;

/// Why a file could not be decoded, with the place in it. It never leaves the catalog folder.
class CatalogError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Decodes the bytes of a catalog file, or throws `CatalogError`: bytes that are not JSON or not
/// UTF-8, JSON that is too large or nested deeper than 512 levels, a root that is no object, a
/// missing "apps", an app without "id" or "name", a category without "id" or "label", or a value of
/// the wrong type. The message names the place: "apps[1].tier: expected string, found number".
/// Throws `std::bad_alloc` when memory runs out. Pure; any thread.
[[nodiscard]] CatalogFile decodeCatalogFile(std::string_view bytes);

} // namespace kelvane
