// The experiments behind the thresholds of critics/sheet.
//
//   sheet_thresholds               all of them
//   sheet_thresholds majorities    one
//
// Tables are made by a seeded generator, so that what is in them is known: sound ones, and ones
// with a fault of known size. Each experiment prints how often a rule speaks, or how a measure is
// spread, over both; two runs print the same. docs/thresholds.md quotes the results.

#include "critics/sheet/sheet_critic.h"
#include "critics/sheet/table_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace trevix;

struct Random {
    std::mt19937 generator{20240229};
    int between(int least, int most) {
        return least + static_cast<int>(generator() % static_cast<unsigned long>(most - least + 1));
    }
    double share() { return static_cast<double>(generator()) / 4294967296.0; }
    /// Sums of money: from some units to some thousands, few large.
    double amount() { return std::exp(1 + 7 * share()); }
};

std::string shown(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

bool says(const std::string& csv, std::string_view rule) {
    Part part;
    part.mimeType = "text/csv";
    part.text = csv;
    return std::ranges::any_of(critiqueSheet(part).findings,
                               [&](const Finding& finding) { return finding.rule == rule; });
}

/// How often, in percent of `rounds`, something is so.
double percent(int rounds, const std::function<bool()>& isSo) {
    int count = 0;
    for (int i = 0; i < rounds; ++i) count += isSo() ? 1 : 0;
    return 100.0 * count / rounds;
}

// ---- totals -------------------------------------------------------------------------------------

/// Amounts with hidden decimals, shown rounded, above their sum, which is rounded too.
struct Column {
    std::vector<double> shownRows;
    double total = 0;

    [[nodiscard]] double shownSum() const {
        double sum = 0;
        for (const double row : shownRows) sum += row;
        return sum;
    }
};

double rounded(double value, int decimals) {
    const double unit = std::pow(10.0, decimals);
    return std::round(value * unit) / unit;
}

Column column(Random& random, int rows, int decimals) {
    Column result;
    double sum = 0;
    for (int i = 0; i < rows; ++i) {
        const double value = random.amount();
        sum += value;
        result.shownRows.push_back(rounded(value, decimals));
    }
    result.total = rounded(sum, decimals);
    return result;
}

void totals() {
    std::printf("  sound totals outside 0.51 + k x root(rows) units, in percent\n");
    std::printf("  %8s", "rows");
    const std::vector<double> factors{0.3, 0.4, 0.5, 0.6, 0.7, 0.87, 1.0};
    for (const double factor : factors) std::printf("   k=%4.2f", factor);
    std::printf("\n");
    for (const int rows : {2, 4, 8, 16, 32, 64, 128, 512}) {
        Random random;
        std::vector<int> outside(factors.size(), 0);
        constexpr int kRounds = 20'000;
        for (int round = 0; round < kRounds; ++round) {
            const Column made = column(random, rows, 1);
            const double units = std::abs(made.total - made.shownSum()) * 10;
            for (std::size_t i = 0; i < factors.size(); ++i)
                outside[i] += units > 0.51 + factors[i] * std::sqrt(rows) ? 1 : 0;
        }
        std::printf("  %8d", rows);
        for (const int count : outside) std::printf(" %7.2f", 100.0 * count / kRounds);
        std::printf("\n");
    }
    std::printf("  tables of 4 to 40 rows with a total, reported, in percent\n");
    const auto table = [](const Column& made, int decimals) {
        std::string csv = "Item,Amount\n";
        for (std::size_t i = 0; i < made.shownRows.size(); ++i)
            csv += "Item " + std::string(1, static_cast<char>('A' + i % 26)) + std::to_string(i) +
                   "," + shown(made.shownRows[i], decimals) + "\n";
        return csv + "Total," + shown(made.total, decimals) + "\n";
    };
    struct Case {
        const char* name;
        std::function<void(Random&, Column&)> spoil;
    };
    const std::vector<Case> cases{
        {"sound", [](Random&, Column&) {}},
        {"a digit of the total changed",
         [](Random& random, Column& made) {
             const int digits = static_cast<int>(std::log10(made.total)) + 1;
             const double unit = std::pow(10.0, random.between(-1, digits - 1));
             made.total += unit * random.between(1, 5) * (random.between(0, 1) == 0 ? 1 : -1);
         }},
        {"two digits of the total swapped",
         [](Random& random, Column& made) {
             std::string text = shown(made.total, 1);
             for (int tries = 0; tries < 50; ++tries) {
                 const auto i =
                     static_cast<std::size_t>(random.between(0, static_cast<int>(text.size()) - 4));
                 if (text[i] == text[i + 1]) continue;
                 std::swap(text[i], text[i + 1]);
                 break;
             }
             made.total = std::stod(text);
         }},
        {"a row left out",
         [](Random& random, Column& made) {
             made.total -= made.shownRows[static_cast<std::size_t>(
                 random.between(0, static_cast<int>(made.shownRows.size()) - 1))];
         }},
        {"a row counted twice",
         [](Random& random, Column& made) {
             made.total += made.shownRows[static_cast<std::size_t>(
                 random.between(0, static_cast<int>(made.shownRows.size()) - 1))];
         }},
    };
    for (const Case& c : cases) {
        Random random;
        const double share = percent(1000, [&] {
            Column made = column(random, random.between(4, 40), 1);
            c.spoil(random, made);
            return says(table(made, 1), "sheet.wrong_total");
        });
        std::printf("  %-44s %6.1f\n", c.name, share);
    }
}

// ---- strays and styles --------------------------------------------------------------------------

/// A table of `rows` rows in which each row is written in the second way with that probability.
using Maker = std::function<std::string(Random&, int row, bool second)>;

struct Style {
    const char* rule;
    const char* header;
    Maker row;
};

std::string three(int i) {
    return "Name" + std::to_string(i) + ",town " + std::to_string(i * 7 % 13) + ",";
}

void majorities() {
    const std::vector<Style> styles{
        {"sheet.mixed_types", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return three(i) + (second ? "about" : shown(random.amount(), 2)) + "\n";
         }},
        {"sheet.mixed_decimals", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             std::string figure = shown(random.amount(), 2);
             if (second) std::ranges::replace(figure, '.', ',');
             return three(i) + "\"" + figure + "\"\n";
         }},
        {"sheet.mixed_currencies", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return three(i) + (second ? "$" : "EUR ") + shown(random.amount(), 2) + "\n";
         }},
        {"sheet.mixed_dates", "Name,Town,Due\n",
         [](Random& random, int i, bool second) {
             const std::string day = std::to_string(random.between(13, 28));
             return three(i) + (second ? day + ".04.2024" : "2024-04-" + day) + "\n";
         }},
        {"sheet.ragged_row", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return three(i) + shown(random.amount(), 2) + (second ? ",more" : "") + "\n";
         }},
        {"sheet.negative_count", "Name,Town,Quantity\n",
         [](Random& random, int i, bool second) {
             return three(i) + (second ? "-" : "") + std::to_string(random.between(1, 90)) + "\n";
         }},
        {"sheet.duplicate_row", "Name,Town,Amount\n",
         [](Random&, int i, bool second) {
             return (second ? three(0) : three(i)) + std::to_string(second ? 0 : i) + "\n";
         }},
        {"sheet.duplicate_id", "Id,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return std::to_string(second ? 1000 : 1000 + 37 * i % 997) + ",town," +
                    shown(random.amount(), 2) + "\n";
         }},
        {"sheet.empty_row", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return three(i) + shown(random.amount(), 2) + "\n" + (second ? ",,\n" : "");
         }},
        {"sheet.stray_blanks", "Name,Town,Amount\n",
         [](Random& random, int i, bool second) {
             return "Name" + std::to_string(i) + (second ? " " : "") + ",town," +
                    shown(random.amount(), 2) + "\n";
         }},
        {"sheet.sequence_gap", "No,Town,Amount\n", nullptr},
    };
    const std::vector<int> shares{1, 2, 5, 10, 15, 20, 25, 30, 35, 40, 50};
    std::printf("  tables reported, in percent, when each row is written in a second way with the "
                "probability (percent)\n");
    for (const int rows : {8, 20, 60}) {
        std::printf("  %-28s", (std::to_string(rows) + " rows").c_str());
        for (const int share : shares) std::printf(" %5d", share);
        std::printf("\n");
        for (const Style& style : styles) {
            std::printf("    %-26s", style.rule);
            for (const int share : shares) {
                Random random;
                std::printf(" %5.0f", percent(200, [&] {
                                std::string csv = style.header;
                                int number = 0;
                                for (int i = 0; i < rows; ++i) {
                                    const bool second = random.between(0, 99) < share;
                                    if (style.row) {
                                        csv += style.row(random, i, second);
                                    } else {
                                        number += second ? random.between(2, 9) : 1;
                                        csv += std::to_string(number) + ",town," +
                                               shown(random.amount(), 2) + "\n";
                                    }
                                }
                                return says(csv, style.rule);
                            }));
            }
            std::printf("\n");
        }
    }
}

