#include "app/settings/settings.h"

#include "app/settings/shortcut_text.h"
#include "text/translation.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::ordered_json;
using text::filled;
using text::translated;

constexpr std::array<std::pair<PreviewWhen, std::string_view>, 3> kPreviewWords{
    {{PreviewWhen::Elsewhere, "elsewhere"},
     {PreviewWhen::Always, "always"},
     {PreviewWhen::Never, "never"}}};

/// Bytes: identifiers of applications are far shorter.
constexpr std::size_t kLongestIdentifier = 256;
/// Before a "*": with fewer it would be every application of a maker of programs, or all.
constexpr std::size_t kShortestBeginning = 3;

const char* const kPreview = "preview";
const char* const kPreviewApps = "preview_apps";
const char* const kNeverCapture = "never_capture";
const char* const kNeverPasswordManagers = "never_capture_password_managers";
const char* const kShortcut = "shortcut";
const char* const kNotifications = "notifications";
const char* const kLanguage = "language";

/// A member of the outermost object, by its places in the text.
struct Member {
    std::string name;
    std::size_t nameAt = 0;
    std::size_t valueAt = 0;
    std::size_t valueEnd = 0;
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::size_t pastBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && isBlank(text[at])) ++at;
    return at;
}

std::size_t pastString(std::string_view text, std::size_t at) {
    for (++at; text[at] != '"'; ++at) {
        if (text[at] == '\\') ++at;
    }
    return at + 1;
}

std::size_t pastValue(std::string_view text, std::size_t at) {
    int depth = 0;
    while (at < text.size()) {
        const char c = text[at];
        if (c == '"') {
            at = pastString(text, at);
            if (depth == 0) return at;
            continue;
        }
        if (c == '{' || c == '[') ++depth;
        if (c == '}' || c == ']') {
            if (depth == 0) return at;
            if (--depth == 0) return at + 1;
        }
        if (depth == 0 && (c == ',' || isBlank(c))) return at;
        ++at;
    }
    return at;
}

/// Precondition: `text` is an object of JSON, as the parser has found.
std::vector<Member> membersOf(std::string_view text) {
    std::vector<Member> members;
    std::size_t at = pastBlanks(text, text.find('{') + 1);
    while (text[at] != '}') {
        Member member;
        member.nameAt = at;
        at = pastString(text, at);
        member.name =
            ordered_json::parse(text.substr(member.nameAt, at - member.nameAt)).get<std::string>();
        at = pastBlanks(text, at);                 // to the colon
        member.valueAt = pastBlanks(text, at + 1); // and past it
        member.valueEnd = pastValue(text, member.valueAt);
        at = pastBlanks(text, member.valueEnd);
        if (text[at] == ',') at = pastBlanks(text, at + 1);
        members.push_back(std::move(member));
    }
    return members;
}

long lineOf(std::string_view text, std::size_t at) {
    return 1 + std::count(text.begin(),
                          text.begin() + static_cast<std::ptrdiff_t>(std::min(at, text.size())),
                          '\n');
}

/// Takes a value in place of an earlier one; the sentence of what is wrong with it, or an empty
/// one.
using Take = std::function<std::string(const ordered_json&, Settings&)>;
using Tell = std::function<ordered_json(const Settings&)>;

struct Key {
    std::string name;
    Take take;
    Tell tell;
    bool guards = false; ///< Keeps work from leaving unseen.
};

std::string takePreview(const ordered_json& value, Settings& settings) {
    settings.preview = {};
    for (const auto& [when, word] : kPreviewWords) {
        if (value.is_string() && value.get_ref<const std::string&>() == word) {
            settings.preview = when;
            return {};
        }
    }
    return translated("Settings", "is “elsewhere”, “always” or “never”");
}

std::string takePreviewApps(const ordered_json& value, Settings& settings) {
    std::string shape =
        translated("Settings", "is an object with “always” or “never” for each application");
    settings.previewApps.clear();
    if (!value.is_object()) return shape;
    std::string problem;
    for (const auto& [app, said] : value.items()) {
        const bool always = said == "always";
        if (!always && said != "never") {
            problem = filled(translated("Settings", "%1; “%2” has neither"), {shape, app});
            continue;
        }
        settings.previewApps[app] = always;
    }
    return problem;
}

