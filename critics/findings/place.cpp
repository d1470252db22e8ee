#include "critics/findings/place.h"

#include "critics/findings/finding_list.h"
#include "text/letters.h"

#include <charconv>
#include <optional>

namespace trevix {

namespace {

bool taken(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

// Figures of a size that no work has are no places: they come from words that look like one.
constexpr std::size_t kLargest = 1'000'000'000;

std::optional<std::size_t> numberAt(std::string_view& text) {
    std::size_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || value > kLargest) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    return value;
}

bool readLine(std::string_view text, Place& place) {
    if (!taken(text, "line ")) return false;
    const auto line = numberAt(text);
    if (!line || *line == 0) return false;
    if (!text.empty()) {
        if (!taken(text, ", column ")) return false;
        const auto column = numberAt(text);
        if (!column || !text.empty()) return false;
        place.column = *column;
    }
    place.line = *line;
    place.kind = Place::Kind::line;
    return true;
}

bool readCell(std::string_view text, Place& place) {
    if (!taken(text, "cell ")) return false;
    std::size_t column = 0;
    std::size_t letters = 0;
    while (letters < text.size() && text[letters] >= 'A' && text[letters] <= 'Z') {
        // Six letters are some 300 million columns, so nothing overflows.
        if (++letters > 6) return false;
        column = column * 26 + static_cast<std::size_t>(text[letters - 1] - 'A') + 1;
    }
    text.remove_prefix(letters);
    const auto row = numberAt(text);
    if (letters == 0 || !row || *row == 0 || !text.empty()) return false;
    place.row = *row - 1;
    place.cellColumn = column - 1;
    place.kind = Place::Kind::cell;
    return true;
}

bool readRow(std::string_view text, Place& place) {
    if (!taken(text, "row ")) return false;
    const auto row = numberAt(text);
    if (!row || *row == 0 || !text.empty()) return false;
    place.row = *row - 1;
    place.kind = Place::Kind::row;
    return true;
}

bool readColumn(std::string_view text, Place& place) {
    if (!taken(text, "column ") || text.empty()) return false;
    // A header may hold anything, commas too, so all that is left of the words is it.
    place.header = text;
    place.kind = Place::Kind::column;
    return true;
}

bool readBox(std::string_view text, Place& place) {
    if (!taken(text, "x ")) return false;
    const auto x = numberAt(text);
    if (!x || !taken(text, ", y ")) return false;
    const auto y = numberAt(text);
    if (!y || !taken(text, ", ")) return false;
    const auto width = numberAt(text);
    if (!width || !taken(text, " x ")) return false;
    const auto height = numberAt(text);
    if (!height || text != " px") return false;
    place.x = *x;
    place.y = *y;
    place.width = *width;
    place.height = *height;
    place.kind = Place::Kind::box;
    return true;
}

} // namespace

Place placeOf(std::string_view words, const std::vector<std::string>& partNames) {
    Place place;
    if (partNames.size() > 1) {
        // A part's name may hold anything, so it is known and not guessed.
        std::string_view rest = words;
        if (!taken(rest, "part ")) return place;
        const auto number = numberAt(rest);
        if (!number || *number == 0 || *number > partNames.size()) return place;
        const std::string& name = partNames[*number - 1];
        if (!name.empty() && !taken(rest, " (" + shortened(name) + ")")) return place;
        place.part = *number - 1;
        if (!taken(rest, ", ")) return place;
        words = rest;
    }
    Place read = place;
    if (readLine(words, read) || readCell(words, read) || readRow(words, read) ||
        readColumn(words, read) || readBox(words, read)) {
        return read;
    }
    return place;
}

} // namespace trevix