/// A total across the row that fits in all rows but some, and columns where it fits by chance.
void rowTotals() {
    for (const int share : {0, 2, 5, 10, 20, 25, 30, 50}) {
        Random random;
        const double reported = percent(500, [&] {
            std::string csv = "Name,Parts,Work,Total\n";
            for (int i = 0; i < 20; ++i) {
                const int parts = random.between(5, 500);
                const int work = random.between(5, 500);
                const int slip = random.between(0, 99) < share ? random.between(1, 90) : 0;
                csv += "Name" + std::to_string(i) + "," + std::to_string(parts) + "," +
                       std::to_string(work) + "," + std::to_string(parts + work + slip) + "\n";
            }
            return says(csv, "sheet.wrong_row_total");
        });
        std::printf("  %-44s %6.1f\n",
                    ("rows with a slip: " + std::to_string(share) + " %; reported").c_str(),
                    reported);
    }
    for (const int most : {1, 3, 10, 100}) {
        Random random;
        const double reported = percent(2000, [&] {
            std::string csv = "Name,Wins,Draws,Value\n";
            for (int i = 0; i < 8; ++i)
                csv += "Name" + std::to_string(i) + "," + std::to_string(random.between(0, most)) +
                       "," + std::to_string(random.between(0, most)) + "," +
                       std::to_string(random.between(0, most)) + "\n";
            return says(csv, "sheet.wrong_row_total");
        });
        std::printf("  %-44s %6.1f\n",
                    ("unrelated figures up to " + std::to_string(most) + "; reported").c_str(),
                    reported);
    }
}

