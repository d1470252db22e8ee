// Make the program stay: how does it come to be there after the next login?
//
// By a copy of the bundle in the user's own applications folder and by a login item that starts
// that copy. Main thread; blocks while the bundle is copied. Nothing is started, loaded or
// registered now, and the running program goes on from where it was started.

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
/// silence; the start files name the installed copy even when it could not be made.
void persistToApplications(const Ports& ports, const Installation& installation);

} // namespace SelfInstall

} // namespace kelvane
