#include "app/instance_place.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kelvane {

namespace {

constexpr std::array<std::pair<GradeWish, std::string_view>, 3> kWishes{
    {{GradeWish::AsCatalog, "grade"},
     {GradeWish::Selection, "grade selection"},
     {GradeWish::Window, "grade window"}}};
constexpr std::array<std::pair<GradeBegun, std::string_view>, 6> kReplies{
    {{GradeBegun::Yes, "done"},
     {GradeBegun::NothingInFront, "nothing in front that can be graded"},
     {GradeBegun::NoKey, "no key"},
     {GradeBegun::Already, "grading already"},
     {GradeBegun::Paused, "paused"},
     {GradeBegun::NeverCaptured, "never captured"}}};

template <typename Table, typename Value>
auto wordFor(const Table& table, Value value) {
    return std::ranges::find(table, value, &Table::value_type::first)->second;
}

template <typename Table>
auto meaningOf(const Table& table, std::string_view word)
    -> std::optional<typename Table::value_type::first_type> {
    const auto found = std::ranges::find(table, word, &Table::value_type::second);
    if (found == table.end()) return std::nullopt;
    return found->first;
}

std::string valueOf(const EnvironmentSnapshot& environment, const std::string& name) {
    const auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}

/// The name of a display ends in ".<screen>" when it names a screen of it.
std::string withoutScreen(const std::string& display) {
    const auto colon = display.rfind(':');
    const auto dot = display.rfind('.');
    return dot != std::string::npos && colon != std::string::npos && dot > colon
               ? display.substr(0, dot)
               : display;
}

/// Short, unique enough for the displays of one user, and without a slash.
std::string fileName(const std::string& kind, const std::string& value) {
    std::string name = kind;
    for (const char c : value.substr(value.size() - std::min<std::size_t>(value.size(), 24))) {
        const bool plain =
            (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
        name += plain ? c : '_';
    }
    return name;
}

} // namespace

std::string desktopName(const EnvironmentSnapshot& environment) {
    if (const auto wayland = valueOf(environment, "WAYLAND_DISPLAY"); !wayland.empty()) {
        return fileName("wayland-", wayland);
    }
    if (const auto display = valueOf(environment, "DISPLAY"); !display.empty()) {
        return fileName("x11-", withoutScreen(display));
    }
    return "console";
}

std::filesystem::path instanceFolder(const EnvironmentSnapshot& environment,
                                     const std::string& name, unsigned user,
                                     const std::filesystem::path& temporary) {
    const std::filesystem::path runtime = valueOf(environment, "XDG_RUNTIME_DIR");
    if (runtime.is_absolute()) return runtime / name;
    return temporary / (name + "-" + std::to_string(user));
}

std::filesystem::path instanceSocket(const std::filesystem::path& folder,
                                     const std::string& desktop) {
    return folder / (desktop + ".socket");
}

std::string_view askGrade(GradeWish wish) {
    return wordFor(kWishes, wish);
}

std::optional<GradeWish> gradeWishOf(std::string_view line) {
    return meaningOf(kWishes, line);
}

std::string_view gradeReply(GradeBegun begun) {
    return wordFor(kReplies, begun);
}

std::optional<GradeBegun> gradeBegunOf(std::string_view reply) {
    return meaningOf(kReplies, reply);
}

} // namespace kelvane
