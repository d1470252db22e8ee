#include "platform/macos/screencapture.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

constexpr const char* kTool = "/usr/sbin/screencapture";
using Journalled = std::vector<std::string>;

class ScreencaptureTest : public testing::Test {
protected:
    ScreencaptureTest() { fake.files.temporary = "/var/folders/x/T/"; }

    /// The tool runs, writes `bytes` where it was told to, and ends with `status`.
    void toolWrites(const std::string& bytes, int status = 0) {
        fake.processes.results[kTool] = {.status = status, .output = ""};
        fake.processes.onRun = [this, bytes](const ProcessRequest& request) {
            fake.files.files[request.arguments.back()] = bytes;
        };
    }

    std::optional<std::string> png(std::int64_t number) {
        return makeScreencapture(fake.processes, fake.files)->png(number);
    }

    FakePlatform fake;
};

TEST_F(ScreencaptureTest, RunsTheToolWithExactlyFiveArguments) {
    toolWrites("png");
    EXPECT_EQ(png(1234), "png");
    ASSERT_EQ(fake.processes.requests.size(), 1U);
    EXPECT_EQ(fake.processes.requests[0].program, kTool);
    EXPECT_EQ(fake.processes.requests[0].arguments,
              (std::vector<std::string>{"-x", "-o", "-l", "1234",
                                        "/var/folders/x/T/kelvane-shot-1234.png"}));
}

TEST_F(ScreencaptureTest, ReadsThenDeletesTheFile) {
    toolWrites("png");
    (void)png(5);
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"/usr/sbin/screencapture -x -o -l 5 /var/folders/x/T/kelvane-shot-5.png",
                          "read /var/folders/x/T/kelvane-shot-5.png",
                          "remove /var/folders/x/T/kelvane-shot-5.png"}));
    EXPECT_TRUE(fake.files.files.empty());
}

TEST_F(ScreencaptureTest, BytesComeBackAsTheyAre) {
    const std::string bytes("\x89PNG\r\n\x1a\n\0\0\xff", 11);
    toolWrites(bytes);
    EXPECT_EQ(png(1), bytes);
}

TEST_F(ScreencaptureTest, FolderIsUsedAsItIsGiven) {
    fake.files.temporary = "/tmp/pre-";
    toolWrites("png");
    (void)png(1);
    EXPECT_EQ(fake.processes.requests.at(0).arguments.back(), "/tmp/pre-kelvane-shot-1.png");
}

TEST_F(ScreencaptureTest, NumberIsWrittenInDecimalWhateverItIs) {
    toolWrites("png");
    (void)png(0);
    (void)png(-1);
    (void)png(9'007'199'254'740'993);
    EXPECT_EQ(fake.processes.requests.at(0).arguments.at(3), "0");
    EXPECT_EQ(fake.processes.requests.at(1).arguments.at(3), "-1");
    EXPECT_EQ(fake.processes.requests.at(2).arguments.at(3), "9007199254740993");
}

TEST_F(ScreencaptureTest, ToolThatCannotBeStartedLeavesEverythingAlone) {
    EXPECT_EQ(png(5), std::nullopt);
    EXPECT_EQ(fake.journal.count("read "), 0U);
    EXPECT_EQ(fake.journal.count("remove "), 0U);
}

TEST_F(ScreencaptureTest, ToolThatLeavesNoFileGivesNothing) {
    fake.processes.results[kTool] = {.status = 1, .output = ""};
    EXPECT_EQ(png(5), std::nullopt);
    EXPECT_EQ(fake.journal.count("remove "), 1U);
}

TEST_F(ScreencaptureTest, PictureThatWasLeftThereIsNotTaken) {
    fake.files.files["/var/folders/x/T/kelvane-shot-5.png"] = "of another moment";
    fake.processes.results[kTool] = {.status = 1, .output = ""};
    EXPECT_EQ(png(5), std::nullopt);
    EXPECT_TRUE(fake.files.files.empty());
    fake.files.files["/var/folders/x/T/kelvane-shot-5.png"] = "of another moment";
    toolWrites("png");
    EXPECT_EQ(png(5), "png");
}

TEST_F(ScreencaptureTest, ExitStatusIsNotExamined) {
    toolWrites("png", 1);
    EXPECT_EQ(png(5), "png");
}

TEST_F(ScreencaptureTest, UnreadableFileGivesNothingAndIsDeletedAllTheSame) {
    toolWrites("png");
    fake.processes.onRun = [this](const ProcessRequest& request) {
        fake.files.unreadable.insert(request.arguments.back());
    };
    EXPECT_EQ(png(5), std::nullopt);
    EXPECT_TRUE(fake.files.unreadable.empty());
}

TEST_F(ScreencaptureTest, FileThatCannotBeDeletedIsNoFailure) {
    toolWrites("png");
    fake.files.unwritable = {"/var/folders/x/T/kelvane-shot-5.png"};
    EXPECT_EQ(png(5), "png");
}

TEST_F(ScreencaptureTest, EmptyFileIsReadAsItIs) {
    // Whether no bytes are a picture is the caller's to say.
    toolWrites("");
    EXPECT_EQ(png(5), "");
}

} // namespace
} // namespace kelvane
