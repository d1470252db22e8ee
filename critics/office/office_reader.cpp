#include "critics/office/office_reader.h"

#include <pugixml.hpp>
#include <zip.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace trevix {
namespace {

/// Says why the file is given up; never leaves this source.
class GivenUp : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr std::uint64_t kRatioFrom = std::uint64_t{1} << 20U; // Bytes; small entries pack well.

class Archive {
public:
    explicit Archive(std::string_view bytes) {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
        if (source != nullptr) m_zip.reset(zip_open_from_source(source, ZIP_RDONLY, &error));
        // The archive takes the source over only when it opens.
        if (source != nullptr && !m_zip) zip_source_free(source);
        zip_error_fini(&error);
        if (!m_zip) throw GivenUp("it is damaged or no archive");
        const auto entries = static_cast<std::uint64_t>(zip_get_num_entries(m_zip.get(), 0));
        if (entries == 0) throw GivenUp("it is damaged or no archive");
        if (entries > kMostOfficeEntries) throw GivenUp("its archive has too many entries");
    }

    /// The content of an entry; nothing where there is none of that name.
    std::optional<std::string> read(const std::string& name) {
        // As the archive's own directory has it. It may lie: so no more than this is read, and one
        // that has less is damaged.
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat(m_zip.get(), name.c_str(), 0, &stat) != 0) return std::nullopt;
        if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && stat.encryption_method != ZIP_EM_NONE)
            throw GivenUp("it is encrypted");
        if ((stat.valid & ZIP_STAT_SIZE) == 0 || (stat.valid & ZIP_STAT_COMP_SIZE) == 0)
            throw GivenUp("its archive does not say how large its entries are");
        // Counted whether or not it succeeds: an archive may name one entry many times.
        m_together += stat.size;
        if (stat.size > kMostOfficeXml || m_together > kMostOfficeTogether)
            throw GivenUp("it is too large unpacked");
        if (stat.size > kRatioFrom &&
            stat.size / std::max<std::uint64_t>(1, stat.comp_size) > kMostOfficeRatio)
            throw GivenUp("it unpacks to many hundred times its size");
        const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
            zip_fopen(m_zip.get(), name.c_str(), 0), zip_fclose);
        if (!file) throw GivenUp("its archive is damaged");
        std::string content(stat.size, '\0');
        std::size_t at = 0;
        while (at < content.size()) {
            const zip_int64_t got = zip_fread(file.get(), content.data() + at, content.size() - at);
            if (got <= 0) throw GivenUp("its archive is damaged");
            at += static_cast<std::size_t>(got);
        }
        return content;
    }

private:
    struct Discard {
        void operator()(zip_t* zip) const { zip_discard(zip); }
    };
    std::unique_ptr<zip_t, Discard> m_zip;
    std::uint64_t m_together = 0;
};

/// The XML of an entry. References of XML itself are resolved, declarations of a DOCTYPE skipped.
void parse(Archive& archive, const std::string& name, pugi::xml_document& document) {
    const auto content = archive.read(name);
    if (!content) throw GivenUp("it has no " + name);
    const auto result = document.load_buffer(content->data(), content->size(),
                                             // White space between elements is kept, because a run
                                             // of text may be nothing but a blank.
                                             pugi::parse_default | pugi::parse_ws_pcdata);
    if (!result) throw GivenUp("its " + name + " is no XML");
}

bool parseIfThere(Archive& archive, const std::string& name, pugi::xml_document& document) {
    const auto content = archive.read(name);
    if (!content) return false;
    return static_cast<bool>(document.load_buffer(content->data(), content->size(),
                                                  pugi::parse_default | pugi::parse_ws_pcdata));
}