// ---- delimiters ---------------------------------------------------------------------------------

void delimiters() {
    for (const char delimiter : {',', ';', '\t', '|'}) {
        for (const int prose : {0, 20, 60, 100}) {
            Random random;
            const double right = percent(500, [&] {
                std::string text =
                    std::string("Name") + delimiter + "Note" + delimiter + "Amount\n";
                const int rows = random.between(3, 30);
                for (int i = 0; i < rows; ++i) {
                    const bool spoken = random.between(0, 99) < prose;
                    std::string note = spoken ? "red, green; well" : "plain";
                    if (random.between(0, 3) == 0 && spoken) note = "one, two, three";
                    if (note.find(delimiter) != std::string::npos) note = "\"" + note + "\"";
                    text += "Name" + std::to_string(i) + delimiter + note + delimiter +
                            std::to_string(random.between(1, 99)) + "\n";
                }
                return readTable(text, false).delimiter == delimiter;
            });
            std::printf("  %-3s notes with marks in %3d %% of the rows: found in %5.1f %%\n",
                        delimiter == '\t' ? "tab" : std::string(1, delimiter).c_str(), prose,
                        right);
        }
    }
}

// ---- profiles of columns ------------------------------------------------------------------------

std::string wordOf(Random& random, int letters) {
    constexpr std::string_view kConsonants = "bcdfghklmnprstvw";
    constexpr std::string_view kVowels = "aeiou";
    std::string word;
    for (int i = 0; i < letters; ++i) {
        const std::string_view from = i % 2 == 0 ? kConsonants : kVowels;
        word +=
            from[static_cast<std::size_t>(random.between(0, static_cast<int>(from.size()) - 1))];
    }
    word[0] = static_cast<char>(word[0] - 'a' + 'A');
    return word;
}

/// Columns of which a share is written in a second way.
void profiles() {
    const std::vector<Style> styles{
        {"sheet.value_pattern", "Name,Town,Code\n",
         [](Random& random, int i, bool second) {
             const std::string code = std::to_string(random.between(1000, 9999));
             return three(i) + (second ? "KX " : "KX-") + code + "\n";
         }},
        {"sheet.mixed_case", "Name,Town,Maker\n",
         [](Random& random, int i, bool second) {
             std::string maker = wordOf(random, 7);
             if (second) maker[0] = static_cast<char>(maker[0] - 'A' + 'a');
             return three(i) + maker + "\n";
         }},
        {"sheet.mixed_times", "Name,Town,Opens\n",
         [](Random& random, int i, bool second) {
             const std::string time = std::to_string(random.between(7, 11)) + ":30";
             return three(i) + time + (second ? "" : " a.m.") + "\n";
         }},
        {"sheet.mixed_percent", "Name,Town,Fee\n",
         [](Random& random, int i, bool second) {
             return three(i) + shown(1 + 9 * random.share(), 1) + (second ? "%" : "") + "\n";
         }},
        {"sheet.unit_spelling", "Name,Town,Weight\n",
         [](Random& random, int i, bool second) {
             return three(i) + std::to_string(random.between(2, 90)) +
                    (second ? " ounces" : " oz") + "\n";
         }},
    };
    const std::vector<int> shares{0, 1, 2, 5, 10, 20, 30, 50};
    std::printf("  tables reported, in percent, when each row is written in a second way with the "
                "probability (percent)\n");
    for (const int rows : {20, 60, 200}) {
        std::printf("  %-28s", (std::to_string(rows) + " rows").c_str());
        for (const int share : shares) std::printf(" %5d", share);
        std::printf("\n");
        for (const Style& style : styles) {
            std::printf("    %-26s", style.rule);
            for (const int share : shares) {
                Random random;
                std::printf(" %5.0f", percent(200, [&] {
                                std::string csv = style.header;
                                for (int i = 0; i < rows; ++i)
                                    csv += style.row(random, i, random.between(0, 99) < share);
                                return says(csv, style.rule);
                            }));
            }
            std::printf("\n");
        }
    }
}

