// Which blocks stand around a line of Python, and is it a test's?

#include "critics/code/python_blocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> openers(std::string_view text, std::string_view at) {
    std::vector<std::string> lines;
    for (const PythonOpener& opener : pythonOpenersAround(text, text.find(at))) {
        lines.emplace_back(opener.line);
    }
    return lines;
}

TEST(PythonOpeners, StandInnermostFirst) {
    EXPECT_THAT(openers("class A:\n    x = 1\n    async def f(self):\n        if x:\n"
                        "            y = 2\n\n  # remark\n            z = 3\n",
                        "z = 3"),
                ElementsAre("z = 3", "if x:", "def f(self):", "class A:"));
    EXPECT_THAT(openers("x = 1\n", "x"), ElementsAre("x = 1"));
    EXPECT_THAT(openers("", "x"), IsEmpty());
}

TEST(PythonOpeners, BeginWhereTheirBracketsOpen) {
    EXPECT_THAT(openers("def f(\n    a,\n) -> int:\n    HERE\n", "HERE"),
                ElementsAre("HERE", "def f("));
    EXPECT_THAT(openers("def f():\n    if (\n        a\n    ):\n        HERE\n", "HERE"),
                ElementsAre("HERE", "if (", "def f():"));
}

TEST(PythonOpeners, TellTheirPlace) {
    const std::string_view text = "x = 1\ndef f():\n\tx = 2\n";
    const auto openers = pythonOpenersAround(text, text.find("x = 2"));
    ASSERT_EQ(openers.size(), 2U);
    EXPECT_EQ(openers[0].margin, 1U);
    EXPECT_EQ(openers[1].offset, text.find("def"));
    EXPECT_EQ(pythonOpenersAround(text, text.size() + 5).size(), 2U) << "as at the end";
}

bool inTest(std::string_view text, std::string_view name = "work.py") {
    return isInPythonTest(text, text.find("HERE"), name);
}

TEST(PythonTests, AreToldByTheNameOfTheFile) {
    const std::string_view text = "def f():\n    HERE\n";
    EXPECT_FALSE(inTest(text));
    EXPECT_FALSE(inTest(text, ""));
    EXPECT_FALSE(inTest(text, "contest.py"));
    EXPECT_FALSE(inTest(text, "latest_test.cpp"));
    EXPECT_TRUE(inTest(text, "test_parcels.py"));
    EXPECT_TRUE(inTest(text, "src/parcels_test.py"));
    EXPECT_TRUE(inTest(text, "app/tests.py"));
    EXPECT_TRUE(inTest(text, "conftest.py"));
}

TEST(PythonTests, AreToldByTheFunctionOfAFileThatTakesInWhatRunsThem) {
    EXPECT_TRUE(inTest("import pytest\n\ndef test_f():\n    if x:\n        HERE\n"));
    EXPECT_TRUE(inTest("import unittest\nclass A(unittest.TestCase):\n  def f(self):\n    HERE\n"));
    EXPECT_TRUE(inTest("from django.test import TestCase\nclass A(TestCase):\n    HERE\n"));
    EXPECT_TRUE(inTest("def f():\n    pass\n\ndef _test():\n    HERE\n")) << "a module's own";
    EXPECT_FALSE(inTest("def _test_of(x):\n    HERE\n"));
    EXPECT_FALSE(inTest("def test_f():\n    HERE\n")) << "a function that tests something";
    EXPECT_FALSE(inTest("import pytest\ndef test_f():\n    pass\n\ndef f():\n    HERE\n"));
}

} // namespace
} // namespace trevix
