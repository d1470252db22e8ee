// What every environment promises, asked of the fake and of the real one.

#include "platform/fake/fake_environment.h"
#include "platform/posix/posix_platform.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdlib.h>
#include <string>

namespace kelvane {
namespace {

constexpr const char* kName = "KELVANE_TEST_VARIABLE";

enum class Side { Fake, Posix };

class EnvironmentContract : public testing::TestWithParam<Side> {
public:
    ~EnvironmentContract() override { unsetenv(kName); }

    bool isFake() const { return GetParam() == Side::Fake; }
    Environment& environment() { return isFake() ? m_fake : *m_posix; }
    void set(const std::string& value) {
        if (isFake()) {
            m_fake.variables[kName] = value;
        } else {
            setenv(kName, value.c_str(), 1);
        }
    }
    void unset() {
        m_fake.variables.clear();
        unsetenv(kName);
    }

private:
    FakeEnvironment m_fake;
    std::unique_ptr<Environment> m_posix = makePosixEnvironment();
};

TEST_P(EnvironmentContract, UnsetIsAbsent) {
    EXPECT_EQ(environment().get(kName), std::nullopt);
    EXPECT_EQ(environment().get(""), std::nullopt);
}

TEST_P(EnvironmentContract, EmptyIsSet) {
    set("");
    EXPECT_EQ(environment().get(kName), "");
}

TEST_P(EnvironmentContract, ValueComesBackAsItIs) {
    set(" a=b \u00e9\n");
    EXPECT_EQ(environment().get(kName), " a=b \u00e9\n");
}

TEST_P(EnvironmentContract, IsReadAfreshOnEveryCall) {
    set("one");
    EXPECT_EQ(environment().get(kName), "one");
    set("two");
    EXPECT_EQ(environment().get(kName), "two");
    unset();
    EXPECT_EQ(environment().get(kName), std::nullopt);
}

TEST_P(EnvironmentContract, NamesMatchWholeOnly) {
    set("value");
    const std::string name = kName;
    for (const std::string& other :
         {name + "=value", name + "=", name.substr(1), name.substr(0, name.size() - 1), name + "X",
          name + '\0', name + std::string("\0X", 2), std::string("kelvane_test_variable")}) {
        EXPECT_EQ(environment().get(other), std::nullopt) << other;
    }
}

TEST_P(EnvironmentContract, NameNeedNotEndWhereItsViewDoes) {
    set("value");
    const std::string longer = std::string(kName) + "_AND_MORE";
    EXPECT_EQ(environment().get(std::string_view(longer).substr(0, std::string(kName).size())),
              "value");
}

INSTANTIATE_TEST_SUITE_P(All, EnvironmentContract, testing::Values(Side::Fake, Side::Posix),
                         [](const auto& side) {
                             return side.param == Side::Fake ? "Fake" : "Posix";
                         });

} // namespace
} // namespace kelvane