/// Every element below `root` in the order of the document, without recursion however deep they
/// nest: `enter` says whether to go into one, `leave` comes behind its content.
template <typename Enter, typename Leave>
void walk(const pugi::xml_node& root, const Enter& enter, const Leave& leave) {
    pugi::xml_node at = root.first_child();
    while (at) {
        if (enter(at) && at.first_child()) {
            at = at.first_child();
            continue;
        }
        leave(at);
        while (!at.next_sibling()) {
            at = at.parent();
            if (!at || at == root) return;
            leave(at);
        }
        at = at.next_sibling();
    }
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

class Collector {
public:
    explicit Collector(OfficeWork& work) : m_work(work) {}

    void add(OfficeParagraph paragraph) {
        // Empty paragraphs are how people make room; they have a number all the same, see
        // readParagraphs().
        if (paragraph.text.find_first_not_of(" \t\r\n") == std::string::npos) return;
        m_bytes += paragraph.text.size();
        if (m_bytes > kMostOfficeText) {
            m_work.whole = false;
            return;
        }
        m_work.paragraphs.push_back(std::move(paragraph));
    }

private:
    OfficeWork& m_work;
    std::size_t m_bytes = 0;
};

/// The paragraphs of one XML: which elements are one, which hold text, which are passed over.
struct Dialect {
    std::initializer_list<std::string_view> paragraphs, texts, tabs, breaks, skipped, cells;
};

const Dialect kWord{{"w:p"},
                    {"w:t"},
                    {"w:tab"},
                    {"w:br", "w:cr"},
                    // What was deleted or moved away, the codes of fields, and what stands a second
                    // time for older programs.
                    {"w:del", "w:instrText", "w:pict", "w:object", "mc:Fallback", "w:moveFrom"},
                    {"w:tc"}};
const Dialect kDrawing{{"a:p"}, {"a:t"}, {"a:tab"}, {"a:br"}, {"mc:Fallback"}, {"a:tc"}};
/// OpenDocument has its text anywhere in a paragraph.
const Dialect kOpen{{"text:p", "text:h"},
                    // The text of ODF is not in elements of its own, so any within a paragraph
                    // counts.
                    {},
                    {"text:tab"},
                    {"text:line-break"},
                    {"text:tracked-changes", "office:annotation", "draw:object", "text:note"},
                    {"table:table-cell"}};

OfficeParagraph::Role roleInWord(const pugi::xml_node& paragraph) {
    const pugi::xml_node properties = paragraph.child("w:pPr");
    const std::string_view style = properties.child("w:pStyle").attribute("w:val").value();
    // Ids of styles as an English program makes them; a level may stand with the paragraph as well.
    if (style.starts_with("Heading") || style == "Title" || properties.child("w:outlineLvl"))
        return OfficeParagraph::Role::heading;
    return properties.child("w:numPr") || style.starts_with("List")
               ? OfficeParagraph::Role::listItem
               : OfficeParagraph::Role::text;
}

/// `place` is asked with the number of the paragraph, from 1.
template <typename Place>
void readParagraphs(const pugi::xml_node& root, const Dialect& dialect, const Place& place,
                    OfficeParagraph::Role role, Collector& collector) {
    // A text box stands inside the paragraph that it is anchored in.
    std::vector<OfficeParagraph> open;
    std::size_t number = 0;
    std::size_t cells = 0;
    std::size_t lists = 0;
    std::size_t texts = 0;
    walk(
        root,
        [&](const pugi::xml_node& node) {
            const std::string_view name = node.name();
            if (isOneOf(name, dialect.skipped)) return false;
            if (isOneOf(name, dialect.paragraphs)) {
                OfficeParagraph paragraph{place(++number), "", role};
                if (name == "w:p") paragraph.role = roleInWord(node);
                if (name == "text:h") paragraph.role = OfficeParagraph::Role::heading;
                // The closest wins: a cell is a cell in a list too.
                if (lists > 0) paragraph.role = OfficeParagraph::Role::listItem;
                if (cells > 0) paragraph.role = OfficeParagraph::Role::cell;
                open.push_back(std::move(paragraph));
            } else if (isOneOf(name, dialect.cells)) {
                ++cells;
            } else if (name == "text:list") {
                ++lists;
            } else if (isOneOf(name, dialect.texts)) {
                ++texts;
            } else if (!open.empty()) {
                std::string& text = open.back().text;
                const bool ofText = dialect.texts.size() == 0 || texts > 0;
                if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
                    if (ofText) text += node.value();
                } else if (isOneOf(name, dialect.tabs)) {
                    text += '\t';
                } else if (isOneOf(name, dialect.breaks)) {
                    text += '\n';
                } else if (name == "text:s") {
                    // A run of blanks that is given as a number; bounded, as the number is the
                    // file's.
                    text.append(std::clamp(node.attribute("text:c").as_uint(1), 1U, 100U), ' ');
                }
            }
            return true;
        },
        [&](const pugi::xml_node& node) {
            const std::string_view name = node.name();
            // As in the beginning: what was passed over has opened nothing.
            if (isOneOf(name, dialect.skipped)) return;
            if (isOneOf(name, dialect.paragraphs)) {
                collector.add(std::move(open.back()));
                open.pop_back();
            } else if (isOneOf(name, dialect.cells)) {
                --cells;
            } else if (name == "text:list") {
                --lists;
            } else if (isOneOf(name, dialect.texts)) {
                --texts;
            }
        });
}

