#include "app/editor_line.h"

#include "platform/ports/file_system.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace kelvane::editor_line {

namespace {

constexpr std::string_view kFile = "{file}";
constexpr std::string_view kLine = "{line}";

/// An editor, as the catalog's identifiers know it, and how it is told a line.
struct Editor {
    std::string_view bundleId;
    std::array<std::string_view, 5> command; ///< Until the first empty word.
};

constexpr std::array kEditors{
    Editor{"org.gnome.gedit", {"gedit", "+{line}", kFile}},
    Editor{"gedit_gedit", {"gedit", "+{line}", kFile}},
    Editor{"org.kde.kate", {"kate", "--line", kLine, kFile}},
    Editor{"org.kde.kwrite", {"kwrite", "--line", kLine, kFile}},
    Editor{"pluma", {"pluma", "+{line}", kFile}},
    Editor{"xed", {"xed", "+{line}", kFile}},
    Editor{"org.x.editor", {"xed", "+{line}", kFile}},
    Editor{"geany", {"geany", "--line", kLine, kFile}},
    Editor{"emacs", {"emacsclient", "--no-wait", "+{line}", kFile}},
    Editor{"org.gnu.emacs", {"emacsclient", "--no-wait", "+{line}", kFile}},
    Editor{"code", {"code", "--goto", "{file}:{line}"}},
    Editor{"code_code", {"code", "--goto", "{file}:{line}"}},
    Editor{"wmclass:code", {"code", "--goto", "{file}:{line}"}},
    Editor{"com.visualstudio.code", {"code", "--goto", "{file}:{line}"}},
    Editor{"com.microsoft.VSCode", {"code", "--goto", "{file}:{line}"}},
    Editor{"codium", {"codium", "--goto", "{file}:{line}"}},
    Editor{"com.vscodium.codium", {"codium", "--goto", "{file}:{line}"}},
    Editor{"sublime_text", {"subl", "{file}:{line}"}},
    Editor{"dev.zed.Zed", {"zed", "{file}:{line}"}},
};

const Editor* editorOf(std::string_view bundleId) {
    const auto found = std::ranges::find(kEditors, bundleId, &Editor::bundleId);
    return found == kEditors.end() ? nullptr : &*found;
}

std::string filledIn(std::string_view word, const std::string& file, const std::string& line) {
    std::string result;
    while (!word.empty()) {
        const bool isFile = word.starts_with(kFile);
        if (isFile || word.starts_with(kLine)) {
            result += isFile ? file : line;
            word.remove_prefix(isFile ? kFile.size() : kLine.size());
        } else {
            result += word.front();
            word.remove_prefix(1);
        }
    }
    return result;
}

/// What an attribute of an XML element says; absent when it has none of that name.
std::optional<std::string_view> attribute(std::string_view element, std::string_view name) {
    for (std::size_t at = 0; (at = element.find(name, at)) != std::string_view::npos;) {
        at += name.size();
        if (!element.substr(at).starts_with("=\"")) continue;
        const auto value = element.substr(at + 2);
        const auto end = value.find('"');
        if (end == std::string_view::npos) return std::nullopt;
        return value.substr(0, end);
    }
    return std::nullopt;
}

std::string withoutEntities(std::string_view text) {
    constexpr std::array<std::pair<std::string_view, char>, 5> kEntities{
        {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}}};
    std::string result;
    while (!text.empty()) {
        const auto found = std::ranges::find_if(
            kEntities, [&](const auto& entity) { return text.starts_with(entity.first); });
        const bool isEntity = found != kEntities.end();
        result += isEntity ? found->second : text.front();
        text.remove_prefix(isEntity ? found->first.size() : 1);
    }
    return result;
}

std::string withLineFeeds(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool ends = text[i] == '\r';
        if (ends && i + 1 < text.size() && text[i + 1] == '\n') continue;
        result += ends ? '\n' : text[i];
    }
    return result;
}

} // namespace

std::optional<std::vector<std::string>>
command(std::string_view bundleId, const std::filesystem::path& file, std::size_t line) {
    const Editor* const editor = editorOf(bundleId);
    // An argument that begins with anything but a slash could be taken for a switch.
    if (editor == nullptr || !file.is_absolute()) return std::nullopt;
    std::vector<std::string> words;
    for (const auto word : editor->command) {
        if (word.empty()) break;
        words.push_back(filledIn(word, file.string(), std::to_string(line)));
    }
    return words;
}

