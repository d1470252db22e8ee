#include "critics/language/dictionary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Dictionary& listed(const ListShelf& shelf) {
    return *shelf.of(NaturalLanguage::english).books.front();
}

TEST(OneSlipAway, FindsEveryKindOfSlip) {
    ListShelf shelf;
    shelf.add(NaturalLanguage::english, "receive tomorrow letter ready house");
    const struct {
        const char* slip;
        const char* meant;
    } cases[] = {
        {"recieve", "receive"},  // swapped
        {"tomorow", "tomorrow"}, // not doubled
        {"lettter", "letter"},   // doubled once too often
        {"redy", "ready"},       // left out
        {"hause", "house"},      // changed
        {"houuse", "house"},     // put in
        {"mouse", "house"},      // changed, the first
        {"ouse", "house"},       // left out, the first
        {"ohuse", "house"},      // swapped, the first two
        {"xhouse", "house"},     // put in, the first
        {"readyx", "ready"},     // put in, the last
        {"read", "ready"},       // left out, the last
    };
    for (const auto& [slip, meant] : cases) {
        EXPECT_THAT(oneSlipAway(listed(shelf), slip), ElementsAre(meant)) << slip;
    }
}

TEST(OneSlipAway, TheLikeliestComeFirstAndEachOnce) {
    ListShelf shelf;
    shelf.add(NaturalLanguage::english, "form from firm forms dorm fform");
    EXPECT_THAT(oneSlipAway(listed(shelf), "form"),
                ElementsAre("from", "fform", "firm", "forms", "dorm"));
}

TEST(OneSlipAway, WhatIsFurtherAwayIsNotFound) {
    ListShelf shelf;
    shelf.add(NaturalLanguage::english, "definitely");
    EXPECT_THAT(oneSlipAway(listed(shelf), "defnatly"), IsEmpty());
    EXPECT_THAT(oneSlipAway(listed(shelf), ""), IsEmpty());
    EXPECT_THAT(oneSlipAway(listed(shelf), std::string(41, 'a')), IsEmpty());
    EXPECT_THAT(oneSlipAway(listed(shelf), "\xff\xfe"), IsEmpty());
}

} // namespace
} // namespace trevix
