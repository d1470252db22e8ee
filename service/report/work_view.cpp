#include "service/report/work_view.h"

#include "critics/findings/part_kind.h"
#include "critics/findings/place.h"
#include "critics/findings/source_text.h"
#include "critics/sheet/table_reader.h"
#include "service/report/line_diff.h"
#include "service/report/marked_text.h"
#include "text/base64.h"
#include "text/unicode.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::size_t kAround = 3; // Lines, and rows, on either side of a flaw.
constexpr std::size_t kLinesOfCleanPart = 60;
constexpr std::size_t kLongestCell = 240; // Characters.
// Of a picture that a browser is asked to draw, which unpacks it: 256 MiB. Chosen.
constexpr std::size_t kLargestSide = 32'768;
constexpr std::size_t kMostPixels = std::size_t{64} << 20U;
constexpr std::size_t kMostChangedLines = 400;
constexpr std::size_t kAroundAChange = 2;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

Html gap(const std::string& words) {
    return element("p", {{"class", "gap"}}, {words});
}

std::vector<std::string> namesOf(const std::vector<PartSummary>& parts) {
    std::vector<std::string> names;
    for (const PartSummary& part : parts) names.push_back(part.name);
    return names;
}

/// The kind that the critics took a kept part for.
WorkKind kindOfKept(const PartSummary& summary, const KeptPart& kept, std::string_view modality) {
    // Only whether there are text and bytes decides the kind, so a word stands for either, and the
    // content is not copied.
    Part part{summary.mimeType, summary.name, "text", "", true};
    if (!kept.isText) part = {summary.mimeType, summary.name, "", "bytes", false};
    return kindOf(part, text::lowerAscii(modality));
}

/// A flaw with its place, where it is of this part.
struct Placed {
    PageFlaw* flaw = nullptr;
    Place place;
};

/// One part as it is looked at: read once, to find out what stands where, and shown later.
struct PartView {
    std::size_t ordinal = 0;
    const KeptPart* kept = nullptr;
    WorkKind kind = WorkKind::any;
    std::optional<SourceText> source;
    std::optional<Table> table;
    std::vector<Placed> flaws;
    std::map<const PageFlaw*, TextMark> marks; // of a text
    std::size_t width = 0;                     // of a picture, in pixels
    std::size_t height = 0;
};

std::size_t bigEndian(std::string_view bytes) {
    std::size_t value = 0;
    for (const char byte : bytes) value = value << 8U | static_cast<unsigned char>(byte);
    return value;
}

std::size_t columnCalled(const Table& table, const std::string& header) {
    // A place may name a header that was cut to fit into a sentence, so its beginning is enough.
    // Names before letters: a column may be called "B".
    for (std::size_t i = 0; i < table.width; ++i) {
        const std::string name = table.header(i);
        if (!name.empty() && (name == header || name.starts_with(header))) return i;
    }
    for (std::size_t i = 0; i < table.width; ++i) {
        if (columnName(i) == header) return i;
    }
    return kNone;
}

/// Whether the place is one that the part has, so that a flaw can be shown there.
bool isThere(PartView& view, Placed& placed) {
    Place& place = placed.place;
    switch (view.kind) {
    case WorkKind::sheet:
        // A place names its column by header or by letter; which one that is in this table is found
        // here.
        if (place.kind == Place::Kind::column) {
            place.cellColumn = columnCalled(*view.table, place.header);
            return place.cellColumn != kNone;
        }
        if (place.kind != Place::Kind::cell && place.kind != Place::Kind::row) return false;
        // Bounded here, once: what is drawn later trusts it.
        return place.row < view.table->rows.size() &&
               (place.kind == Place::Kind::row || place.cellColumn < view.table->width);
    case WorkKind::picture:
        return place.kind == Place::Kind::box && place.x < view.width && place.y < view.height;
    default:
        break;
    }
    auto mark = markOf(*view.source, place, placed.flaw->finding);
    if (!mark) return false;
    view.marks[placed.flaw] = *mark;
    return true;
}

