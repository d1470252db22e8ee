// The work in an application, captured as something that can be graded.
//
// The text selection where the catalog says so and one can be had; otherwise a picture of the
// application's largest window. Whatever happens comes back as a `CaptureResult`; nothing throws.
//
// A capture blocks its thread for up to about a second (it waits for the application to come to the
// front and for the copied text to arrive), and for a few more when the programs it asks are slow
// to answer: each port says how long. It uses the one clipboard and keyboard of the machine: run it
// in the background, and never two at once. It keeps no state. Its lasting effects are that the
// application may have come to the front; the clipboard is put back.

#pragma once

#include "detect/app_detector.h"
#include "eval/artifact.h"
#include "platform/ports/running_app.h"
#include "platform/ports/window_list.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class Clock;
class Keyboard;
class Pasteboard;
class WindowPicture;
class Workspace;

/// What the system did not let a capture have, for whoever can say more about it than the note.
enum class CaptureLack { Nothing, Selection, Picture };

struct CaptureResult {
    std::vector<ArtifactPart> parts; ///< What to submit: one part, or none.
    std::string modality;            ///< What to declare the work as.
    bool ok = false;                 ///< False: nothing to submit.
    std::optional<std::string>
        note; ///< A sentence for the user; absent when there is nothing to say.
    CaptureLack lacks = CaptureLack::Nothing; ///< What the note is about, if about that.

    bool operator==(const CaptureResult&) const = default;
};

namespace Capture {

/// The parts of the platform that a capture uses.
struct Ports {
    Workspace& workspace;
    Keyboard& keyboard;
    Pasteboard& pasteboard;
    WindowList& windows;
    WindowPicture& picture;
    Clock& clock;
};

/// Text is cut to this many characters.
inline constexpr std::size_t kMaxCharacters = 180'000;

/// Captures the work in `app`. `ok` is false, with a note that says why, when the application no
/// longer runs or no picture of a window could be taken.
[[nodiscard]] CaptureResult capture(const Ports& ports, const DetectedApp& app);

/// Whether the instance `pid` comes to the front within 0.7 s, looking every 40 ms and once more at
/// the end.
[[nodiscard]] bool waitFrontmost(Workspace& workspace, Clock& clock, ProcessId pid);

/// Width times height in pixels; 0 when either is missing or the product is no number.
[[nodiscard]] double area(const WindowInfo& info);

/// PNG bytes of the largest normal window that `pid` has on screen, the frontmost among equally
/// large ones. Absent when it has none or no picture could be taken.
[[nodiscard]] std::optional<std::string> frontWindowPNG(WindowList& windows, WindowPicture& picture,
                                                        ProcessId pid);

/// A picture of `running`'s window as the result: `note` comes with a success, and a failure has a
/// note of its own. A success declares `fallbackModality` when that is "deck" or "ui_ux" and
/// "image" otherwise.
[[nodiscard]] CaptureResult windowShot(const Ports& ports, const RunningApp& running,
                                       const DetectedApp& app, const std::string& fallbackModality,
                                       const std::optional<std::string>& note);

} // namespace Capture

} // namespace kelvane
