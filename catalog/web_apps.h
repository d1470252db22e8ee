// Sites in a browser's window of their own, and the applications they are.
//
// Browsers built from Chromium open a site as an application of its own, which then is not the
// browser. What such a window is called follows from the site and the browser: from a key of 32
// letters, the same for everybody, when the site was installed, else from the page it was opened
// with. So a catalog lists one name of an installed site, and the hosts of the others; how the
// remaining browsers and packages of browsers write the same thing is decided here.
//
// Pure functions over values; any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvane::WebApps {

/// The key of the installed site that `identifier` names: "chrome-<key>-Default", "msedge-<key>",
/// "brave-<key>", "crx_<key>", "crx__<key>", "com.google.Chrome.flextop.chrome-<key>-Default",
/// "com.brave.Browser.app.<key>" and their kin. Absent for every other identifier.
[[nodiscard]] std::optional<std::string> keyOf(std::string_view identifier);

/// How a catalog lists the site with this key.
[[nodiscard]] std::string listedAs(std::string_view key);

/// The address of the page that `identifier` was opened with: "chrome-docs.google.com__document_d"
/// gives "https://docs.google.com/document/d". The browser writes more than one letter as "_", so
/// that a path is not always the true one; a profile's name at the end stays. Absent for every
/// other identifier.
[[nodiscard]] std::optional<std::string> pageOf(std::string_view identifier);

} // namespace kelvane::WebApps
