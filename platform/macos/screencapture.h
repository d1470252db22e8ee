// The picture of a window, by way of the system's screenshot tool.
//
// Plain C++ over two other ports, so it is built and tested on every system; only macOS has the
// tool.

#pragma once

#include "platform/ports/window_picture.h"

#include <memory>

namespace kelvane {

class FileSystem;
class ProcessRunner;

/// Has "/usr/sbin/screencapture" write the window's picture, without sound and shadow, to a file in
/// the temporary folder, and removes that file whatever happens, and before, so that no older
/// picture is taken for this one. What decides is whether the tool left any bytes there; its exit
/// status says nothing reliable. Never null; both ports must outlive it. Not for one window from
/// two threads at once, since they would share the file.
[[nodiscard]] std::unique_ptr<WindowPicture> makeScreencapture(ProcessRunner& processes,
                                                               FileSystem& files);

} // namespace kelvane