/// Where in its part a flaw stands, to be ordered by.
std::tuple<std::size_t, std::size_t> orderOf(const PartView& view, const Placed& placed) {
    if (const auto mark = view.marks.find(placed.flaw); mark != view.marks.end()) {
        return {mark->second.begin, mark->second.end};
    }
    if (view.kind == WorkKind::picture) return {placed.place.y, placed.place.x};
    if (placed.place.kind == Place::Kind::column) return {0, placed.place.cellColumn};
    return {placed.place.row, placed.place.cellColumn};
}

PartView viewOf(std::size_t ordinal, const PartSummary& summary, const KeptPart& kept,
                std::string_view modality) {
    PartView view;
    view.ordinal = ordinal;
    view.kept = &kept;
    view.kind = kindOfKept(summary, kept, modality);
    // 16 bytes: 8 of the signature, 4 of a length and 4 of a name stand before the size.
    if (view.kind == WorkKind::picture && kept.bytes.size() >= 24) {
        // The header of a PNG file: its width and height follow the name of the first chunk.
        view.width = bigEndian(std::string_view(kept.bytes).substr(16, 4));
        view.height = bigEndian(std::string_view(kept.bytes).substr(20, 4));
    } else if (view.kind == WorkKind::sheet) {
        // By the reader that the critics use: places lead into its rows.
        view.table = readSheet(kept.bytes, summary.mimeType);
    } else {
        view.source.emplace(kept.bytes);
    }
    return view;
}

/// What of `count` lines or rows is shown: [first, last) spans, in order, at most `most` together.
std::vector<std::pair<std::size_t, std::size_t>> windows(std::size_t count, std::size_t whole,
                                                         std::size_t most, std::size_t around,
                                                         const std::set<std::size_t>& marked) {
    if (count <= std::min(whole, most)) return {{0, count}};
    if (marked.empty()) return {{0, std::min({count, kLinesOfCleanPart, most})}};
    std::vector<std::pair<std::size_t, std::size_t>> shown;
    std::size_t left = most;
    // The marked lines come in order, so one pass is enough: a window that touches the one before
    // it makes that longer, and the first that has no room left ends it all.
    for (const std::size_t at : marked) {
        std::size_t first = at - std::min(at, around);
        const std::size_t last = std::min(count, at + around + 1);
        // What is shown already is not shown twice.
        if (!shown.empty() && first <= shown.back().second) first = shown.back().second;
        if (last <= first) continue;
        if (last - first > left) break;
        left -= last - first;
        if (!shown.empty() && first == shown.back().second) {
            shown.back().second = last;
        } else {
            shown.emplace_back(first, last);
        }
    }
    return shown;
}

/// What is written to one page, so that all parts together stay within it.
struct Room {
    std::size_t lines = kMostLines;
    std::size_t pictures = kMostPictures;
    CardWriter card = nullptr;
    const void* page = nullptr;
};

Html cardsBelow(const std::vector<Placed>& flaws, const Room& room) {
    if (flaws.empty()) return {};
    Html cards;
    for (const Placed& placed : flaws) cards += room.card(*placed.flaw, room.page);
    return element("div", {{"class", "notes"}}, {cards});
}

std::string lineClass(const std::vector<TextMark>& marks) {
    const TextMark* worst = nullptr;
    for (const TextMark& mark : marks) {
        // What was dismissed keeps its number and loses its colour.
        if (!mark.wholeLine || mark.dismissed) continue;
        if (worst == nullptr || worst->severity < mark.severity) worst = &mark;
    }
    return worst == nullptr ? "l" : "l whole " + worst->className();
}

