#include "eval/service_json.h"

#include <nlohmann/json.hpp>

namespace kelvane::service_json {

std::optional<std::string> compact(const nlohmann::json& value) {
    // Text that is no UTF-8 cannot be written.
    try {
        return value.dump();
    } catch (const nlohmann::json::type_error&) {
        return std::nullopt;
    }
}

const nlohmann::json* find(const nlohmann::json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

std::optional<std::string> string(const nlohmann::json& object, const char* key) {
    const nlohmann::json* value = find(object, key);
    if (!value || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

std::optional<double> number(const nlohmann::json& object, const char* key) {
    const nlohmann::json* value = find(object, key);
    if (!value || !value->is_number()) return std::nullopt;
    return value->get<double>();
}

const nlohmann::json& objectOrEmpty(const nlohmann::json& object, const char* key) {
    // Outlives every answer, so it may be returned as if it were part of one.
    static const nlohmann::json kEmpty = nlohmann::json::object();
    const nlohmann::json* value = find(object, key);
    return value && value->is_object() ? *value : kEmpty;
}

} // namespace kelvane::service_json
