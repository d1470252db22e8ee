// The program's own installation: it is there after the next login.
//
// A copy of the bundle goes to the user's own applications folder, and a login item starts that
// copy. Main thread; blocks while the bundle is copied. Nothing is started, loaded or registered
// now, and the running program goes on from where it was started.

#pragma once

namespace kelvane {

class BundleResources;
class FileSystem;
struct Installation;

namespace SelfInstall {

struct Ports {
    FileSystem& files;
    BundleResources& bundle;
};

/// Replaces the installed copy by the running bundle, unless that is the one that runs or the
/// program runs outside a bundle, and writes the start files anew. Whatever fails is passed over in
/// silence: an installed copy that cannot be replaced stays as it is, and the start files name the
/// installed copy even when there is none.
void persistToApplications(const Ports& ports, const Installation& installation);

} // namespace SelfInstall

} // namespace kelvane