Html textPart(PartView& view, Room& room) {
    const SourceText& source = *view.source;
    std::map<std::size_t, std::vector<Placed>> byLine;
    std::set<std::size_t> marked;
    for (const Placed& placed : view.flaws) {
        const std::size_t line = view.marks.at(placed.flaw).line;
        byLine[line].push_back(placed);
        marked.insert(line);
    }
    // An end of the last line begins none.
    std::size_t count = source.lineCount();
    if (count > 1 && source.line(count - 1).empty() && !marked.contains(count - 1)) --count;
    const auto shown =
        windows(count, kWholeLines, std::min(kMostLinesOfPart, room.lines), kAround, marked);
    Html lines = "\n";
    std::size_t at = 0;
    for (const auto& [first, last] : shown) {
        if (first > at) lines += gap(counted(first - at, "line", "lines") + " left out");
        for (std::size_t line = first; line < last; ++line) {
            std::vector<TextMark> marks;
            for (Placed& placed : byLine[line]) {
                placed.flaw->inPlace = true;
                // The number is known only now, once all parts are ordered.
                TextMark mark = view.marks.at(placed.flaw);
                mark.number = placed.flaw->number;
                mark.dismissed = placed.flaw->dismissed;
                marks.push_back(mark);
            }
            lines +=
                element("div", {{"class", lineClass(marks)}, {"data-n", std::to_string(line + 1)}},
                        {element("span", {{"dir", "auto"}}, {markedLine(source, line, marks)})});
            lines += "\n";
            lines += cardsBelow(byLine[line], room);
        }
        room.lines -= last - first;
        at = last;
    }
    if (at < count) lines += gap(counted(count - at, "line", "lines") + " left out");
    const bool code = view.kind == WorkKind::code;
    return element("div", {{"class", code ? "text code" : "text prose"}}, {lines});
}

/// The columns that are shown: all, or the first ones and those with flaws.
std::vector<std::size_t> shownColumns(const Table& table, const std::vector<Placed>& flaws) {
    std::set<std::size_t> columns;
    // The columns with flaws first, so that room that is short is not spent on those before them.
    for (const Placed& placed : flaws) {
        if (placed.place.kind != Place::Kind::row && columns.size() < kMostColumns) {
            columns.insert(placed.place.cellColumn);
        }
    }
    for (std::size_t i = 0; i < table.width && columns.size() < kMostColumns; ++i)
        columns.insert(i);
    return {columns.begin(), columns.end()};
}

/// The flaws at one cell, header or row, as the class of the cell and the numbers in it.
struct CellMarks {
    std::optional<Severity> worst; // of those that count
    Html numbers;

    void add(const PageFlaw& flaw) {
        const Severity severity = flaw.finding.severity;
        if (!flaw.dismissed) worst = worst ? std::max(*worst, severity) : severity;
        numbers += flawReference(flaw.number, severity, flaw.dismissed);
    }
    [[nodiscard]] std::string classes(std::string base) const {
        if (numbers.empty()) return base;
        return (base.empty() ? base : base + " ") + "marked " +
               (worst ? flawClass(*worst, false) : "f-off");
    }
};

