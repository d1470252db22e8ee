// What following data through a program costs beside reading it by its grammar.
//
// The programs are this project's own, each as it is; a ratio of the two inside one run is what
// counts.

#include "critics/flow/python_fixed.h"
#include "critics/flow/python_flow.h"
#include "critics/flow/python_misuse.h"
#include "critics/syntax/syntax_reader.h"
#include "tests/source_tree.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace trevix {
namespace {

struct Program {
    std::string text;
    SyntaxTree tree;
};

SyntaxTree treeOf(const std::string& text) {
    return readSyntax("python", text, std::chrono::seconds(60), Wanted::tree).tree;
}

/// The programs of the validator.
const std::vector<Program>& programs() {
    static const auto all = [] {
        std::vector<Program> read;
        const auto folder = kelvane::inSourceTree("resources/kit/standing/engine");
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() != ".py") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            std::string text{std::istreambuf_iterator<char>(file), {}};
            if (text.size() >= kLongestText) continue;
            SyntaxTree tree = treeOf(text);
            read.push_back({std::move(text), std::move(tree)});
        }
        return read;
    }();
    return all;
}

void counted(benchmark::State& state) {
    std::size_t bytes = 0;
    std::ptrdiff_t lines = 0;
    for (const Program& program : programs()) {
        bytes += program.text.size();
        lines += std::ranges::count(program.text, '\n');
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    state.counters["lines"] = static_cast<double>(lines);
}

void readByGrammar(benchmark::State& state) {
    for (auto _ : state) {
        for (const Program& program : programs()) benchmark::DoNotOptimize(treeOf(program.text));
    }
    counted(state);
}

template <auto Analysis>
void analyse(benchmark::State& state) {
    for (auto _ : state) {
        for (const Program& program : programs()) {
            benchmark::DoNotOptimize(Analysis(program.tree, program.text));
        }
    }
    counted(state);
}

BENCHMARK(readByGrammar)->Unit(benchmark::kMillisecond);
BENCHMARK(analyse<pythonFlows>)->Unit(benchmark::kMillisecond);
BENCHMARK(analyse<pythonMisuses>)->Unit(benchmark::kMillisecond);
BENCHMARK(analyse<pythonFixedRuns>)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace trevix
