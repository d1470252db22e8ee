// A program of its own: it counts every allocation through the global operator new.

#include "catalog/app_catalog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

namespace {

std::atomic<std::size_t> allocations{0};

void* counted(std::size_t size) noexcept {
    ++allocations;
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

// All of the plain family, as a sanitizer brings its own for whatever is left out. Not inlined: gcc
// takes a visible free() of memory from operator new for a mismatch.

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = counted(size)) return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new[](std::size_t size) {
    return operator new(size);
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted(size);
}

[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return counted(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace kelvane {
namespace {

// The result is of no interest, but must not be optimised away.
const CatalogApp* volatile lastFound = nullptr;

std::size_t allocationsOf(const std::function<void()>& work) {
    const std::size_t before = allocations;
    work();
    return allocations - before;
}

TEST(LookupAllocations, TheCounterCounts) {
    std::string* text = nullptr;
    EXPECT_EQ(allocationsOf([&] { text = new std::string(100, 'x'); }), 2U);
    delete text;
}

TEST(LookupAllocations, NoLookupAllocates) {
    std::vector<CatalogApp> apps;
    for (int i = 0; i < 1000; ++i) {
        CatalogApp app;
        app.id = "app" + std::to_string(i);
        app.bundleIds = {"com.example.some.long.identifier." + app.id};
        app.webHosts = {"a-rather-long-host-name." + app.id + ".Example.com/Path"};
        apps.push_back(app);
    }
    const AppCatalog catalog(apps);

    const std::string exact = "com.example.some.long.identifier.app999";
    const std::string versioned = exact + ".beta.2026";
    const std::string unknown = "org.nobody.knows.this.identifier.at.all";
    const std::string page = "HTTPS://A-rather-long-host-name.APP999.example.com/path/x?y=z";
    const std::string foreign = "https://BÜCHER.example/İİİİİİİİİİİİİİİİİİİİİİİİİİİİİİİ";
    const std::string endless(20'000, 'X');

    ASSERT_EQ(catalog.appForBundleId(exact)->id, "app999");
    ASSERT_NE(catalog.appForBundleId(versioned), nullptr);
    ASSERT_EQ(catalog.appForURL(page)->id, "app999");
    ASSERT_EQ(catalog.appForURL(endless + page)->id, "app999");
    const std::string endlessPage = endless + page;

    for (const auto* id : {&exact, &versioned, &unknown}) {
        EXPECT_EQ(allocationsOf([&] { lastFound = catalog.appForBundleId(*id); }), 0U) << *id;
    }
    for (const auto* url : {&page, &foreign, &endless, &endlessPage}) {
        EXPECT_EQ(allocationsOf([&] { lastFound = catalog.appForURL(*url); }), 0U) << *url;
    }
}

} // namespace
} // namespace kelvane
