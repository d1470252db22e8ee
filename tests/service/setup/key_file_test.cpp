#include "service/setup/key_file.h"

#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <iterator>
#include <set>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace trevix {
namespace {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

unsigned modeOf(const std::filesystem::path& path) {
    struct stat facts {};
    EXPECT_EQ(stat(path.c_str(), &facts), 0);
    return facts.st_mode & 07777U;
}

Key keyIn(const std::filesystem::path& file) {
    const auto key = loadOrMakeKey(file);
    const auto* error = std::get_if<KeyError>(&key);
    EXPECT_EQ(error, nullptr) << (error != nullptr ? error->text : "");
    return error == nullptr ? std::get<Key>(key) : Key{};
}

std::string errorOf(const std::filesystem::path& file) {
    const auto key = loadOrMakeKey(file);
    EXPECT_TRUE(std::holds_alternative<KeyError>(key));
    return std::holds_alternative<KeyError>(key) ? std::get<KeyError>(key).text : "";
}

TEST(KeyFile, IsMadeOnceForItsOwnerAndReadEverAfter) {
    const TemporaryFolder folder;
    const Key first = keyIn(folder.path() / "key");
    EXPECT_EQ(first.text.substr(0, 13), "trevix_local_");
    EXPECT_EQ(first.text.size(), 13U + 40U);
    EXPECT_EQ(first.text.find_first_not_of("0123456789abcdef", 13), std::string::npos);
    EXPECT_EQ(modeOf(folder.path() / "key"), 0600U);
    EXPECT_EQ(contentOf(folder.path() / "key"), first.text + "\n");
    EXPECT_EQ(keyIn(folder.path() / "key").text, first.text);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1)
        << "no draft is left";
}

TEST(KeyFile, KeysDiffer) {
    const TemporaryFolder folder;
    std::set<std::string> keys;
    for (int i = 0; i < 20; ++i) {
        keys.insert(keyIn(folder.path() / ("key" + std::to_string(i))).text);
    }
    EXPECT_EQ(keys.size(), 20U);
}

TEST(KeyFile, MadeByManyAtOnceIsOneKey) {
    const TemporaryFolder folder;
    std::vector<std::future<std::string>> makers;
    for (int i = 0; i < 8; ++i) {
        makers.push_back(
            std::async(std::launch::async, [&] { return keyIn(folder.path() / "key").text; }));
    }
    std::set<std::string> keys;
    for (auto& maker : makers) keys.insert(maker.get());
    EXPECT_EQ(keys.size(), 1U);
}

TEST(KeyFile, WhiteSpaceAroundAKeyIsLeftOut) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "key") << "  my-own-key\r\n";
    chmod((folder.path() / "key").c_str(), 0600);
    EXPECT_EQ(keyIn(folder.path() / "key").text, "my-own-key");
}

TEST(KeyFile, ThatOthersMayReadOrChangeIsAnErrorAndStaysAsItIs) {
    const TemporaryFolder folder;
    std::ofstream(folder.path() / "key") << "my-own-key\n";
    for (const unsigned mode : {0644U, 0666U, 0620U}) {
        chmod((folder.path() / "key").c_str(), mode);
        const std::string error = errorOf(folder.path() / "key");
        EXPECT_NE(error.find("other users may"), std::string::npos) << error;
        EXPECT_NE(error.find("delete it for a new one"), std::string::npos) << error;
        EXPECT_EQ(error.find("my-own-key"), std::string::npos);
        EXPECT_EQ(modeOf(folder.path() / "key"), mode);
        EXPECT_EQ(contentOf(folder.path() / "key"), "my-own-key\n");
    }
}

TEST(KeyFile, WithoutAUsableKeyIsAnErrorAndStaysAsItIs) {
    const TemporaryFolder folder;
    for (const std::string& content :
         {std::string(), std::string("\n"), std::string("short\n"), std::string("two words here\n"),
          std::string("k\xc3\xa4y-with-umlaut\n"), std::string(600, 'k'),
          std::string("nul\0inside", 10)}) {
        const auto file = folder.path() / "key";
        std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
        chmod(file.c_str(), 0600);
        EXPECT_NE(errorOf(file).find("holds no usable key"), std::string::npos) << content;
        EXPECT_EQ(contentOf(file), content);
    }
}

TEST(KeyFile, ThatIsNoFileIsAnError) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "folder");
    EXPECT_NE(errorOf(folder.path() / "folder").find("is not a file"), std::string::npos);
    std::ofstream(folder.path() / "other") << "my-own-key\n";
    std::filesystem::create_symlink(folder.path() / "other", folder.path() / "link");
    EXPECT_NE(errorOf(folder.path() / "link").find("cannot be read"), std::string::npos);
    ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    EXPECT_NE(errorOf(folder.path() / "pipe").find("is not a file"), std::string::npos);
    EXPECT_NE(errorOf(folder.path() / "missing" / "key").find("cannot be made"), std::string::npos);
}

TEST(Authorizes, OnlyTheWholeKeyInABearerHeader) {
    const struct {
        std::string_view header;
        bool yes;
    } cases[] = {
        {"Bearer the-key-1", true},
        {"bearer the-key-1", true},
        {"BEARER the-key-1", true},
        {"Bearer the-key-2", false},
        {"Bearer the-key-", false},
        {"Bearer the-key-11", false},
        {"Bearer the-key-1the-key-1", false},
        {"Bearer  the-key-1", false},
        {"Bearer the-key-1 ", false},
        {"Bearer ", false},
        {"Bearer", false},
        {"the-key-1", false},
        {"Basic the-key-1", false},
        {"", false},
        {"Bearer THE-KEY-1", false},
    };
    for (const auto& [header, yes] : cases) {
        EXPECT_EQ(authorizes(header, "the-key-1"), yes) << header;
    }
    EXPECT_FALSE(authorizes("Bearer ", "")) << "no key opens nothing";
}

} // namespace
} // namespace trevix
