#include "platform/linux/wayland/sway_tree.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

constexpr int kDeepest = 64; ///< Levels of containers; people have five.

std::string textOf(const json& node, const char* key) {
    const auto found = node.find(key);
    return found != node.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::int64_t numberOf(const json& node, const char* key) {
    const auto found = node.find(key);
    return found != node.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

bool isTrue(const json& node, const char* key) {
    const auto found = node.find(key);
    return found != node.end() && found->is_boolean() && found->get<bool>();
}

DisplayRect rectOf(const json& node, const char* key) {
    const auto found = node.find(key);
    if (found == node.end() || !found->is_object()) return {};
    const auto length = [&](const char* name) {
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(numberOf(*found, name), -1'000'000, 1'000'000));
    };
    return {length("x"), length("y"), length("width"), length("height")};
}

/// What the program draws itself, without the border and the title that sway draws around it.
DisplayRect contentOf(const json& node) {
    auto rect = rectOf(node, "rect");
    const auto inside = rectOf(node, "window_rect");
    if (inside.empty()) return rect;
    return {rect.x + inside.x, rect.y + inside.y, inside.width, inside.height};
}

void collect(const json& node, bool floating, int depth, std::vector<SwayWindow>& windows) {
    if (!node.is_object() || depth > kDeepest) return;
    // Only what shows a window has a process.
    if (numberOf(node, "pid") > 0) {
        SwayWindow window;
        window.id = numberOf(node, "id");
        window.appId = textOf(node, "app_id");
        const auto properties = node.find("window_properties");
        if (window.appId.empty() && properties != node.end() && properties->is_object()) {
            window.appId = textOf(*properties, "class");
            window.instance = textOf(*properties, "instance");
        }
        window.title = textOf(node, "name");
        window.process = static_cast<pid_t>(numberOf(node, "pid"));
        window.focused = isTrue(node, "focused");
        window.visible = isTrue(node, "visible");
        window.floating = floating;
        window.fullscreen = numberOf(node, "fullscreen_mode") != 0;
        window.rect = contentOf(node);
        windows.push_back(std::move(window));
    }
    for (const auto* const key : {"nodes", "floating_nodes"}) {
        const auto children = node.find(key);
        if (children == node.end() || !children->is_array()) continue;
        const bool floats = floating || std::string_view(key) == "floating_nodes";
        for (const auto& child : *children) collect(child, floats, depth + 1, windows);
    }
}

/// Puts windows that say the same in an order in which the first so many here are the first so many
/// there, and tells how many.
std::size_t pairs(std::vector<const WaylandWindow*>& own,
                  std::vector<const SwayWindow*>& candidates) {
    if (own.empty() || candidates.empty()) return 0;
    std::ranges::sort(candidates, {}, [](const SwayWindow* window) {
        return std::tuple(!window->focused, window->id);
    });
    std::ranges::stable_sort(own, {}, [](const WaylandWindow* window) {
        return std::tuple(!window->active, window->number);
    });
    // One active without one focused, or one more here than there, is another moment, or one of
    // them was renamed.
    const bool active = own.front()->active;
    const bool focused = candidates.front()->focused;
    const bool alike = own.size() == candidates.size() && (own.size() == 1 || active == focused);
    if (alike) return own.size();
    return active && focused ? 1 : 0;
}

/// Whose title no other of them has.
template <typename Window>
std::map<std::string, const Window*> byTitle(const std::vector<const Window*>& windows) {
    std::map<std::string, const Window*> unique;
    std::set<std::string> seen{""};
    for (const auto* const window : windows) {
        if (seen.insert(window->title).second) {
            unique.emplace(window->title, window);
        } else {
            unique.erase(window->title);
        }
    }
    return unique;
}

} // namespace

std::optional<std::vector<SwayWindow>> swayWindows(std::string_view text) {
    const auto tree = json::parse(text, nullptr, false);
    if (!tree.is_object() || textOf(tree, "type") != "root") return std::nullopt;
    std::vector<SwayWindow> windows;
    collect(tree, false, 0, windows);
    return windows;
}

std::map<std::uint32_t, SwayWindow> matchedWindows(const std::vector<WaylandWindow>& windows,
                                                   const std::vector<SwayWindow>& tree) {
    using Said = std::pair<std::string, std::string>;
    std::map<Said, std::vector<const SwayWindow*>> theirs;
    for (const auto& window : tree) theirs[{window.appId, window.title}].push_back(&window);
    std::map<Said, std::vector<const WaylandWindow*>> ours;
    for (const auto& window : windows) ours[{window.appId, window.title}].push_back(&window);
    std::map<std::uint32_t, SwayWindow> matched;
    std::set<std::int64_t> taken;
    for (auto& [said, own] : ours) {
        auto& candidates = theirs[said];
        const auto known = pairs(own, candidates);
        for (std::size_t i = 0; i < known; ++i) {
            matched.emplace(own[i]->number, *candidates[i]);
            taken.insert(candidates[i]->id);
        }
    }
    // sway goes on telling the name that a window had when it appeared, and shows the one that it
    // has now in its tree.
    std::vector<const WaylandWindow*> renamed;
    for (const auto& window : windows) {
        if (!matched.contains(window.number)) renamed.push_back(&window);
    }
    std::vector<const SwayWindow*> left;
    for (const auto& window : tree) {
        if (!taken.contains(window.id)) left.push_back(&window);
    }
    const auto titles = byTitle(left);
    for (const auto& [title, window] : byTitle(renamed)) {
        const auto found = titles.find(title);
        if (found != titles.end()) matched.emplace(window->number, *found->second);
    }
    return matched;
}

bool isCovered(const SwayWindow& window, const std::vector<SwayWindow>& tree) {
    bool isAbove = false; // Of two that float, the one that comes later is above.
    for (const auto& other : tree) {
        if (other.id == window.id) {
            isAbove = true;
            continue;
        }
        if (!other.visible || other.rect.sharedWith(window.rect).empty()) continue;
        if (window.fullscreen) {
            if (other.fullscreen && !window.focused) return true;
            continue;
        }
        if (other.fullscreen) return true;
        if (other.floating && (!window.floating || isAbove)) return true;
    }
    return false;
}

} // namespace kelvane