Html tablePart(PartView& view, const std::string& label, Room& room) {
    const Table& table = *view.table;
    std::map<std::pair<std::size_t, std::size_t>, CellMarks> cells;
    std::map<std::size_t, CellMarks> rows;
    std::map<std::size_t, CellMarks> heads;
    std::set<std::size_t> marked;
    for (const Placed& placed : view.flaws) {
        if (placed.place.kind != Place::Kind::column) marked.insert(placed.place.row);
    }
    const auto shown = windows(table.rows.size(), kWholeRows,
                               std::min(kMostLinesOfPart, room.lines), kAround, marked);
    const std::vector<std::size_t> columns = shownColumns(table, view.flaws);
    // A row or column that was left out takes its flaws to the list below.
    const auto isShown = [&](const Place& place) {
        const bool column = place.kind == Place::Kind::row ||
                            std::binary_search(columns.begin(), columns.end(), place.cellColumn);
        return column && (place.kind == Place::Kind::column ||
                          std::any_of(shown.begin(), shown.end(), [&](const auto& span) {
                              return place.row >= span.first && place.row < span.second;
                          }));
    };
    std::vector<Placed> inPlace;
    for (const Placed& placed : view.flaws) {
        const Place& place = placed.place;
        if (!isShown(place)) continue;
        placed.flaw->inPlace = true;
        inPlace.push_back(placed);
        if (place.kind == Place::Kind::column) heads[place.cellColumn].add(*placed.flaw);
        if (place.kind == Place::Kind::row) rows[place.row].add(*placed.flaw);
        if (place.kind == Place::Kind::cell) {
            cells[{place.row, place.cellColumn}].add(*placed.flaw);
        }
    }

    Html head = element("td", {}, {});
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const CellMarks& marks = heads[columns[i]];
        head += element("th", {{"scope", "col"}, {"class", marks.classes("")}},
                        {columnName(columns[i]), marks.numbers});
    }
    Html body = "\n";
    std::size_t at = 0;
    // One more than the columns, for the one that has the rows' numbers.
    const std::string span = std::to_string(columns.size() + 1);
    const auto skipped = [&](std::size_t count) {
        if (count == 0) return;
        body += element(
            "tr", {{"class", "gap"}},
            {element("td", {{"colspan", span}}, {counted(count, "row", "rows") + " left out"})});
        body += "\n";
    };
    for (const auto& [first, last] : shown) {
        skipped(first - at);
        for (std::size_t row = first; row < last; ++row) {
            const CellMarks& ofRow = rows[row];
            Html line = element("th", {{"scope", "row"}, {"class", ofRow.classes("")}},
                                {std::to_string(row + 1), ofRow.numbers});
            for (const std::size_t column : columns) {
                const CellMarks& marks = cells[{row, column}];
                // Missing cells of a short row are empty ones.
                const std::string_view content = table.cell(row, column);
                const std::string_view kept = text::firstCharacters(content, kLongestCell);
                line += element(
                    "td", {{"class", marks.classes("")}},
                    {kept, kept.size() < content.size() ? Html("…") : Html(), marks.numbers});
            }
            const bool header = table.headerRow && row == *table.headerRow;
            body += element("tr", {{"class", ofRow.classes(header ? "header" : "")}}, {line});
            body += "\n";
        }
        room.lines -= last - first;
        at = last;
    }
    skipped(table.rows.size() - at);
    Html made = element("div",
                        {{"class", "scroll"},
                         {"tabindex", "0"},
                         {"role", "region"},
                         {"aria-label", "Table " + label}},
                        {element("table", {{"class", "sheet"}},
                                 {element("thead", {}, {element("tr", {}, {head})}),
                                  element("tbody", {}, {body})})});
    if (columns.size() < table.width) {
        made += gap(counted(table.width - columns.size(), "column", "columns") + " left out");
    }
    made += cardsBelow(inPlace, room);
    return made;
}

