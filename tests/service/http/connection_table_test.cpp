#include "service/http/connection_table.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using Phase = ConnectionTable::Phase;
using Admission = ConnectionTable::Admission;

const Admission kAdmitted{true, std::nullopt};
const Admission kTurnedAway{false, std::nullopt};

Admission insteadOf(ConnectionTable::Id id) {
    return {true, id};
}

TEST(ConnectionTable, TheOneThatWasSilentForLongestGoesFirst) {
    ConnectionTable table(3, 3);
    EXPECT_EQ(table.admit(1, "a"), kAdmitted);
    EXPECT_EQ(table.admit(2, "a"), kAdmitted);
    EXPECT_EQ(table.admit(3, "a"), kAdmitted);
    EXPECT_EQ(table.admit(4, "a"), insteadOf(1));
    EXPECT_EQ(table.admit(5, "a"), insteadOf(2));
    EXPECT_EQ(table.size(), 3U);
}

TEST(ConnectionTable, WhoHasDoneLeastGoesFirst) {
    ConnectionTable table(5, 5);
    for (ConnectionTable::Id id = 1; id <= 5; ++id) EXPECT_EQ(table.admit(id, "a"), kAdmitted);
    table.enter(1, Phase::busy);
    table.enter(2, Phase::sending);
    table.enter(3, Phase::fading);
    table.enter(4, Phase::head);
    EXPECT_EQ(table.admit(6, "a"), insteadOf(5));
    table.enter(6, Phase::busy);
    EXPECT_EQ(table.admit(7, "a"), insteadOf(4));
    table.enter(7, Phase::busy);
    EXPECT_EQ(table.admit(8, "a"), insteadOf(3));
    table.enter(8, Phase::busy);
    EXPECT_EQ(table.admit(9, "a"), insteadOf(2));
    table.enter(9, Phase::busy);
    EXPECT_EQ(table.admit(10, "a"), kTurnedAway) << "what is judged is not given up";
    table.remove(1);
    EXPECT_EQ(table.admit(11, "a"), kAdmitted);
}

TEST(ConnectionTable, WhoIsSilentAgainIsTheNewestOfThem) {
    ConnectionTable table(2, 2);
    EXPECT_EQ(table.admit(1, "a"), kAdmitted);
    EXPECT_EQ(table.admit(2, "a"), kAdmitted);
    table.enter(1, Phase::busy);
    table.enter(1, Phase::silent);
    EXPECT_EQ(table.admit(3, "a"), insteadOf(2));
}

TEST(ConnectionTable, OnePeerTakesNoMoreThanItsShare) {
    ConnectionTable table(4, 2);
    EXPECT_EQ(table.admit(1, "other"), kAdmitted);
    EXPECT_EQ(table.admit(2, "flood"), kAdmitted);
    EXPECT_EQ(table.admit(3, "flood"), kAdmitted);
    EXPECT_EQ(table.admit(4, "flood"), insteadOf(2)) << "its own, not the older one of another";
    table.enter(3, Phase::busy);
    table.enter(4, Phase::busy);
    EXPECT_EQ(table.admit(5, "flood"), kTurnedAway);
    EXPECT_EQ(table.admit(6, "other"), kAdmitted);
    table.remove(3);
    EXPECT_EQ(table.admit(7, "flood"), kAdmitted);
}

TEST(ConnectionTable, ForWantOfDescriptorsTheFirstOfAllGoes) {
    ConnectionTable table(4, 4);
    EXPECT_EQ(table.giveUpOne(), std::nullopt);
    EXPECT_EQ(table.admit(1, "a"), kAdmitted);
    EXPECT_EQ(table.admit(2, "b"), kAdmitted);
    table.enter(1, Phase::busy);
    EXPECT_EQ(table.giveUpOne(), std::optional<ConnectionTable::Id>(2));
    EXPECT_EQ(table.giveUpOne(), std::nullopt);
    table.remove(2);
    table.enter(2, Phase::busy);
    EXPECT_EQ(table.size(), 1U) << "what is not there stays away";
}

} // namespace
} // namespace trevix
