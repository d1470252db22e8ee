#include "critics/sheet/sheet_critic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace trevix {
namespace {

std::vector<Finding> judge(const std::string& text) {
    Part part;
    part.mimeType = "text/csv";
    part.name = "sheet";
    part.text = text;
    return critiqueSheet(part).findings;
}

/// "rule@place" of every finding, in order.
std::vector<std::string> found(const std::string& text) {
    std::vector<std::string> names;
    for (const Finding& finding : judge(text)) names.push_back(finding.rule + "@" + finding.place);
    return names;
}

using Names = std::vector<std::string>;

/// A table of `rows` rows under `header`; row `i` stands in line `i` + 2.
std::string table(const std::string& header, std::size_t rows,
                  const std::function<std::string(std::size_t)>& row) {
    std::string text = header + "\n";
    for (std::size_t i = 0; i < rows; ++i) text += row(i) + "\n";
    return text;
}

/// One column in which row 7 (cell 9) is `odd` and the others come from `usual`.
std::string column(const std::string& header, std::size_t rows, const std::string& odd,
                   const std::function<std::string(std::size_t)>& usual) {
    return table("Depot,Lot," + header, rows, [&](std::size_t i) {
        return "Depot " + std::to_string(i) + "," + std::to_string(i * 31 % 97 + 3) + "," +
               (i == 7 ? odd : usual(i));
    });
}

std::string digits(std::size_t i, std::size_t count) {
    std::string text;
    for (std::size_t k = 0; k < count; ++k) text += static_cast<char>('1' + (i * 7 + k * 3) % 9);
    return text;
}

TEST(SheetProfile, FormsOfCodes) {
    const auto part = [](std::size_t i) { return "KX-" + digits(i, 4); };
    EXPECT_EQ(found(column("Part", 40, "KX 1234", part)), Names{"sheet.value_pattern@cell C9"});
    EXPECT_EQ(found(column("Part", 40, "K4-1234", part)), Names{"sheet.value_pattern@cell C9"});
    EXPECT_EQ(judge(column("Part", 40, "KX 1234", part))[0].severity, Severity::medium);
    // The next number of a series has a digit more.
    EXPECT_EQ(judge(column("Part", 40, "KX-12345", part))[0].severity, Severity::low);
    // Another kind of thing altogether may be meant.
    EXPECT_EQ(found(column("Part", 40, "Made to order", part)), Names{});
    EXPECT_EQ(found(column("Part", 40, "KX-9876", part)), Names{});
    EXPECT_EQ(found(column("Part", 12, "KX 1234", part)), Names{}) << "too few to tell";
    EXPECT_EQ(found(table("Depot,Part", 40,
                          [&](std::size_t i) {
                              return "Depot " + std::to_string(i) + "," +
                                     (i % 8 == 0 ? "KX " : "KX-") + digits(i, 4);
                          })),
              Names{})
        << "two styles";
    // Quantities have any number of digits; post codes do not.
    const auto five = [](std::size_t i) { return digits(i, 5); };
    EXPECT_EQ(found(column("Weight", 40, "1234", five)), Names{});
    EXPECT_EQ(found(column("Zip", 40, "1234", five)), Names{"sheet.value_pattern@cell C9"});
    // Codes of capitals, against words in capitals of which there are few.
    const std::vector<std::string> states{"QA", "QB", "QC", "QD", "QE"};
    const auto state = [&](std::size_t i) { return states[i % states.size()]; };
    EXPECT_EQ(found(column("State", 40, "Q4", state)), Names{"sheet.value_pattern@cell C9"});
    EXPECT_EQ(found(column("Open", 40, "NO", [](std::size_t) { return "YES"; })), Names{});
}

TEST(SheetProfile, RareValuesBesideFrequentOnes) {
    const std::vector<std::string> makers{"Hammerfeld", "Brightwater", "Kolmanskop"};
    const auto maker = [&](std::size_t i) { return makers[i % makers.size()]; };
    for (const std::string slip : {"Hamerfeld", "Hammerfleld", "Hammxrfeld", "Hammefreld"}) {
        EXPECT_EQ(found(column("Maker", 40, slip, maker)), Names{"sheet.near_duplicate@cell C9"})
            << slip;
        EXPECT_EQ(judge(column("Maker", 40, slip, maker))[0].severity, Severity::medium);
    }
    EXPECT_EQ(found(column("Maker", 40, "Hammrfled", maker)), Names{}) << "two slips";
    EXPECT_EQ(found(column("Maker", 40, "Steinbach", maker)), Names{}) << "another name";
    EXPECT_EQ(found(column("Maker", 15, "Hamerfeld", maker)), Names{}) << "too few rows";
    // One and many may both be meant.
    EXPECT_EQ(judge(column("Maker", 40, "Hammerfelds", maker))[0].severity, Severity::low);
    // Numbers tell things apart.
    EXPECT_EQ(found(column("Stage", 40, "Checkpoint 4",
                           [](std::size_t i) { return "Checkpoint " + std::to_string(i % 3); })),
              Names{});
    // Short words, where most values come once anyway.
    EXPECT_EQ(found(table("Guest,Room", 60,
                          [](std::size_t i) {
                              if (i % 6 == 0) return std::string("Marin,") + std::to_string(i);
                              if (i == 7) return std::string("Maren,7");
                              return "G" + std::string(1, static_cast<char>('a' + i % 26)) +
                                     std::string(1, static_cast<char>('a' + i / 3 % 26)) + "lo," +
                                     std::to_string(i);
                          })),
              Names{});
    // The same slip twice may be a name.
    EXPECT_EQ(judge(table("Depot,Maker", 40,
                          [&](std::size_t i) {
                              return "Depot " + std::to_string(i) + "," +
                                     (i == 7 || i == 20 ? "Hamerfeld" : maker(i));
                          }))[0]
                  .severity,
              Severity::low);
}

TEST(SheetProfile, ColumnsThatDetermineOthers) {
    const std::vector<std::string> towns{"Ober Kastel am Berge", "Nieder Wohl an der Au",
                                         "Mittel Aue bei Stein", "Hinter Ems im Unterland"};
    const auto row = [&](std::size_t i, const std::string& town) {
        return "T" + std::to_string(i % 4) + "," + town + "," + std::to_string(i * 37 % 101);
    };
    const auto usual = [&](std::size_t i) { return row(i, towns[i % 4]); };
    EXPECT_EQ(found(table("Code,Town,Sold", 40, usual)), Names{});
    const std::vector<Finding> slip = judge(table("Code,Town,Sold", 40, [&](std::size_t i) {
        return i == 7 ? row(i, "Hint Ems im Land") : usual(i);
    }));
    EXPECT_TRUE(slip.empty()) << "too far from the usual name";
    const std::vector<Finding> letter = judge(table("Code,Town,Sold", 40, [&](std::size_t i) {
        return i == 7 ? row(i, "Hintxr Ems im Unterlxnd") : usual(i);
    }));
    ASSERT_EQ(letter.size(), 1U);
    EXPECT_EQ(letter[0].rule, "sheet.dependency");
    EXPECT_EQ(letter[0].place, "cell B9");
    EXPECT_EQ(letter[0].severity, Severity::medium);
    // Another valid value, where many groups keep to theirs.
    const auto many = [&](std::size_t i, std::size_t other) {
        return "C" + std::to_string(i % 20) + ",Chief " +
               std::string(1, static_cast<char>('A' + other % 20)) + "," +
               std::to_string(i * 37 % 101);
    };
    const std::vector<Finding> contradiction = judge(
        table("Team,Lead,Sold", 120, [&](std::size_t i) { return many(i, i == 47 ? i + 3 : i); }));
    ASSERT_EQ(contradiction.size(), 1U);
    EXPECT_EQ(contradiction[0].rule + "@" + contradiction[0].place, "sheet.dependency@cell B49");
    EXPECT_EQ(contradiction[0].severity, Severity::low);
    // Exceptions in every tenth row are how things are.
    EXPECT_EQ(found(table("Team,Lead,Sold", 120,
                          [&](std::size_t i) { return many(i, i % 10 == 3 ? i + 3 : i); })),
              Names{});
}

TEST(SheetProfile, TimesOfDay) {
    const auto time = [](std::size_t i) { return std::to_string(i % 9 + 1) + ":30 a.m."; };
    EXPECT_EQ(found(column("Leaves", 30, "7:30", time)), Names{"sheet.mixed_times@cell C9"});
    EXPECT_EQ(found(column("Leaves", 30, "Mar 3 7:30 a.m.", time)),
              Names{"sheet.mixed_times@cell C9"});
    EXPECT_EQ(found(column("Leaves", 30, "7:30 p.m.", time)), Names{});
    EXPECT_EQ(
        found(table(
            "Tour,Leaves", 30,
            [&](std::size_t i) {
                const std::string clock = std::to_string(i % 9 + 1) + ":30";
                const std::vector<std::string> forms{clock, clock + " a.m.", "Mar 3 " + clock};
                return "Tour " + std::to_string(i) + "," + forms[i % 3];
            })),
        Names{"sheet.mixed_times@column Leaves"});
    EXPECT_EQ(found(table("Track,Length", 30,
                          [](std::size_t i) {
                              return "Track " + std::to_string(i) + "," +
                                     (i % 3 == 0 ? "1:02:03" : "4:05");
                          })),
              Names{})
        << "durations";
}

TEST(SheetProfile, PercentSignsAndUnits) {
    const auto fee = [](std::size_t i) { return std::to_string(i % 7 + 2) + ".5"; };
    EXPECT_EQ(found(column("Fee", 30, "4.5%", fee)), Names{"sheet.mixed_percent@cell C9"});
    EXPECT_EQ(found(column("Fee", 30, "4.5", [&](std::size_t i) { return fee(i) + "%"; })),
              Names{"sheet.mixed_percent@cell C9"});
    EXPECT_EQ(found(column("Fee", 30, "0", [&](std::size_t i) { return fee(i) + "%"; })), Names{});
    // Several measures in one column have figures of several sizes.
    EXPECT_EQ(found(column("Value", 30, "4.5%",
                           [](std::size_t i) { return std::to_string(i * 131 + 900); })),
              Names{});

    const auto weight = [](std::size_t i) { return std::to_string(i % 7 + 2) + " minutes"; };
    EXPECT_EQ(found(column("Span", 30, "4 mins", weight)), Names{"sheet.unit_spelling@cell C9"});
    EXPECT_EQ(judge(column("Span", 30, "4 mins", weight))[0].severity, Severity::low);
    EXPECT_EQ(found(column("Span", 30, "1 minute",
                           [](std::size_t i) { return std::to_string(i % 7 + 2) + " minutes"; })),
              Names{});
    const std::vector<Finding> mix = judge(table("Jar,Weight", 30, [&](std::size_t i) {
        const std::vector<std::string> units{" oz", " ounce", " OZ."};
        return "Jar " + std::to_string(i) + "," + std::to_string(i % 7 + 2) + units[i % 3];
    }));
    ASSERT_EQ(mix.size(), 1U);
    EXPECT_EQ(mix[0].rule + "@" + mix[0].place, "sheet.unit_spelling@column Weight");
    EXPECT_EQ(mix[0].severity, Severity::medium);
    // A shopping list has many units.
    EXPECT_EQ(found(table("Item,Amount", 30,
                          [&](std::size_t i) {
                              const std::vector<std::string> units{" kg", " bunches", " liter"};
                              return "Item " + std::to_string(i) + "," + std::to_string(i % 7 + 2) +
                                     units[i % 3];
                          })),
              Names{});
}

TEST(SheetProfile, MarksForWhatIsMissingAndCapitals) {
    const auto depot = [](std::size_t i, const std::string& value) {
        return "Depot " + std::to_string(i) + "," + value;
    };
    const auto sold = [&](const char* first, const char* second) {
        return found(table("Depot,Sold", 30, [&](std::size_t i) {
            return depot(i, i == 3 ? first : i == 9 ? second : std::to_string(i * 37 % 101));
        }));
    };
    EXPECT_EQ(sold("N/A", "-"), Names{"sheet.missing_marks@column Sold"});
    EXPECT_EQ(sold("N/A", "N/A"), Names{});
    EXPECT_EQ(sold("N/A", ""), Names{});

    const auto name = [](std::size_t i) {
        return std::string(1, static_cast<char>('A' + i % 26)) + "lma B" +
               std::string(1, static_cast<char>('a' + i * 7 % 26)) + "rg";
    };
    EXPECT_EQ(found(column("Owner", 40, "zoe field", name)), Names{"sheet.mixed_case@cell C9"});
    EXPECT_EQ(found(column("Owner", 40, "eBay", name)), Names{});
}

/// Tables of another kind with seeded faults: what is reported as more than style is truly wrong,
/// and most of what is wrong is reported.
TEST(SheetProfile, SeededFaultsAreFoundAndNothingElse) {
    std::mt19937 generator{77};
    const auto between = [&](std::size_t least, std::size_t most) {
        return least + generator() % (most - least + 1);
    };
    const std::vector<std::string> kinds{"Ceramic kiln", "Glazing wheel", "Extruder", "Slab roller",
                                         "Pugmill"};
    const std::vector<std::string> halls{"Northern hall", "Riverside hall", "Orchard hall",
                                         "Quarry hall"};
    std::size_t wrong = 0;
    std::size_t reported = 0;
    std::size_t right = 0;
    for (int round = 0; round < 40; ++round) {
        std::set<std::string> faults;
        const std::string text = table("Asset,Kind,Hall,Code,Opened", 100, [&](std::size_t i) {
            const std::size_t hall = between(0, halls.size() - 1);
            std::vector<std::string> row{"A" + std::to_string(1000 + i * 7),
                                         kinds[between(0, kinds.size() - 1)], halls[hall],
                                         "H" + std::to_string(hall) + "-" + digits(i, 3),
                                         std::to_string(between(7, 11)) + ":15 a.m."};
            if (between(0, 99) < 4) {
                const std::size_t at = between(1, 4);
                std::string& cell = row[at];
                const std::size_t letter = at == 3 ? 2 : between(1, cell.size() - 2);
                if (at == 4)
                    cell = cell.substr(0, cell.size() - 5);
                else
                    cell[letter] = cell[letter] == 'q' ? 'z' : 'q';
                faults.insert("cell " + std::string(1, static_cast<char>('A' + at)) +
                              std::to_string(i + 2));
            }
            std::string line;
            for (const std::string& cell : row) line += (line.empty() ? "" : ",") + cell;
            return line;
        });
        wrong += faults.size();
        for (const Finding& finding : judge(text)) {
            if (finding.severity == Severity::low) continue;
            ++reported;
            right += faults.count(finding.place);
        }
    }
    EXPECT_EQ(right, reported);
    EXPECT_GE(right * 10, wrong * 9) << right << " of " << wrong;
}

} // namespace
} // namespace trevix