Html picturePart(PartView& view, const std::string& label, Room& room) {
    const std::string& bytes = view.kept->bytes;
    const bool drawable = view.width > 0 && view.height > 0 && view.width <= kLargestSide &&
                          view.height <= kLargestSide && view.width * view.height <= kMostPixels;
    if (bytes.size() > room.pictures || !drawable) {
        // Missing is said, not a broken picture: the flaws are listed all the same.
        return gap("This picture is not shown: what pictures on a page may take has a limit.");
    }
    room.pictures -= bytes.size();
    const std::string width = std::to_string(view.width);
    const std::string height = std::to_string(view.height);
    // A number is readable on a picture that is made smaller to fit a page.
    // A page is 832 pixels wide at most (52rem in style.css), a 55th of which is 15. Small pictures
    // are not made smaller, and 12 is what can just be read.
    const std::size_t letter = std::max<std::size_t>(view.width / 55, 12);
    Html drawn = element("title", {}, {"Picture " + label + " with its flaws boxed"});
    drawn += element("image",
                     {{"href", "data:image/png;base64," + text::base64(bytes)},
                      {"width", width},
                      {"height", height}},
                     {});
    std::set<std::pair<std::size_t, std::size_t>> taken; // by the numbers so far
    for (const Placed& placed : view.flaws) {
        placed.flaw->inPlace = true;
        const Place& place = placed.place;
        const std::string number = std::to_string(placed.flaw->number);
        const bool off = placed.flaw->dismissed;
        const std::string look = flawClass(placed.flaw->finding.severity, off);
        const std::string severity =
            off ? "dismissed" : severityName(placed.flaw->finding.severity);
        // Grown by a little: an edge of its own would hide what it shows.
        const std::size_t x = place.x - std::min<std::size_t>(place.x, 3);
        const std::size_t y = place.y - std::min<std::size_t>(place.y, 3);
        const std::size_t right = std::min(view.width, place.x + place.width + 3);
        const std::size_t bottom = std::min(view.height, place.y + place.height + 3);
        const std::size_t tall = letter + letter / 3;
        // Digits are about two thirds as wide as tall, with half a one free on either side.
        const std::size_t wide = letter * (number.size() + 1) * 2 / 3;
        // Above its box, or inside it where there is no room above.
        const std::size_t top = y >= tall ? y - tall : y;
        std::size_t left = x;
        // Boxes that begin in the same place would have their numbers on top of each other; they
        // stand side by side instead.
        while (!taken.emplace(left / letter, top / letter).second) left += letter;
        drawn += element("a",
                         {{"class", "box " + look},
                          {"id", "m" + number},
                          {"href", "#f" + number},
                          {"aria-label", "Flaw " + number + ", " + severity}},
                         {element("rect",
                                  {{"class", "edge"},
                                   {"x", std::to_string(x)},
                                   {"y", std::to_string(y)},
                                   {"width", std::to_string(right - x)},
                                   {"height", std::to_string(bottom - y)}},
                                  {}),
                          element("rect",
                                  {{"class", "tag"},
                                   {"x", std::to_string(left)},
                                   {"y", std::to_string(top)},
                                   {"width", std::to_string(wide)},
                                   {"height", std::to_string(tall)}},
                                  {}),
                          element("text",
                                  {{"x", std::to_string(left + wide / 2)},
                                   {"y", std::to_string(top + letter)},
                                   {"font-size", std::to_string(letter)}},
                                  {number})});
    }
    Html made = element("svg",
                        {{"class", "picture"},
                         // The drawing counts in pixels of the picture, as the places of flaws do,
                         // whatever size the page gives it.
                         {"viewBox", "0 0 " + width + " " + height},
                         {"width", width},
                         {"height", height}},
                        {drawn});
    made += cardsBelow(view.flaws, room);
    return made;
}

Html partSection(PartView& view, const PartSummary& summary, bool alone, Room& room) {
    const std::string label =
        summary.name.empty() ? "part " + std::to_string(view.ordinal + 1) : summary.name;
    Html content;
    if (view.kind == WorkKind::picture) {
        content = picturePart(view, label, room);
    } else if (view.kind == WorkKind::sheet) {
        content = tablePart(view, label, room);
    } else {
        content = textPart(view, room);
    }
    const Html title =
        alone && summary.name.empty() ? Html() : element("h3", {{"dir", "auto"}}, {label});
    return element("section", {{"class", "part"}}, {title, content});
}

bool known(WorkKind kind) {
    return kind != WorkKind::any && kind != WorkKind::engine;
}

} // namespace

