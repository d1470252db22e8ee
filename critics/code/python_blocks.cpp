#include "critics/code/python_blocks.h"

#include "text/letters.h"

#include <algorithm>

namespace trevix {

namespace text = kelvane::text;

namespace {

std::size_t lineStart(std::string_view text, std::size_t offset) {
    return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1; // 0 for none.
}

/// As the programs that run tests look for files.
bool namesTest(std::string_view name) {
    const std::string_view base = name.substr(name.rfind('/') + 1); // 0 for none.
    return base.ends_with(".py") && (base.starts_with("test_") || base.ends_with("_test.py") ||
                                     base == "conftest.py" || base == "tests.py");
}

bool opensTest(std::string_view line) {
    return line.starts_with("def test") || line.starts_with("class Test") ||
           (line.starts_with("class ") && line.find("TestCase)") != std::string_view::npos);
}

} // namespace

std::vector<PythonOpener> pythonOpenersAround(std::string_view text, std::size_t place) {
    std::size_t line = lineStart(text, std::min(place, text.size()));
    const std::size_t first = line - std::min(line, kMostAroundPython);
    std::vector<PythonOpener> openers;
    while (true) {
        const std::string_view rest = text.substr(line);
        const std::string_view whole = rest.substr(0, rest.find('\n'));
        std::string_view words = text::trimmed(whole);
        if (words.starts_with("async ")) words.remove_prefix(6);
        const std::size_t margin = std::min(whole.find_first_not_of(" \t"), whole.size());
        // A bracket that closes ends what a line above has begun: "def f(", "a", "):".
        const bool ends =
            words.starts_with(')') || words.starts_with(']') || words.starts_with('}');
        if (!words.empty() && !words.starts_with('#') && (!ends || openers.empty()) &&
            (openers.empty() || margin < openers.back().margin)) {
            openers.push_back({words, line, margin});
        }
        if (line <= first || (!openers.empty() && openers.back().margin == 0)) return openers;
        line = lineStart(text, line - 1);
    }
}

bool isInPythonTest(std::string_view text, std::size_t place, std::string_view name) {
    if (namesTest(name)) return true;
    const std::vector<PythonOpener> around = pythonOpenersAround(text, place);
    const auto isIn = [&](const auto& opens) {
        return std::ranges::any_of(around,
                                   [&](const PythonOpener& opener) { return opens(opener.line); });
    };
    if (isIn([](std::string_view line) { return line.starts_with("def _test("); })) return true;
    const std::string_view begin = text.substr(0, kMostOfPython);
    if (begin.find("import pytest") == std::string_view::npos &&
        begin.find("from pytest") == std::string_view::npos &&
        begin.find("import unittest") == std::string_view::npos &&
        begin.find("from unittest") == std::string_view::npos &&
        begin.find("import TestCase") == std::string_view::npos) {
        return false;
    }
    return isIn(opensTest);
}

} // namespace trevix
