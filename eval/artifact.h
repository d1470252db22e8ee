// One piece of work on its way to the evaluation service. A plain value; any thread.

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct ArtifactPart {
    std::string mimeType;
    std::optional<std::string> text;    ///< The content, when it is text.
    std::optional<std::string> dataB64; ///< The content as base64, when it is binary.
    std::string logicalName;            ///< Shown to the grader.

    bool operator==(const ArtifactPart&) const = default;

    /// The part as the service reads it. An absent content has no key at all.
    [[nodiscard]] nlohmann::json json() const;
};

} // namespace kelvane