ordered_json tellPreviewApps(const Settings& settings) {
    auto apps = ordered_json::object();
    for (const auto& [app, previewed] : settings.previewApps) {
        apps[app] = previewed ? "always" : "never";
    }
    return apps;
}

std::string takeNeverCapture(const ordered_json& value, Settings& settings) {
    settings.neverCapture.clear();
    if (!value.is_array())
        return translated("Settings", "is a list of identifiers of applications");
    std::string problem;
    for (const auto& entry : value) {
        const std::string wrong = entry.is_string()
                                      ? neverCaptureProblem(entry.get_ref<const std::string&>())
                                      : translated("Settings", "is a list of texts");
        if (wrong.empty()) {
            settings.neverCapture.push_back(entry.get<std::string>());
        } else {
            problem = entry.is_string() ? filled(translated("Settings", "has “%1”: %2"),
                                                 {entry.get<std::string>(), wrong})
                                        : wrong;
        }
    }
    return problem;
}

Take takeSwitch(bool Settings::*member) {
    return [member](const ordered_json& value, Settings& settings) {
        settings.*member = true;
        if (!value.is_boolean()) return translated("Settings", "is true or false");
        settings.*member = value.get<bool>();
        return std::string();
    };
}

std::string takeShortcut(const ordered_json& value, Settings& settings) {
    settings.shortcut.clear();
    if (!value.is_string())
        return translated("Settings", "is a text such as “Ctrl+Alt+G”, or an empty one");
    const auto& text = value.get_ref<const std::string&>();
    if (text.empty()) return {};
    std::string why;
    const auto shortcut = shortcutOf(text, why);
    if (!shortcut) return filled(translated("Settings", "is no combination of keys: %1"), {why});
    settings.shortcut = shortcutText(*shortcut);
    return {};
}

std::string takeLanguage(const ordered_json& value, Settings& settings) {
    settings.language.clear();
    if (value.is_string()) {
        const auto& said = value.get_ref<const std::string&>();
        if (said.empty() ||
            std::ranges::find(settingsLanguages(), said) != settingsLanguages().end()) {
            settings.language = said;
            return {};
        }
    }
    std::string all;
    for (const auto& each : settingsLanguages()) all += (all.empty() ? "“" : ", “") + each + "”";
    return filled(translated("Settings", "is %1, or empty for the desktop's"), {all});
}

const std::vector<Key>& keys() {
    static const std::vector<Key> all{
        {kPreview, takePreview,
         [](const Settings& s) { return ordered_json(std::string(name(s.preview))); }, true},
        {kPreviewApps, takePreviewApps, tellPreviewApps, true},
        {kNeverCapture, takeNeverCapture,
         [](const Settings& s) { return ordered_json(s.neverCapture); }, true},
        {kNeverPasswordManagers, takeSwitch(&Settings::neverPasswordManagers),
         [](const Settings& s) { return ordered_json(s.neverPasswordManagers); }, true},
        {kShortcut, takeShortcut, [](const Settings& s) { return ordered_json(s.shortcut); }},
        {kNotifications, takeSwitch(&Settings::notifications),
         [](const Settings& s) { return ordered_json(s.notifications); }},
        {kLanguage, takeLanguage, [](const Settings& s) { return ordered_json(s.language); }}};
    return all;
}

/// On one line, with a blank behind each comma and colon, as people write it.
std::string written(const ordered_json& value) {
    if (value.is_array() || value.is_object()) {
        std::string all;
        for (const auto& [key, each] : value.items()) {
            if (!all.empty()) all += ", ";
            if (value.is_object()) all += ordered_json(key).dump() + ": ";
            all += written(each);
        }
        return value.is_array() ? "[" + all + "]" : "{" + all + "}";
    }
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

/// `text`, an object of JSON, with one member set.
std::string withMember(std::string text, const std::string& name, const std::string& value) {
    const auto members = membersOf(text);
    // Of several of a name the last counts.
    const auto found = std::find_if(members.rbegin(), members.rend(),
                                    [&](const Member& member) { return member.name == name; });
    if (found != members.rend()) {
        return text.replace(found->valueAt, found->valueEnd - found->valueAt, value);
    }
    const std::string added = ordered_json(name).dump() + ": " + value;
    const std::size_t open = text.find('{');
    if (members.empty()) {
        const std::size_t close = text.find('}', open);
        return text.replace(open, close + 1 - open, "{\n  " + added + "\n}");
    }
    // Set apart as its neighbours are.
    const std::string before = text.substr(open + 1, members.front().nameAt - open - 1);
    const std::string between = before.find('\n') == std::string::npos
                                    ? std::string(" ")
                                    : before.substr(before.rfind('\n'));
    return text.insert(members.back().valueEnd, "," + between + added);
}

std::optional<ordered_json> objectIn(std::string_view text) {
    auto object = ordered_json::parse(text, nullptr, false);
    if (!object.is_object()) return std::nullopt;
    return object;
}

} // namespace