std::string paragraphPlace(std::size_t number) {
    return "paragraph " + std::to_string(number);
}

OfficeWork readWord(Archive& archive) {
    OfficeWork work;
    Collector collector(work);
    pugi::xml_document document;
    parse(archive, "word/document.xml", document);
    readParagraphs(document, kWord, paragraphPlace, OfficeParagraph::Role::text, collector);
    return work;
}

/// Slides by their numbers, which is their order but where they were moved.
OfficeWork readPresentation(Archive& archive) {
    OfficeWork work;
    Collector collector(work);
    constexpr std::size_t kMostSlides = 2'000;
    for (std::size_t number = 1; number <= kMostSlides; ++number) {
        pugi::xml_document document;
        const std::string name = "ppt/slides/slide" + std::to_string(number) + ".xml";
        if (!parseIfThere(archive, name, document)) {
            if (number == 1) throw GivenUp("it has no " + name);
            break;
        }
        std::string place = "slide " + std::to_string(number);
        readParagraphs(
            document, kDrawing, [place](std::size_t) { return place; },
            OfficeParagraph::Role::listItem, collector);
    }
    return work;
}

OfficeWork readOpenText(Archive& archive) {
    OfficeWork work;
    Collector collector(work);
    pugi::xml_document document;
    parse(archive, "content.xml", document);
    readParagraphs(document, kOpen, paragraphPlace, OfficeParagraph::Role::text, collector);
    return work;
}

OfficeWork readOpenSlides(Archive& archive) {
    OfficeWork work;
    Collector collector(work);
    pugi::xml_document document;
    parse(archive, "content.xml", document);
    std::size_t number = 0;
    const pugi::xml_node slides =
        document.child("office:document-content").child("office:body").child("office:presentation");
    for (const pugi::xml_node& slide : slides.children("draw:page")) {
        std::string place = "slide " + std::to_string(++number);
        readParagraphs(
            slide, kOpen, [place](std::size_t) { return place; }, OfficeParagraph::Role::listItem,
            collector);
    }
    return work;
}

// ---- sheets -------------------------------------------------------------------------------------

/// Cells of all sheets together, bounded before any is made.
class Cells {
public:
    explicit Cells(OfficeWork& work) : m_work(work) {}

    void put(OfficeSheet& sheet, std::size_t row, std::size_t column, std::string_view text) {
        if (text.empty()) return;
        if (row >= kMostSheetRows || column >= kMostSheetColumns) {
            m_work.whole = false;
            return;
        }
        // What the rows before it lack is made with it, so all of it is counted before any is.
        const std::size_t filled = row < sheet.rows.size() ? sheet.rows[row].size() : 0;
        const std::size_t newRows = row < sheet.rows.size() ? 0 : row + 1 - sheet.rows.size();
        const std::size_t fresh = newRows + (column < filled ? 0 : column + 1 - filled);
        m_bytes += text.size();
        if (m_cells + fresh > kMostSheetCells || m_bytes > kMostOfficeText) {
            m_work.whole = false;
            return;
        }
        m_cells += fresh;
        if (row >= sheet.rows.size()) sheet.rows.resize(row + 1);
        if (column >= sheet.rows[row].size()) sheet.rows[row].resize(column + 1);
        sheet.rows[row][column] = text;
    }

private:
    OfficeWork& m_work;
    std::size_t m_cells = 0;
    std::size_t m_bytes = 0;
};

