// Reading a catalog beside the bare parse of the same bytes, and the lookups.
//
// The budget is a ratio inside one run: decoding and loading at most twice the bare parse. Lookups
// are to grow in step with the number of entries, but for the exact one.

#include "catalog/app_catalog.h"
#include "text/unicode.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace kelvane {
namespace {

std::string number(std::int64_t n) {
    std::string digits = std::to_string(n);
    return std::string(6 - digits.size(), '0') + digits;
}

// A catalog whose entries are as large as those of the one that ships.
std::string catalogBytes(std::int64_t apps) {
    std::string bytes = R"({"schema":"1","version":"2026-01-01","modalities":["text","code"],)"
                        R"("categories":[{"id":"code","label":"Code"}],"apps":[)";
    for (std::int64_t i = 0; i < apps; ++i) {
        const std::string n = number(i);
        if (i > 0) bytes += ",";
        bytes += "{\"id\":\"app" + n + "\",\"name\":\"Application " + n +
                 "\",\"category\":\"code\",\"vertical\":\"engineering\",\"bundle_ids\":"
                 "[\"com.example.Application" +
                 n + "\",\"org.example.application" + n + "\"],\"web_hosts\":[\"app" + n +
                 ".example.com\",\"www.example.com/app" + n +
                 "\"],\"modalities\":[\"code\",\"text\"],\"primary_modality\":\"code\","
                 "\"capture\":\"selection\",\"workflow_nodes\":[\"build\",\"review\"],"
                 "\"is_browser\":false}";
    }
    return bytes + "]}";
}

void processed(benchmark::State& state, const std::string& bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void bareParse(benchmark::State& state) {
    const std::string bytes = catalogBytes(state.range(0));
    for (auto _ : state) {
        auto parsed = nlohmann::json::parse(bytes);
        benchmark::DoNotOptimize(parsed);
    }
    processed(state, bytes);
}

void decode(benchmark::State& state) {
    const std::string bytes = catalogBytes(state.range(0));
    for (auto _ : state) {
        auto file = decodeCatalogFile(bytes);
        benchmark::DoNotOptimize(file);
    }
    processed(state, bytes);
}

void load(benchmark::State& state) {
    const std::string bytes = catalogBytes(state.range(0));
    for (auto _ : state) {
        auto catalog = AppCatalog::load(bytes);
        benchmark::DoNotOptimize(catalog);
    }
    processed(state, bytes);
}

void exactLookup(benchmark::State& state) {
    const auto catalog = AppCatalog::load(catalogBytes(state.range(0)));
    const std::string id = "org.example.application" + number(state.range(0) - 1);
    for (auto _ : state) benchmark::DoNotOptimize(catalog.appForBundleId(id));
}

void prefixLookup(benchmark::State& state) {
    const auto catalog = AppCatalog::load(catalogBytes(state.range(0)));
    const std::string id = "com.example.Application" + number(state.range(0) - 1) + ".24";
    for (auto _ : state) benchmark::DoNotOptimize(catalog.appForBundleId(id));
}

void unknownIdentifier(benchmark::State& state) {
    const auto catalog = AppCatalog::load(catalogBytes(state.range(0)));
    const std::string id = "com.example.nope";
    for (auto _ : state) benchmark::DoNotOptimize(catalog.appForBundleId(id));
}

void urlLookup(benchmark::State& state) {
    const auto catalog = AppCatalog::load(catalogBytes(state.range(0)));
    const std::string url =
        "https://APP" + number(state.range(0) - 1) + ".example.com/some/path?with=a&query=2";
    for (auto _ : state) benchmark::DoNotOptimize(catalog.appForURL(url));
}

void unknownUrl(benchmark::State& state) {
    const auto catalog = AppCatalog::load(catalogBytes(state.range(0)));
    const std::string url = "https://nowhere.example.org/some/long/path/with/parts?and=a&query=2";
    for (auto _ : state) benchmark::DoNotOptimize(catalog.appForURL(url));
}

void cutAscii(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)) + 20'000, 'x');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            text::firstCharacters(text, static_cast<std::size_t>(state.range(0))));
    }
}

void cutAccented(benchmark::State& state) {
    std::string text;
    for (std::int64_t i = 0; i < state.range(0) + 20'000; ++i) text += "e\u0301";
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            text::firstCharacters(text, static_cast<std::size_t>(state.range(0))));
    }
}

BENCHMARK(bareParse)->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(decode)->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(load)->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(exactLookup)->Arg(100)->Arg(1'000)->Arg(10'000);
BENCHMARK(prefixLookup)->Arg(100)->Arg(1'000)->Arg(10'000);
BENCHMARK(unknownIdentifier)->Arg(100)->Arg(1'000)->Arg(10'000);
BENCHMARK(urlLookup)->Arg(100)->Arg(1'000)->Arg(10'000);
BENCHMARK(unknownUrl)->Arg(100)->Arg(1'000)->Arg(10'000);
BENCHMARK(cutAscii)->Arg(180'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(cutAccented)->Arg(180'000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace kelvane