Html workView(const Iteration& iteration, std::string_view modality, const KeptWork& work,
              std::vector<PageFlaw>& flaws, CardWriter card, const void* page) {
    const std::vector<std::string> names = namesOf(iteration.parts);
    std::map<std::size_t, PartView> views;
    for (const KeptPart& kept : work) {
        if (kept.ordinal >= iteration.parts.size()) continue;
        PartView view = viewOf(kept.ordinal, iteration.parts[kept.ordinal], kept, modality);
        if (known(view.kind)) views.emplace(kept.ordinal, std::move(view));
    }
    for (PageFlaw& flaw : flaws) {
        Placed placed{&flaw, placeOf(flaw.finding.place, names)};
        // A part that is not kept, or of which the place is not known, has no view: the flaw is
        // listed.
        const auto view = views.find(placed.place.part);
        if (view != views.end() && isThere(view->second, placed)) {
            view->second.flaws.push_back(std::move(placed));
        }
    }

    std::size_t number = 0;
    for (auto& each : views) {
        // By part and by where in it; the numbers follow the order of reading.
        PartView& view = each.second;
        std::stable_sort(
            view.flaws.begin(), view.flaws.end(),
            [&](const Placed& a, const Placed& b) { return orderOf(view, a) < orderOf(view, b); });
        for (Placed& placed : view.flaws) placed.flaw->number = ++number;
    }
    // Those that are listed come after those that are shown.
    for (PageFlaw& flaw : flaws) {
        if (flaw.number == 0) flaw.number = ++number;
    }

    // Parts with flaws are shown before others are, and all in their order.
    std::vector<std::size_t> chosen;
    for (const bool flawed : {true, false}) {
        for (const auto& [ordinal, view] : views) {
            if (view.flaws.empty() != flawed && chosen.size() < kMostPartsShown) {
                chosen.push_back(ordinal);
            }
        }
    }
    std::sort(chosen.begin(), chosen.end());
    Room room{kMostLines, kMostPictures, card, page};
    Html shown;
    for (const std::size_t ordinal : chosen) {
        shown += partSection(views.at(ordinal), iteration.parts[ordinal],
                             iteration.parts.size() == 1, room);
        shown += "\n";
    }
    if (shown.empty()) return {};
    if (chosen.size() < iteration.parts.size()) {
        shown += gap(counted(iteration.parts.size() - chosen.size(), "part is", "parts are") +
                     " not shown: of another kind than text, tables and PNG pictures, too large to "
                     "be kept, or beyond the first " +
                     std::to_string(kMostPartsShown) + ".");
    }
    return shown;
}

namespace {

/// The marks of findings in one text, by line.
std::map<std::size_t, std::vector<TextMark>> marksByLine(const SourceText& source,
                                                         const std::vector<std::string>& names,
                                                         std::size_t ordinal,
                                                         const std::vector<Finding>& findings) {
    std::map<std::size_t, std::vector<TextMark>> marks;
    for (const Finding& finding : findings) {
        const Place place = placeOf(finding.place, names);
        if (place.part != ordinal) continue;
        if (const auto mark = markOf(source, place, finding)) marks[mark->line].push_back(*mark);
    }
    for (auto& [line, each] : marks) {
        // By where they begin; a mark within another follows it, as markedLine() expects.
        std::stable_sort(each.begin(), each.end(), [](const TextMark& a, const TextMark& b) {
            return std::tie(a.begin, a.end) < std::tie(b.begin, b.end);
        });
    }
    return marks;
}

std::vector<std::string_view> linesOf(const SourceText& source) {
    std::vector<std::string_view> lines;
    for (std::size_t i = 0; i < source.lineCount(); ++i) lines.push_back(source.line(i));
    if (lines.size() > 1 && lines.back().empty()) lines.pop_back();
    return lines;
}

const KeptPart* textOf(const KeptWork& work, std::size_t ordinal) {
    const auto found = std::find_if(work.begin(), work.end(), [&](const KeptPart& part) {
        return part.ordinal == ordinal && part.isText;
    });
    return found == work.end() ? nullptr : &*found;
}

/// One side of a comparison.
struct Side {
    const SourceText& source;
    std::map<std::size_t, std::vector<TextMark>> marks;

