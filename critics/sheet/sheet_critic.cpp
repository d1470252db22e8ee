#include "critics/sheet/sheet_critic.h"

#include "critics/findings/capped_findings.h"
#include "critics/sheet/sheet_rules.h"

#include <algorithm>
#include <utility>

namespace trevix {
std::vector<Finding> critiqueSheet(const Part& part) {
    CappedFindings list;
    const bool tabSeparated = part.mimeType.find("tab-separated") != std::string::npos;
    Table table = readTable(part.text, tabSeparated && part.text.find('\t') != std::string::npos);
    const bool blank = std::ranges::all_of(table.rows, [](const auto& row) {
        return std::ranges::all_of(row, [](const auto& cell) { return trimmedCell(cell).empty(); });
    });
    if (blank) {
        list.add({Severity::high, "sheet.empty", "nothing to judge", "the whole sheet", "",
                  "The sheet has no cell with anything in it."});
        return list.findings();
    }
    const Sheet sheet = understand(std::move(table));
    judgeStructure(sheet, list);
    judgeCells(sheet, list);
    judgeTotals(sheet, list);
    return list.findings();
}

} // namespace trevix
