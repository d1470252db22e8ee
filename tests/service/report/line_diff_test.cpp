#include "service/report/line_diff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string_view>;

/// What `before` becomes by the changes.
Lines changed(const Lines& before, const Lines& after, const std::vector<LineChange>& changes) {
    Lines made;
    std::size_t at = 0;
    for (const LineChange& change : changes) {
        while (at < change.before) made.push_back(before[at++]);
        at += change.removed;
        for (std::size_t i = 0; i < change.added; ++i) made.push_back(after[change.after + i]);
    }
    while (at < before.size()) made.push_back(before[at++]);
    return made;
}

TEST(LineDiff, TellsWhatWasTakenOutAndPutIn) {
    EXPECT_THAT(changedLines({"a", "b"}, {"a", "b"}), IsEmpty());
    EXPECT_THAT(changedLines({"a", "b", "c"}, {"a", "x", "c"}),
                ElementsAre(LineChange{1, 1, 1, 1}));
    EXPECT_THAT(changedLines({"a", "b", "c", "d", "e"}, {"b", "c", "d", "x", "e"}),
                ElementsAre(LineChange{0, 1, 0, 0}, LineChange{4, 0, 3, 1}));
    EXPECT_THAT(changedLines({}, {"a"}), ElementsAre(LineChange{0, 0, 0, 1}));
    EXPECT_THAT(changedLines({"a"}, {}), ElementsAre(LineChange{0, 1, 0, 0}));
}

TEST(LineDiff, LeadsFromAnyTextToAnyOther) {
    std::mt19937 random(7);
    const Lines letters{"a", "b", "c", "d"};
    for (int round = 0; round < 300; ++round) {
        Lines before;
        Lines after;
        for (Lines* each : {&before, &after}) {
            const std::size_t size = random() % 12;
            for (std::size_t i = 0; i < size; ++i) each->push_back(letters[random() % 4]);
        }
        const auto changes = changedLines(before, after);
        EXPECT_EQ(changed(before, after, changes), after) << round;
    }
}

TEST(LineDiff, BeyondItsMostChangesTheMiddleIsOneChange) {
    std::vector<std::string> numbers;
    for (int i = 0; i < 4000; ++i) numbers.push_back(std::to_string(i));
    Lines before{"head"};
    Lines after{"head"};
    for (std::size_t i = 0; i < 2000; ++i) {
        before.emplace_back(numbers[i]);
        after.emplace_back(numbers[i + 2000]);
    }
    before.emplace_back("tail");
    after.emplace_back("tail");
    EXPECT_THAT(changedLines(before, after), ElementsAre(LineChange{1, 2000, 1, 2000}));
}

} // namespace
} // namespace trevix
