#include "platform/posix/idle_memory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace kelvane {
namespace {

/// Kilobytes of program files in this process, by the kernel's count.
long residentFiles() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("RssFile:")) return std::stol(line.substr(8));
    }
    return -1;
}

TEST(ReleaseIdleMemory, TheProgramGoesOnWithAllItsData) {
    static int counter = 41; // in a page that was written
    std::vector<std::string> words(1000, "kept");
    releaseIdleMemory();
    releaseIdleMemory();
    ++counter;
    EXPECT_EQ(counter, 42);
    EXPECT_EQ(words, std::vector<std::string>(1000, "kept"));
    EXPECT_NO_THROW(EXPECT_THROW(throw std::string("still unwinds"), std::string));
}

TEST(ReleaseIdleMemory, PagesOfProgramFilesLeaveTheProcess) {
    const long before = residentFiles();
    if (before < 0) GTEST_SKIP() << "this system does not tell";
    releaseIdleMemory();
    EXPECT_LT(residentFiles(), before);
}

} // namespace
} // namespace kelvane