std::string withSlip(Random& random, std::string word) {
    const auto at = static_cast<std::size_t>(random.between(1, static_cast<int>(word.size()) - 1));
    const char letter = static_cast<char>('a' + random.between(0, 25));
    switch (random.between(0, 2)) {
    case 0:
        word[at] = word[at] == letter ? (letter == 'z' ? 'a' : 'z') : letter;
        break;
    case 1:
        word.erase(at, 1);
        break;
    default:
        word.insert(at, 1, letter);
    }
    return word;
}

/// Categories of two syllables and more, some of which come once; sound, and with one slip.
void nearDuplicates() {
    std::printf("  tables of 100 rows and ten categories reported, in percent; some names come "
                "once\n");
    std::printf("  %8s %8s %8s %8s\n", "letters", "once", "sound", "a slip");
    for (const int letters : {4, 5, 6, 8, 10, 14}) {
        for (const int once : {0, 5, 40}) {
            const auto table = [&](Random& random, bool slip) {
                std::vector<std::string> names;
                for (int i = 0; i < 10; ++i) names.push_back(wordOf(random, letters));
                std::string csv = "No,Maker,Amount\n";
                for (int i = 0; i < 100; ++i) {
                    std::string name = i < once
                                           ? wordOf(random, letters)
                                           : names[static_cast<std::size_t>(random.between(0, 9))];
                    if (slip && i == 99) name = withSlip(random, name);
                    csv += std::to_string(i) + "," + name + "," + shown(random.amount(), 2) + "\n";
                }
                return csv;
            };
            Random sound;
            Random slipped;
            std::printf(
                "  %8d %8d %8.1f %8.1f\n", letters, once,
                percent(300, [&] { return says(table(sound, false), "sheet.near_duplicate"); }),
                percent(300, [&] { return says(table(slipped, true), "sheet.near_duplicate"); }));
        }
    }
}

/// A town by its post code: unrelated, sound, with towns that have exceptions, with slips.
void dependencies() {
    struct Case {
        const char* name;
        bool related;
        int exceptions; ///< Percent of the rows with another valid value.
        int slips;      ///< Percent of the rows with a slip.
    };
    const std::vector<Case> cases{{"unrelated", false, 0, 0},       {"sound", true, 0, 0},
                                  {"1 % exceptions", true, 1, 0},   {"5 % exceptions", true, 5, 0},
                                  {"20 % exceptions", true, 20, 0}, {"1 % slips", true, 0, 1},
                                  {"5 % slips", true, 0, 5},        {"20 % slips", true, 0, 20}};
    std::printf("  tables of 120 rows reported, in percent\n");
    std::printf("  %-24s %8s %8s %8s\n", "", "4 groups", "12", "30");
    for (const Case& c : cases) {
        std::printf("  %-24s", c.name);
        for (const int groups : {4, 12, 30}) {
            Random random;
            std::printf(" %8.1f", percent(300, [&] {
                            std::vector<std::string> towns;
                            for (int i = 0; i < groups; ++i) towns.push_back(wordOf(random, 9));
                            std::string csv = "Code,Town,Amount\n";
                            for (int i = 0; i < 120; ++i) {
                                const int group = random.between(0, groups - 1);
                                const bool other =
                                    !c.related || random.between(0, 99) < c.exceptions;
                                std::string town = towns[static_cast<std::size_t>(
                                    other ? random.between(0, groups - 1) : group)];
                                if (random.between(0, 99) < c.slips) town = withSlip(random, town);
                                csv += "K" + std::to_string(100 + group) + "," + town + "," +
                                       shown(random.amount(), 2) + "\n";
                            }
                            return says(csv, "sheet.dependency") ||
                                   (c.slips > 0 && says(csv, "sheet.near_duplicate"));
                        }));
        }
        std::printf("\n");
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::pair<std::string_view, void (*)()>> experiments{
        {"totals", totals},
        {"majorities", majorities},
        {"row-totals", rowTotals},
        {"delimiters", delimiters},
        {"profiles", profiles},
        {"near-duplicates", nearDuplicates},
        {"dependencies", dependencies}};
    bool known = argc < 2;
    for (const auto& [name, run] : experiments) {
        if (argc > 1 && name != argv[1]) continue;
        known = true;
        std::printf("%s\n", std::string(name).c_str());
        run();
    }
    if (!known) std::fprintf(stderr, "no experiment %s\n", argv[1]);
    return known ? 0 : 2;
}
