// A program of its own: it counts every allocation through the global operator new, and can refuse
// large ones.

#include "catalog/app_catalog.h"
#include "catalog/catalog_loader.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> allocatedBytes{0};
std::atomic<std::size_t> largestAllowed{std::numeric_limits<std::size_t>::max()};

void* counted(std::size_t size) noexcept {
    ++allocations;
    allocatedBytes += size;
    if (size > largestAllowed) return nullptr;
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

/// A valid catalog of many tiny apps: what takes most memory for its length.
std::string manyApps(std::size_t count) {
    std::string bytes = R"({"apps":[)";
    for (std::size_t i = 0; i < count; ++i) bytes += R"({"id":"","name":""},)";
    bytes.back() = ']';
    return bytes + "}";
}

/// While it lives no allocation is larger.
class LargestAllocation {
public:
    explicit LargestAllocation(std::size_t bytes) { largestAllowed = bytes; }
    ~LargestAllocation() { largestAllowed = std::numeric_limits<std::size_t>::max(); }
    LargestAllocation(const LargestAllocation&) = delete;
    LargestAllocation& operator=(const LargestAllocation&) = delete;
};

constexpr std::size_t kMegabyte = 1'000'000;

TEST(DecodingMemory, AnOversizedFileIsRefusedBeforeAnythingIsBuiltFromIt) {
    const std::string bytes = manyApps(1'100'000); // 22 MB
    const std::size_t before = allocatedBytes;
    EXPECT_THROW((void)decodeCatalogFile(bytes), CatalogError);
    EXPECT_LT(allocatedBytes - before, kMegabyte);
}

class WithoutMemory : public testing::Test {
protected:
    FakePlatform fake;
    // A megabyte to read, some 18 to decode.
    const std::string large = manyApps(50'000);

    WithoutMemory() {
        fake.resources.resources["app-catalog.json"] = "/shipped.json";
        fake.files.files["/shipped.json"] = R"({"version":"shipped","apps":[]})";
        fake.files.files["/large.json"] = large;
    }
    std::string versionLoaded() {
        std::ostringstream standardError;
        return loadCatalog({fake.files, fake.resources, "/data", standardError}, "/large.json")
            .version();
    }
};

TEST_F(WithoutMemory, AFileThatCannotBeHeldIsPassedOver) {
    EXPECT_EQ(versionLoaded(), "0");
    {
        const LargestAllocation tooLittleToDecode(4 * kMegabyte);
        EXPECT_EQ(versionLoaded(), "shipped");
    }
    {
        const LargestAllocation tooLittleToRead(kMegabyte / 2);
        EXPECT_EQ(versionLoaded(), "shipped");
    }
}

TEST_F(WithoutMemory, ADownloadThatCannotBeHeldIsNotStored) {
    fake.http.answer = [&](const HttpRequest&) { return HttpResponse{200, large}; };
    const auto refresh = [&] {
        refreshRemoteCatalog({fake.files, fake.http, fake.dispatcher}, "https://x.example/", "/d");
        fake.dispatcher.runAll();
    };
    {
        const LargestAllocation tooLittleToDecode(4 * kMegabyte);
        refresh();
    }
    EXPECT_EQ(fake.journal.count("write"), 0U);
    refresh();
    EXPECT_EQ(fake.journal.count("write"), 1U);
}

} // namespace
} // namespace kelvane
