#include "critics/office/office_critic.h"

#include "critics/findings/finding_list.h"
#include "critics/sheet/sheet_critic.h"
#include "critics/text/placed_text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trevix {

namespace {

struct TypeOfKind {
    std::string_view type;
    OfficeKind kind;
};

// As registered with IANA; templates and files with macros have types of their own and are left
// out.
constexpr std::array<TypeOfKind, 6> kTypes{{
    {"application/vnd.openxmlformats-officedocument.wordprocessingml.document",
     OfficeKind::wordDocument},
    {"application/vnd.openxmlformats-officedocument.presentationml.presentation",
     OfficeKind::presentation},
    {"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", OfficeKind::workbook},
    {"application/vnd.oasis.opendocument.text", OfficeKind::openText},
    {"application/vnd.oasis.opendocument.presentation", OfficeKind::openSlides},
    {"application/vnd.oasis.opendocument.spreadsheet", OfficeKind::openSheet},
}};

BlockKind blockOf(OfficeParagraph::Role role) {
    switch (role) {
    case OfficeParagraph::Role::heading:
        return BlockKind::heading;
    case OfficeParagraph::Role::listItem:
        return BlockKind::listItem;
    case OfficeParagraph::Role::cell:
        return BlockKind::table;
    case OfficeParagraph::Role::text:
        break;
    }
    return BlockKind::paragraph;
}

Critique ofParagraphs(const OfficeWork& work, const LanguageTools& tools) {
    PlacedText placed;
    for (const OfficeParagraph& paragraph : work.paragraphs) {
        // Consecutive paragraphs of one place share it: a slide has many.
        if (placed.places.empty() || placed.places.back().second != paragraph.place)
            placed.begin(paragraph.place);
        placed.add(paragraph.text, blockOf(paragraph.role));
    }
    if (placed.places.empty()) placed.begin("the whole file");
    Critique critique = critiquePlacedText(placed, Flow::known, tools);
    critique.coverage.checked(ownRules("text of office files"));
    return critique;
}

/// The sheet as text with tabs between cells, as its critic reads it.
std::string tabbed(const OfficeSheet& sheet) {
    std::string text;
    for (const auto& row : sheet.rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) text += '\t';
            // Quoted as RFC 4180 has it, which is how the critic of sheets takes it apart again.
            if (row[i].find_first_of("\t\n\r\"") == std::string::npos) {
                text += row[i];
                continue;
            }
            text += '"';
            for (const char c : row[i]) text += c == '"' ? "\"\"" : std::string(1, c);
            text += '"';
        }
        text += '\n';
    }
    return text;
}

Critique ofSheets(const OfficeWork& work) {
    Critique whole;
    whole.coverage.known = true;
    for (const OfficeSheet& sheet : work.sheets) {
        if (sheet.rows.empty() && work.sheets.size() > 1) continue; // Programs add empty ones.
        Part part;
        part.mimeType = "text/tab-separated-values";
        part.text = tabbed(sheet);
        Critique ofSheet = critiqueSheet(part);
        const std::string name = "sheet " + shortened(sheet.name);
        // Both, as placedIn() has it for parts.
        for (Finding& finding : ofSheet.findings) {
            finding.place = name + ", " + finding.place;
            finding.detail = "In " + name + ": " + finding.detail;
        }
        addPart(whole, std::move(ofSheet));
    }
    return whole;
}

} // namespace

std::optional<OfficeKind> officeKindOf(std::string_view mimeType) {
    const auto* const found = std::ranges::find(kTypes, mimeType, &TypeOfKind::type);
    if (found == kTypes.end()) return std::nullopt;
    return found->kind;
}

std::variant<Critique, Unread> critiqueOffice(const Part& part, OfficeKind kind,
                                              const LanguageTools& tools) {
    auto read = readOffice(part.bytes, kind);
    if (auto* failure = std::get_if<OfficeFailure>(&read)) {
        return Unread{failure->reason, {"text of office files", failure->reason, failure->remedy}};
    }
    const OfficeWork& work = std::get<OfficeWork>(read);
    const bool sheets = kind == OfficeKind::workbook || kind == OfficeKind::openSheet;
    Critique critique = sheets ? ofSheets(work) : ofParagraphs(work, tools);
    if (!work.whole) {
        critique.coverage.missed(
            {"a part of the file", "it is larger than what is read of one", "grade it in parts"});
    }
    return critique;
}

} // namespace trevix
