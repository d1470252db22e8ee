// Captured work as the person sees it before it is sent.
//
// A plain value, made once for a capture; copies share the work. It holds facts: the sentences
// about them are made as they are shown, in the language of then. Pure; any thread.

#pragma once

#include "detect/app_detector.h"
#include "detect/capture.h"

#include <cstddef>
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
    std::size_t amount = 0; ///< Characters of the text, or bytes of the picture.
    bool isCut = false;     ///< The text is as long as one may be: there may have been more.
    std::string kind;       ///< The modality that is declared with it.
    std::vector<std::string> names; ///< The names that are sent with it.
    std::vector<std::string> notes; ///< What the capture says of itself; sentences in English.

    bool operator==(const GradePreview&) const = default;
};

/// `serviceBase` is the address that it would be sent to. `hint` is what else is known of the note.
[[nodiscard]] GradePreview gradePreview(const CaptureResult& capture, const DetectedApp& from,
                                        const std::string& serviceBase,
                                        const std::optional<std::string>& hint);

} // namespace kelvane
