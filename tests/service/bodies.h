// Requests as a well-behaved client writes them.

#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace trevix {

inline nlohmann::json textPart(std::string text) {
    return {{"mime_type", "text/plain"}, {"logical_name", "selection"}, {"text", std::move(text)}};
}

inline nlohmann::json submitObject(std::string text) {
    return {{"submission", "async"},
            {"modality", "text"},
            {"user_prompt", "Validate this Editor work before it ships."},
            {"artifact_parts", nlohmann::json::array({textPart(std::move(text))})}};
}

inline nlohmann::json iterateObject(std::string text) {
    return {{"decision", "re_prompt"},
            {"user_prompt", "Validate this Editor work before it ships."},
            {"new_artifact_parts", nlohmann::json::array({textPart(std::move(text))})}};
}

inline std::string submitBody(std::string text) {
    return submitObject(std::move(text)).dump();
}
inline std::string iterateBody(std::string text) {
    return iterateObject(std::move(text)).dump();
}

} // namespace trevix
