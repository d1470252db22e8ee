#include "critics/sheet/sheet_critic.h"

#include "critics/findings/finding_list.h"
#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kEmpty = declared<WorkKind::sheet>("sheet.empty");

std::uint64_t filledCells(const Table& table) {
    std::uint64_t filled = 0;
    for (const auto& row : table.rows) {
        filled += static_cast<std::uint64_t>(std::ranges::count_if(
            row, [](const auto& cell) { return !trimmedCell(cell).empty(); }));
    }
    return filled;
}

} // namespace

Critique critiqueSheet(const Part& part) {
    FindingList list;
    Table table = readSheet(part.text, part.mimeType);
    const bool blank = std::ranges::all_of(table.rows, [](const auto& row) {
        return std::ranges::all_of(row, [](const auto& cell) { return trimmedCell(cell).empty(); });
    });
    if (blank) {
        list.addAt(kEmpty, "the whole sheet", "", "The sheet has no cell with anything in it.");
        return {list.take(), {}, {{ownRules("emptiness")}, {}, true}};
    }
    Critique critique;
    critique.extent.cells = filledCells(table);
    critique.coverage.checked(ownRules("cells, columns and totals of tables"));
    critique.coverage.known = true;
    const Sheet sheet = understand(std::move(table));
    judgeStructure(sheet, list);
    judgeCells(sheet, list);
    judgeProfiles(sheet, list);
    judgeTotals(sheet, list);
    critique.findings = list.take();
    return critique;
}

} // namespace trevix
