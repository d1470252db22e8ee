// Captured work as the person sees it before it is sent.
//
// A plain value, made once for a capture; copies share the work. Pure; any thread.

#pragma once

#include "detect/app_detector.h"
#include "detect/capture.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct GradePreview {
    std::string app;    ///< The application's name.
    std::string appId;  ///< Its identifier.
    std::string to;     ///< Where it goes: "this machine" or a host.
    bool leaves = true; ///< Whether that is not this machine.
    /// The text that is sent, line by line, made harmless for showing; long lines are cut into
    /// several. Null for a picture.
    std::shared_ptr<const std::vector<std::string>> lines;
    /// The bytes of the picture that is sent. Null for a text.
    std::shared_ptr<const std::string> picture;
    std::string size;                 ///< How much it is, in words.
    std::string beside;               ///< What is sent with it, a sentence.
    std::vector<std::string> leftOut; ///< What was left out or changed, and why; sentences.

    bool operator==(const GradePreview&) const = default;
};

/// `serviceBase` is the address that it would be sent to. `hint` is what else is known of the note.
[[nodiscard]] GradePreview gradePreview(const CaptureResult& capture, const DetectedApp& from,
                                        const std::string& serviceBase,
                                        const std::optional<std::string>& hint);

} // namespace kelvane