/// "C4" is row 3 and column 2; nothing for what is no name of a cell.
std::optional<std::pair<std::size_t, std::size_t>> cellNamed(std::string_view name) {
    std::size_t column = 0;
    std::size_t i = 0;
    // Bounded, so that the number stays small; the last column that a sheet has is "XFD".
    for (; i < name.size() && name[i] >= 'A' && name[i] <= 'Z' && i < 4; ++i) {
        column = column * 26 + static_cast<std::size_t>(name[i] - 'A') + 1;
    }
    std::size_t row = 0;
    const auto [end, error] = std::from_chars(name.data() + i, name.data() + name.size(), row);
    if (column == 0 || error != std::errc() || end != name.data() + name.size() || row == 0)
        return std::nullopt;
    return std::pair(row - 1, column - 1);
}

/// All text below a node, as rich text has it in several runs; not its phonetic readings.
std::string runsIn(const pugi::xml_node& node) {
    std::string text;
    for (const pugi::xml_node& child : node.children()) {
        const std::string_view name = child.name();
        if (name == "t") text += child.text().get();
        if (name == "r") text += child.child("t").text().get();
        if (text.size() > kMostOfficeText) break;
    }
    return text;
}

OfficeWork readWorkbook(Archive& archive) {
    OfficeWork work;
    Cells cells(work);
    pugi::xml_document book;
    parse(archive, "xl/workbook.xml", book);
    std::map<std::string, std::string> targets;
    pugi::xml_document relations;
    if (parseIfThere(archive, "xl/_rels/workbook.xml.rels", relations)) {
        // Sheets are named by relations, ECMA-376 part 1, 18.2.19; the names of their entries are a
        // habit only.
        for (const pugi::xml_node& one : relations.child("Relationships").children())
            targets[one.attribute("Id").value()] = one.attribute("Target").value();
    }
    std::vector<std::string> shared;
    pugi::xml_document strings;
    if (parseIfThere(archive, "xl/sharedStrings.xml", strings)) {
        // Texts are kept once for all sheets, and cells say their number.
        for (const pugi::xml_node& one : strings.child("sst").children("si"))
            shared.push_back(runsIn(one));
    }
    std::size_t number = 0;
    for (const pugi::xml_node& entry : book.child("workbook").child("sheets").children("sheet")) {
        ++number;
        std::string name = "xl/worksheets/sheet" + std::to_string(number) + ".xml";
        if (const auto target = targets.find(entry.attribute("r:id").value());
            target != targets.end()) {
            const std::string& path = target->second;
            // A target is relative to the folder of the workbook, or absolute within the archive.
            name = path.starts_with('/') ? path.substr(1) : "xl/" + path;
        }
        pugi::xml_document document;
        if (!parseIfThere(archive, name, document)) {
            work.whole = false;
            continue;
        }
        OfficeSheet sheet;
        sheet.name = entry.attribute("name").value();
        std::size_t nextRow = 0;
        for (const pugi::xml_node& row :
             document.child("worksheet").child("sheetData").children("row")) {
            const unsigned long long given = row.attribute("r").as_ullong(0);
            // Numbers of rows may be left out, and then go on from the one before.
            const std::size_t at = given > 0 ? static_cast<std::size_t>(given - 1) : nextRow;
            nextRow = at + 1;
            if (!work.whole) break;
            std::size_t nextColumn = 0;
            for (const pugi::xml_node& cell : row.children("c")) {
                const auto place = cellNamed(cell.attribute("r").value());
                const std::size_t column = place ? place->second : nextColumn;
                nextColumn = column + 1;
                const std::string_view type = cell.attribute("t").value();
                std::string_view text = cell.child("v").text().get();
                std::string own;
                if (type == "s") {
                    std::size_t index = 0;
                    const auto [end, error] =
                        std::from_chars(text.data(), text.data() + text.size(), index);
                    text = error == std::errc() && index < shared.size() ? shared[index]
                                                                         : std::string_view();
                } else if (type == "inlineStr") {
                    own = runsIn(cell.child("is"));
                    text = own;
                } else if (type == "b") {
                    text = text == "1" ? "TRUE" : "FALSE";
                }
                cells.put(sheet, at, column, text);
            }
        }
        work.sheets.push_back(std::move(sheet));
    }
    if (work.sheets.empty()) throw GivenUp("it has no sheet");
    return work;
}