bool isKnown(std::string_view bundleId) {
    return editorOf(bundleId) != nullptr;
}

std::optional<std::size_t> lineIn(std::string_view place) {
    constexpr std::string_view kBeginning = "line ";
    if (!place.starts_with(kBeginning)) return std::nullopt;
    place.remove_prefix(kBeginning.size());
    std::size_t line = 0;
    const auto [end, error] = std::from_chars(place.data(), place.data() + place.size(), line);
    if (error != std::errc() || line == 0) return std::nullopt;
    place.remove_prefix(static_cast<std::size_t>(end - place.data()));
    if (!place.empty() && !place.starts_with(", column ")) return std::nullopt;
    return line;
}

std::vector<std::filesystem::path> recentFiles(std::string_view bookmarks) {
    constexpr std::string_view kBookmark = "<bookmark ";
    constexpr std::string_view kScheme = "file://";
    std::vector<std::pair<std::string, std::filesystem::path>> found;
    for (std::size_t at = 0; (at = bookmarks.find(kBookmark, at)) != std::string_view::npos;) {
        const auto end = bookmarks.find('>', at);
        if (end == std::string_view::npos) break;
        const auto element = bookmarks.substr(at, end - at);
        at = end;
        const auto address = withoutEntities(attribute(element, " href").value_or(""));
        if (!address.starts_with(kScheme)) continue;
        const auto path = text::unescaped(std::string_view(address).substr(kScheme.size()));
        if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos) continue;
        // Times of one form, so that their letters sort as they do.
        std::string used(attribute(element, " modified").value_or(""));
        used = std::max(used, std::string(attribute(element, " visited").value_or("")));
        found.emplace_back(std::move(used), *path);
    }
    std::ranges::stable_sort(found, std::greater<>(), [](const auto& file) { return file.first; });
    std::vector<std::filesystem::path> files;
    for (auto& file : found) files.push_back(std::move(file.second));
    return files;
}

std::optional<std::size_t> lineOfText(std::string_view content, std::string_view text) {
    const std::string whole = withLineFeeds(content);
    const std::string wanted = withLineFeeds(text);
    const auto core = text::trimmedWhitespaceAndNewlines(wanted);
    if (core.empty()) return std::nullopt;
    const auto at = whole.find(core);
    if (at == std::string::npos) return std::nullopt;
    const auto line =
        1 + static_cast<std::size_t>(
                std::count(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
    // Lines of the text that stand before its first letter are lines of the file as well.
    const auto before = static_cast<std::size_t>(core.data() - wanted.data());
    const auto blank = static_cast<std::size_t>(
        std::count(wanted.begin(), wanted.begin() + static_cast<std::ptrdiff_t>(before), '\n'));
    return line > blank ? line - blank : 1;
}

std::vector<std::filesystem::path> startedWith(std::string_view bundleId,
                                               std::string_view commandLines) {
    std::vector<std::filesystem::path> files;
    const Editor* const editor = editorOf(bundleId);
    while (editor != nullptr && !commandLines.empty()) {
        const auto line = commandLines.substr(0, commandLines.find('\n'));
        commandLines.remove_prefix(std::min(line.size() + 1, commandLines.size()));
        auto program = line.substr(0, line.find(' '));
        if (const auto slash = program.rfind('/'); slash != std::string_view::npos) {
            program.remove_prefix(slash + 1);
        }
        if (program != editor->command.front()) continue;
        // Where one argument ends nobody tells: from each slash to the next beginning and to the
        // end.
        for (std::size_t at = 0; (at = line.find(" /", at)) != std::string_view::npos;) {
            ++at;
            const auto next = line.find(" /", at);
            files.emplace_back(line.substr(at));
            if (next != std::string_view::npos) files.emplace_back(line.substr(at, next - at));
        }
    }
    return files;
}

std::optional<FoundText> fileWithText(FileSystem& files,
                                      const std::vector<std::filesystem::path>& candidates,
                                      std::string_view text) {
    for (std::size_t i = 0; i < std::min(candidates.size(), kMostFiles); ++i) {
        const auto content = files.readAny(candidates[i], kLargestFile);
        if (!content) continue;
        if (const auto line = lineOfText(*content, text)) return FoundText{candidates[i], *line};
    }
    return std::nullopt;
}

} // namespace kelvane::editor_line
