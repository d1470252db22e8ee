// The content of office files: Office Open XML and OpenDocument, through two libraries where the
// build has them.
//
// Such a file is a ZIP archive of XML. Nothing is written anywhere: entries are read into memory by
// their known names, whatever other names the archive holds. Macros, embedded objects and entities
// of the document's own are ignored. Every size is bounded before it is used. Pure; any thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

/// Bounds, chosen: what a person writes is far below them. XML that is read takes up to twenty
/// times its size in memory, one entry at a time.
constexpr std::uint64_t kMostOfficeEntries = 20'000;
constexpr std::uint64_t kMostOfficeXml = std::uint64_t{16} << 20U;      ///< Bytes of one entry,
constexpr std::uint64_t kMostOfficeTogether = std::uint64_t{64} << 20U; ///< and of all of them.
/// Times that an entry of more than a megabyte is larger than its packed form. Written XML reaches
/// 30, sheets of equal cells 100.
constexpr std::uint64_t kMostOfficeRatio = 400;
constexpr std::size_t kMostOfficeText = std::size_t{8} << 20U; ///< Bytes of text.
constexpr std::size_t kMostSheetRows = 100'000;
constexpr std::size_t kMostSheetColumns = 1'000;
constexpr std::size_t kMostSheetCells =
    1'000'000; ///< Of all sheets, those between filled ones too.

enum class OfficeKind { wordDocument, presentation, workbook, openText, openSlides, openSheet };

struct OfficeParagraph {
    enum class Role { text, heading, listItem, cell };
    std::string place; ///< "paragraph 12", "slide 3".
    std::string text;  ///< UTF-8.
    Role role = Role::text;

    bool operator==(const OfficeParagraph&) const = default;
};

struct OfficeSheet {
    std::string name;
    std::vector<std::vector<std::string>> rows; ///< From A1 on; shorter rows end early.

    bool operator==(const OfficeSheet&) const = default;
};

struct OfficeWork {
    std::vector<OfficeParagraph> paragraphs; ///< Of documents and slides.
    std::vector<OfficeSheet> sheets;         ///< Of workbooks.
    bool whole = true;                       ///< No limit cut anything off.

    bool operator==(const OfficeWork&) const = default;
};

/// Why a file was not read: a clause for people, and what would change that.
struct OfficeFailure {
    std::string reason;
    std::string remedy; ///< Empty when the fault is the file's.

    bool operator==(const OfficeFailure&) const = default;
};

[[nodiscard]] std::variant<OfficeWork, OfficeFailure> readOffice(std::string_view bytes,
                                                                 OfficeKind kind);

} // namespace trevix