    [[nodiscard]] Html line(std::size_t at, const char* tag, const char* sign) const {
        const auto marked = marks.find(at);
        const std::vector<TextMark> none;
        return element(
            "div",
            {{"class", std::string("l is-") + tag}, {"data-n", sign + std::to_string(at + 1)}},
            {element(tag, {{"dir", "auto"}},
                     {markedLine(source, at, marked == marks.end() ? none : marked->second)})});
    }
};

Html changesOfPart(const Side& before, const Side& after, std::size_t& left) {
    const auto old = linesOf(before.source);
    const auto fresh = linesOf(after.source);
    Html lines;
    std::size_t shownTo = 0; // in the later text
    // Each change is shown with a few lines around it. The same lines between two changes are told
    // once, as the end of the one and the beginning of the other, with the rest counted.
    for (const LineChange& change : changedLines(old, fresh)) {
        if (left == 0) {
            lines += gap("More changed; the rest is left out.");
            break;
        }
        const std::size_t from =
            std::max(shownTo, change.after - std::min(change.after, kAroundAChange));
        // What follows the change before it, and what comes before this one.
        const std::size_t tail = std::min(from, shownTo == 0 ? 0 : shownTo + kAroundAChange);
        for (std::size_t i = shownTo; i < tail; ++i) lines += after.line(i, "span", "");
        // A single line is shown: saying that it is left out would take as much room.
        if (from == tail + 1) lines += after.line(tail, "span", "");
        if (from > tail + 1) lines += gap(counted(from - tail, "line", "lines") + " the same");
        for (std::size_t i = from; i < change.after; ++i) lines += after.line(i, "span", "");
        const std::size_t removed = std::min(change.removed, left);
        for (std::size_t i = 0; i < removed; ++i) {
            lines += before.line(change.before + i, "del", "−");
        }
        left -= removed;
        const std::size_t added = std::min(change.added, left);
        for (std::size_t i = 0; i < added; ++i) {
            lines += after.line(change.after + i, "ins", "+");
        }
        left -= added;
        shownTo = change.after + change.added;
        if (removed < change.removed || added < change.added) {
            lines += gap("More changed; the rest is left out.");
            return lines;
        }
    }
    if (lines.empty()) return {};
    const std::size_t tail = std::min(fresh.size(), shownTo + kAroundAChange);
    for (std::size_t i = shownTo; i < tail; ++i) lines += after.line(i, "span", "");
    if (tail < fresh.size()) {
        lines += gap(counted(fresh.size() - tail, "line", "lines") + " the same");
    }
    return lines;
}

} // namespace

Html changesView(const Iteration& before, const KeptWork& workBefore,
                 const std::vector<Finding>& fixed, const Iteration& now, const KeptWork& work,
                 const std::vector<PageFlaw>& flaws) {
    std::vector<Finding> fresh;
    for (const PageFlaw& flaw : flaws) {
        if (flaw.state == "new") fresh.push_back(flaw.finding);
    }
    const std::vector<std::string> namesBefore = namesOf(before.parts);
    const std::vector<std::string> names = namesOf(now.parts);
    Html made;
    std::size_t left = kMostChangedLines;
    for (const KeptPart& kept : work) {
        if (!kept.isText || kept.ordinal >= now.parts.size()) continue;
        // The part of the same name, or the one in its place.
        std::size_t old = kept.ordinal;
        // A part that was renamed is most likely still in its place.
        const auto called = std::find(namesBefore.begin(), namesBefore.end(), names[kept.ordinal]);
        if (called != namesBefore.end()) {
            old = static_cast<std::size_t>(called - namesBefore.begin());
        }
        const KeptPart* earlier = old < before.parts.size() ? textOf(workBefore, old) : nullptr;
        if (earlier == nullptr || earlier->bytes == kept.bytes) continue;
        const SourceText sourceBefore(earlier->bytes);
        const SourceText source(kept.bytes);
        const Html changes =
            changesOfPart({sourceBefore, marksByLine(sourceBefore, namesBefore, old, fixed)},
                          {source, marksByLine(source, names, kept.ordinal, fresh)}, left);
        if (changes.empty()) continue;
        if (now.parts.size() > 1) made += element("h3", {{"dir", "auto"}}, {names[kept.ordinal]});
        made += element("div", {{"class", "text code diff"}}, {changes});
        made += "\n";
        if (left == 0) break;
    }
    return made;
}

} // namespace trevix
