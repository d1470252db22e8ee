// What every opener of addresses promises: the scripted one, and the one that asks the desktop.

#include "platform/fake/fake_url_opener.h"
#include "platform/fake/journal.h"
#include "platform/qt/qt_url_opener.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kelvane {
namespace {

class OpenerOfSystem {
public:
    virtual ~OpenerOfSystem() = default;
    virtual UrlOpener& opener() = 0;
    virtual void isNoAddress(const std::string& text) = 0;
    /// What the user's browser was asked to show, once `count` addresses have come.
    virtual std::vector<std::string> opened(std::size_t count) = 0;
};

class ScriptedOpener : public OpenerOfSystem {
public:
    UrlOpener& opener() override { return m_opener; }
    void isNoAddress(const std::string& text) override { m_opener.invalid.insert(text); }
    std::vector<std::string> opened(std::size_t) override { return m_opener.opened; }

private:
    Journal m_journal;
    FakeUrlOpener m_opener{m_journal};
};

/// Has a browser on its search path that writes down what it was started with. One for all of the
/// process: Qt looks for it once.
class OpenerOfDesktop : public OpenerOfSystem {
public:
    OpenerOfDesktop() {
        static const TemporaryFolder programs;
        m_log = programs / "opened.txt";
        std::filesystem::remove(m_log);
        std::ofstream(programs / "xdg-open") << "#!/bin/sh\necho \"$#:$1\" >> " << m_log << "\n";
        std::filesystem::permissions(programs / "xdg-open", std::filesystem::perms::owner_all);
        ::setenv("PATH", (programs.path().string() + ":" + m_search).c_str(), 1);
    }
    ~OpenerOfDesktop() override { ::setenv("PATH", m_search.c_str(), 1); }

    UrlOpener& opener() override { return *m_opener; }
    void isNoAddress(const std::string&) override {}
    std::vector<std::string> opened(std::size_t count) override {
        VirtualDesktop::waitUntil([&] { return lines().size() >= count; });
        return lines();
    }

private:
    std::vector<std::string> lines() const {
        std::vector<std::string> found;
        std::ifstream file(m_log);
        for (std::string line; std::getline(file, line);) {
            EXPECT_TRUE(line.starts_with("1:")) << "more than the address: " << line;
            found.push_back(line.substr(2));
        }
        return found;
    }

    std::filesystem::path m_log;
    std::string m_search = std::getenv("PATH");
    std::unique_ptr<UrlOpener> m_opener = makeQtUrlOpener();
};

struct System {
    std::string name;
    std::unique_ptr<OpenerOfSystem> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const System& system, std::ostream* out) {
    *out << system.name;
}

class UrlOpenerContract : public testing::TestWithParam<System> {
protected:
    std::unique_ptr<OpenerOfSystem> system = GetParam().make();
    UrlOpener& opener = system->opener();
};

TEST_P(UrlOpenerContract, handsOnTheAddressAsItIs) {
    const std::vector<std::string> addresses{
        "https://trevix.example/connect?from=macos-app",
        "http://127.0.0.1:8787/console?run=run-0123-abc",
        "https://trevix.example/console?run=a%20b&x=$HOME;id#part",
    };
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        EXPECT_TRUE(opener.open(addresses[i])) << addresses[i];
        ASSERT_EQ(system->opened(i + 1).size(), i + 1) << addresses[i];
    }
    EXPECT_EQ(system->opened(addresses.size()), addresses);
}

TEST_P(UrlOpenerContract, opensNothingThatIsNoAddress) {
    for (const std::string text :
         {"", "console?run=1", "https://", "https://trevix.example/console?run=a b",
          "https://trevix.example/\n--help", "https://trevix.example/console?run=\xff"}) {
        system->isNoAddress(text);
        EXPECT_FALSE(opener.open(text)) << text;
    }
    // One that is an address comes through, and nothing came before it.
    EXPECT_TRUE(opener.open("https://trevix.example/"));
    EXPECT_EQ(system->opened(1), std::vector<std::string>{"https://trevix.example/"});
}

INSTANTIATE_TEST_SUITE_P(Openers, UrlOpenerContract,
                         testing::Values(System{"scripted",
                                                []() -> std::unique_ptr<OpenerOfSystem> {
                                                    return std::make_unique<ScriptedOpener>();
                                                }},
                                         System{"desktop",
                                                []() -> std::unique_ptr<OpenerOfSystem> {
                                                    return std::make_unique<OpenerOfDesktop>();
                                                }}),
                         [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
