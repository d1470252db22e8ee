#include "eval/chosen_environment.h"

#include <utility>

namespace kelvane {

namespace {

constexpr std::string_view kBase = "BRASK_API_BASE";
constexpr std::string_view kKey = "BRASK_API_KEY";

} // namespace

void ChosenEnvironment::choose(std::string base, std::optional<std::string> key) {
    const std::lock_guard lock(m_mutex);
    m_base = std::move(base);
    m_key = std::move(key);
}

void ChosenEnvironment::forget() {
    const std::lock_guard lock(m_mutex);
    m_base.reset();
    m_key.reset();
}

std::optional<std::string> ChosenEnvironment::get(std::string_view name) {
    auto said = m_outside.get(name);
    if (name != kBase && name != kKey) return said;
    const std::lock_guard lock(m_mutex);
    if (name == kBase) return said ? said : m_base;
    if ((said && !said->empty()) || !m_key || m_outside.get(kBase)) return said;
    return m_key;
}

} // namespace kelvane
