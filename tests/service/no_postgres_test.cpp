// What a program that was built without libpq says to who asks for the store of a team.

#include "service/postgres/postgres_store.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(WithoutPostgres, TheStoreOfATeamIsRefusedInASentence) {
    try {
        (void)openPostgresStore("postgresql:///trevix");
        FAIL() << "opened";
    } catch (const StoreError& error) {
        EXPECT_STREQ(error.what(), "this trevix-local was built without PostgreSQL (libpq)");
    }
}

} // namespace
} // namespace trevix
