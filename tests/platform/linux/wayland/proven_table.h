// What the tests of the compositors have proven, as the table in docs/platforms.md has it.

#pragma once

#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace kelvane {

/// A row: what the tests of that name prove. Of a whole suite, with an empty name, what all of its
/// tests prove together.
struct ProvenRow {
    std::string_view suite; ///< Like "Compositors/OnCompositor".
    std::string_view test;  ///< Without its parameter.
    std::string_view says;
};

inline constexpr std::array kProvenRows{
    ProvenRow{"Wayland/DesktopContract", "", "windows, their owners, order, sizes and pictures"},
    ProvenRow{"Wayland/KeyboardContract", "", "keys to the window in front, and to no other"},
    ProvenRow{"Wayland/PasteboardContract", "", "the clipboard"},
    ProvenRow{"Compositors/ProgramOnCompositor", "ofGtk3IsCaptured",
              "GTK 3 (Mousepad): who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "ofGtk4IsCaptured",
              "GTK 4 (Text Editor): who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "ofQt5IsCaptured",
              "Qt 5 (Kate): who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "ofQt6IsCaptured",
              "Qt 6: who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "firefoxIsCaptured",
              "Firefox: who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "chromiumIsCaptured",
              "Chromium: who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "calcIsCaptured",
              "LibreOffice Calc: who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/ProgramOnCompositor", "writerIsCaptured",
              "LibreOffice Writer: who it is, selection, picture, clipboard as it was"},
    ProvenRow{"Compositors/X11ProgramOnCompositor", "", "the same of X11 programs: all of these"},
    ProvenRow{"Compositors/OnCompositor", "withoutASelectionTheClipboardIsNotTouched",
              "nothing selected: the clipboard is not touched"},
    ProvenRow{"Compositors/OnCompositor", "aPasswordIsNoText", "a marked password is no text"},
    ProvenRow{"Compositors/TerminalOnCompositor", "", "no key to a terminal (GTK 3 and Qt 5)"},
    ProvenRow{"Compositors/OnCompositor", "windowsAreBroughtForward",
              "windows are brought forward"},
    ProvenRow{"Compositors/OnCompositor", "aPictureShowsTheWindowAndNothingElse",
              "a covered window's picture, and nothing else in it"},
    ProvenRow{"Compositors/OnCompositor", "aCompositorThatStandsStillHoldsUpNobody",
              "a compositor that stands still holds nobody up"},
};
inline constexpr std::array<std::string_view, 2> kProvenColumns{"sway", "kwin"};

enum class Proof { None, Passed, NotPassed };

/// What the tests of a row say for one compositor: none where there is no such test.
inline Proof proofOf(const ProvenRow& row, std::string_view compositor) {
    auto proof = Proof::None;
    const auto& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const auto& suite = *all.GetTestSuite(i);
        if (suite.name() != row.suite) continue;
        for (int k = 0; k < suite.total_test_count(); ++k) {
            const auto& test = *suite.GetTestInfo(k);
            const std::string_view name = test.name();
            const auto cut = name.find('/');
            if (cut == name.npos || name.substr(cut + 1) != compositor) continue;
            if (!row.test.empty() && name.substr(0, cut) != row.test) continue;
            const bool passed = test.should_run() && test.result()->Passed();
            if (!passed) return Proof::NotPassed;
            proof = Proof::Passed;
        }
    }
    return proof;
}

/// Holds the table in the documents against what has passed. Nothing where a test was left out,
/// skipped or failed: then there is no whole table.
inline void compareProvenTable() {
    std::string table = "| |";
    std::string line = "|---|";
    for (const auto column : kProvenColumns) {
        table += ' ' + std::string(column) + " |";
        line += "---|";
    }
    table += '\n' + line + '\n';
    for (const auto& row : kProvenRows) {
        table += "| " + std::string(row.says) + " |";
        for (const auto column : kProvenColumns) {
            const auto proof = proofOf(row, column);
            if (proof == Proof::NotPassed) return;
            table += proof == Proof::Passed ? " yes |" : " not tried |";
        }
        table += '\n';
    }
    std::ifstream file(inSourceTree("docs/platforms.md"));
    const std::string document(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(document.find("<!-- proven -->\n" + table + "<!-- /proven -->\n"), std::string::npos)
        << "docs/platforms.md says something else than this between its marks:\n"
        << table;
}

} // namespace kelvane
