// What following data costs in programs that were made to be slow.

#include "critics/flow/python_fixed.h"
#include "critics/flow/python_flow.h"
#include "critics/flow/python_misuse.h"
#include "critics/syntax/syntax_reader.h"
#include "tests/critics/growth.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {
namespace {

struct Program {
    SyntaxTree tree;
    std::string text;
};

Program programOf(std::string_view piece, std::size_t bytes) {
    Program program;
    while (program.text.size() + piece.size() <= bytes) program.text += piece;
    program.tree = readSyntax("python", program.text, std::chrono::seconds(60), Wanted::tree).tree;
    return program;
}

class PythonFlowGrowth : public testing::TestWithParam<std::string_view> {};

TEST_P(PythonFlowGrowth, IsThatOfTheProgram) {
    std::vector<Program> programs;
    for (const std::size_t bytes : {3'500UL, 14'000UL, kLongestText - 4'000}) {
        programs.push_back(programOf(GetParam(), bytes));
    }
    expectModestGrowth(programs, [](const Program& program) {
        static_cast<void>(pythonFlows(program.tree, program.text));
        static_cast<void>(pythonMisuses(program.tree, program.text));
        static_cast<void>(pythonFixedRuns(program.tree, program.text));
    });
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, PythonFlowGrowth,
    testing::Values("(", "f(", "a.", "a[", "not ", "a in (", "if a:\n", "if a in b:\n c = d\n",
                    "for a in b:\n  c = d\n  break\n", "while a < b:\n c = d\n", "a = f(a, b)\n",
                    "d['k'] = x\n", "a += b\neval(a)\n",
                    "a = ", "def _f(a, b):\n  eval(a)\n_f(b, 2)\n", "def f(a):\n b = a; eval(b)\n",
                    "words.append(a)\nos.system(words)\n", "def f(a, b):\n  eval(a)\nf(1, 2)\n",
                    "import a\n", "x and ", "a if b else ", "[a for a in ", "f'{a}' + ",
                    "return x\n", "if a in b:\n  return 1\nelif c:\n  d = 1\n",
                    "from flask import request\nq = request.args['q']\nif q in a:\n  open(q)\n"));

} // namespace
} // namespace trevix
