// Which file does a program get to see, and which place does it mean?

#include "critics/engines/work_file.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

Part named(std::string name, std::string text) {
    Part part;
    part.name = std::move(name);
    part.text = std::move(text);
    return part;
}

std::string nameOf(const std::optional<WorkFile>& file) {
    return file ? file->name : "none";
}

std::string dialectOf(std::string name, std::string text) {
    const auto file = shellFile(named(std::move(name), std::move(text)));
    return file ? file->dialect : "none";
}

TEST(WorkFile, ShellIsReadInTheDialectOfItsFirstLineOrName) {
    EXPECT_EQ(dialectOf("a.sh", "ls\n"), "bash");
    EXPECT_EQ(dialectOf("a.sh", "#!/bin/sh\nls\n"), "sh");
    EXPECT_EQ(dialectOf("a.sh", "#!/usr/bin/env bash\nls\n"), "bash");
    EXPECT_EQ(dialectOf("a.sh", "#!/usr/bin/env -S FOO=1 dash -e\nls\n"), "dash");
    EXPECT_EQ(dialectOf("a.sh", "\xEF\xBB\xBF#!/bin/ksh\r\nls\r\n"), "ksh");
    EXPECT_EQ(dialectOf("a.sh", "#!/bin/ash\nls\n"), "dash");
    EXPECT_EQ(dialectOf("a.sh", "#!/bin/busybox sh\nls\n"), "bash");
    EXPECT_EQ(dialectOf("a.sh", "#!/usr/bin/env bats\nls\n"), "bats");
    EXPECT_EQ(dialectOf("a.sh", "#!/bin/zsh\nls\n"), "none");
    EXPECT_EQ(dialectOf("a.zsh", "ls\n"), "none");
    EXPECT_EQ(dialectOf("a.sh", "#!"), "bash");
    EXPECT_EQ(dialectOf("a.py", "ls\n"), "none");
}

TEST(WorkFile, NamesAreOursAndTellTheLanguage) {
    EXPECT_EQ(nameOf(cFile(named("../../etc/passwd.c", "int a;\n"))), "work.c");
    EXPECT_EQ(nameOf(cFile(named("a.h", "int a;\n"))), "work.cpp");
    EXPECT_EQ(nameOf(cFile(named("a.mm", "int a;\n"))), "none");
    EXPECT_EQ(nameOf(pythonFile(named("-rf.py", "a = 1\n"))), "work.py");
    EXPECT_EQ(nameOf(pythonFile(named("a.pyi", "a: int\n"))), "work.pyi");
    EXPECT_EQ(nameOf(scriptFile(named("a.TSX", "let a = 1;\n"))), "work.tsx");
    EXPECT_EQ(nameOf(scriptFile(named("a.js", "let a = 1;\n"))), "work.js");
    EXPECT_EQ(nameOf(scriptFile(named("a.go", "package a\n"))), "none");
    EXPECT_EQ(nameOf(wholeXmlFile(named("a.SVG", "<svg/>"))), "work.xml");
    EXPECT_EQ(nameOf(wholeXmlFile(named("a.html", "<p>"))), "none");
}

TEST(WorkFile, WhetherAScriptIsAModuleIsToldByNameOrText) {
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.js", "let a = 1;\n"))), "work.cjs");
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.js", "import a from 'b';\n"))), "work.mjs");
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.js", "// x\r\nexport default 1;\r\n"))),
              "work.mjs");
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.mjs", "let a = 1;\n"))), "work.mjs");
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.jsx", "let a = 1;\n"))), "none");
    EXPECT_EQ(nameOf(wholeJavaScriptFile(named("a.ts", "let a = 1;\n"))), "none");
}

TEST(WorkFile, SelectionsAreNotAskedAboutForSyntaxAlone) {
    const std::string python = "def water(bed):\n    self.pump = None\n    return bed is None\n";
    EXPECT_EQ(nameOf(pythonFile(named("selection.txt", python))), "work.py");
    EXPECT_EQ(nameOf(wholePythonFile(named("selection.txt", python))), "none");
    EXPECT_EQ(nameOf(wholePythonFile(named("a.py", python))), "work.py");
    EXPECT_EQ(nameOf(wholeBashFile(named("tool", "#!/bin/bash\nls\n"))), "work.sh");
    EXPECT_EQ(nameOf(wholeBashFile(named("tool", "#!/bin/dash\nls\n"))), "none");
}

TEST(WorkFile, TemplatesOfYamlAreNoYaml) {
    EXPECT_EQ(nameOf(wholeYamlFile(named("a.yml", "a: 1\n"))), "work.yaml");
    EXPECT_EQ(nameOf(wholeYamlFile(named("a.yml", "a: {{ .Values.a }}\n"))), "none");
    EXPECT_EQ(nameOf(wholeYamlFile(named("a.yml", "{% if a %}\na: 1\n"))), "none");
}

TEST(WorkFile, LinesEndInLfAndThereIsNoMark) {
    EXPECT_EQ(forPrograms("\xEF\xBB\xBF"
                          "a\r\nb\rc\n\r"),
              "a\nb\nc\n\n");
    EXPECT_EQ(forPrograms(""), "");
    // As many lines as the part has, so that a line number means the same in both.
    for (const std::string text : {"a\r\nb\rc\n\r", "\r\r\n\n", "a"}) {
        EXPECT_EQ(SourceText(text).lineCount(), SourceText(forPrograms(text)).lineCount());
    }
}

TEST(WorkFile, PlacesOfTheFileArePlacesOfThePart) {
    const std::string text = "\xEF\xBB\xBF"
                             "ab\r\n  \xC3\xA9x\rlast";
    const SourceText source(text);
    const auto place = [&](std::size_t line, std::size_t column,
                           ColumnUnit unit = ColumnUnit::codePoint) {
        const auto offset = offsetOf(source, line, column, unit);
        return offset ? static_cast<long>(*offset) : -1L;
    };
    EXPECT_EQ(place(1, 1), 3);
    EXPECT_EQ(place(1, 3), 5);
    EXPECT_EQ(place(1, 99), 5);
    EXPECT_EQ(place(2, 4), 11);
    EXPECT_EQ(place(2, 5, ColumnUnit::byte), 11);
    EXPECT_EQ(place(2, 4, ColumnUnit::byte), 9) << "inside a character";
    EXPECT_EQ(place(2, 0), 9) << "the first that is no blank";
    EXPECT_EQ(place(3, 1), 13);
    EXPECT_EQ(place(4, 1), 17) << "behind the last line is the end";
    EXPECT_EQ(place(5, 1), -1);
    EXPECT_EQ(place(0, 1), -1);
    EXPECT_EQ(place(static_cast<std::size_t>(-1), 1), -1);
}

} // namespace
} // namespace trevix