std::string_view name(PreviewWhen when) {
    return std::ranges::find(kPreviewWords, when, &decltype(kPreviewWords)::value_type::first)
        ->second;
}

const std::vector<std::string>& settingsKeys() {
    static const auto names = [] {
        std::vector<std::string> all;
        for (const Key& key : keys()) all.push_back(key.name);
        return all;
    }();
    return names;
}

const std::vector<std::string>& settingsLanguages() {
    static const std::vector<std::string> all{"en", "de", "fr", "es", "ja"};
    return all;
}

std::string neverCaptureProblem(std::string_view entry) {
    if (text::trimmedWhitespaceAndNewlines(entry).empty())
        return translated("Settings", "an identifier is not empty");
    if (entry.size() > kLongestIdentifier)
        return translated("Settings", "no identifier is that long");
    const auto star = entry.find('*');
    if (star == std::string_view::npos) return {};
    if (star + 1 != entry.size()) return translated("Settings", "“*” stands at the end alone");
    if (star < kShortestBeginning)
        return translated("Settings", "at least three characters stand before “*”");
    return {};
}

SettingsRead unusableSettings(std::string problem) {
    SettingsRead read;
    read.problems.push_back(std::move(problem));
    read.isTrusted = false;
    read.settings.preview = PreviewWhen::Always;
    return read;
}

SettingsRead parseSettings(std::string_view text, const std::string& where) {
    if (text::trimmedWhitespaceAndNewlines(text).empty()) return {};
    if (text.size() > kLongestSettings)
        return unusableSettings(where + ": " +
                                translated("Settings", "longer than any settings are"));
    ordered_json object;
    try {
        object = ordered_json::parse(text);
    } catch (const ordered_json::parse_error& error) {
        const std::size_t at = error.byte > 0 ? error.byte - 1 : 0;
        return unusableSettings(
            where + ":" + std::to_string(lineOf(text, at)) + ": " +
            translated("Settings", "not JSON from here on; nothing of the file is used"));
    }
    if (!object.is_object())
        return unusableSettings(where + ": " + translated("Settings", "not an object of JSON"));
    SettingsRead read;
    std::map<std::string, int> seen;
    for (const Member& member : membersOf(text)) {
        const auto say = [&](const std::string& what) {
            read.problems.push_back(where + ":" + std::to_string(lineOf(text, member.nameAt)) +
                                    ": " +
                                    filled(translated("Settings", "“%1” %2"), {member.name, what}));
        };
        if (++seen[member.name] == 2)
            say(translated("Settings", "stands there twice; the last one counts"));
        const auto key = std::ranges::find(keys(), member.name, &Key::name);
        if (key == keys().end()) {
            say(translated("Settings", "is no setting of this version; it stays as it is"));
            continue;
        }
        const auto value = ordered_json::parse(
            text.substr(member.valueAt, member.valueEnd - member.valueAt), nullptr, false);
        const std::string problem = key->take(value, read.settings);
        if (problem.empty()) continue;
        say(problem);
        if (key->guards) read.isTrusted = false;
    }
    if (!read.isTrusted) {
        read.settings.preview = PreviewWhen::Always;
        read.settings.previewApps.clear();
    }
    return read;
}

std::optional<std::string> settingsText(std::string_view text, const Settings& settings) {
    std::string edited(text);
    if (text::trimmedWhitespaceAndNewlines(text).empty()) edited = "{}\n";
    if (!objectIn(edited)) return std::nullopt;
    const Settings before = parseSettings(edited, {}).settings;
    for (const Key& key : keys()) {
        const auto value = key.tell(settings);
        if (value != key.tell(before)) edited = withMember(edited, key.name, written(value));
    }
    return edited;
}

std::string settingsJson(const Settings& settings) {
    auto object = ordered_json::object();
    for (const Key& key : keys()) object[key.name] = key.tell(settings);
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

} // namespace kelvane