/// What a cell shows: its paragraphs, one line each.
std::string shownIn(const pugi::xml_node& cell) {
    std::string text;
    for (const pugi::xml_node& paragraph : cell.children("text:p")) {
        if (!text.empty()) text += '\n';
        walk(
            paragraph,
            [&](const pugi::xml_node& node) {
                if (node.type() == pugi::node_pcdata) text += node.value();
                if (std::string_view(node.name()) == "text:s") text += ' ';
                return text.size() <= kMostOfficeText;
            },
            [](const pugi::xml_node&) {});
    }
    return text;
}

OfficeWork readOpenSheet(Archive& archive) {
    OfficeWork work;
    Cells cells(work);
    pugi::xml_document document;
    parse(archive, "content.xml", document);
    const pugi::xml_node book =
        document.child("office:document-content").child("office:body").child("office:spreadsheet");
    // Rows and cells that repeat empty cells to the end of the sheet are passed over; filled ones
    // are written out up to this many times.
    constexpr std::size_t kMostRepeats = 1'000;
    const auto repeats = [](const pugi::xml_node& node, const char* attribute) {
        return std::max<std::size_t>(
            1, static_cast<std::size_t>(node.attribute(attribute).as_ullong(1)));
    };
    for (const pugi::xml_node& table : book.children("table:table")) {
        OfficeSheet sheet;
        sheet.name = table.attribute("table:name").value();
        std::size_t row = 0;
        walk(
            table,
            [&](const pugi::xml_node& node) {
                const std::string_view name = node.name();
                if (!work.whole) return false;
                if (name != "table:table-row") return name != "table:table";
                const std::size_t rowTimes = repeats(node, "table:number-rows-repeated");
                std::size_t column = 0;
                for (const pugi::xml_node& cell : node.children()) {
                    const std::size_t times = repeats(cell, "table:number-columns-repeated");
                    const std::string text = shownIn(cell);
                    if (!text.empty()) {
                        if (times > kMostRepeats || rowTimes > kMostRepeats) work.whole = false;
                        for (std::size_t r = 0; r < std::min(rowTimes, kMostRepeats); ++r) {
                            for (std::size_t c = 0; c < std::min(times, kMostRepeats); ++c)
                                cells.put(sheet, row + r, column + c, text);
                            if (!work.whole) break;
                        }
                    }
                    column += std::min(times, kMostSheetColumns);
                    if (column > kMostSheetColumns || !work.whole) break;
                }
                row += std::min(rowTimes, kMostSheetRows);
                row = std::min(row, kMostSheetRows);
                return false;
            },
            [](const pugi::xml_node&) {});
        work.sheets.push_back(std::move(sheet));
    }
    if (work.sheets.empty()) throw GivenUp("it has no sheet");
    return work;
}

} // namespace

std::variant<OfficeWork, OfficeFailure> readOffice(std::string_view bytes, OfficeKind kind) {
    try {
        Archive archive(bytes);
        switch (kind) {
        case OfficeKind::wordDocument:
            return readWord(archive);
        case OfficeKind::presentation:
            return readPresentation(archive);
        case OfficeKind::workbook:
            return readWorkbook(archive);
        case OfficeKind::openText:
            return readOpenText(archive);
        case OfficeKind::openSlides:
            return readOpenSlides(archive);
        case OfficeKind::openSheet:
            break;
        }
        return readOpenSheet(archive);
    } catch (const GivenUp& failure) {
        return OfficeFailure{failure.what(), ""};
    }
}

} // namespace trevix
