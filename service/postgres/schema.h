// The tables of the shared store, and how older ones become those of today.
//
// For service/postgres only.

#pragma once

#include "service/postgres/connection.h"

namespace trevix {

/// The format of this program. Each number is one step from the one before.
[[nodiscard]] int sharedFormat();

/// Brings the database from whatever format it has to the one of this program, as a whole or not at
/// all; programs that start together take turns. Throws StoreError when a newer program wrote it.
void bringUp(SqlConnection& connection);
/// The same, to an older format: for tests, which then hold what an older program left.
void bringUpTo(SqlConnection& connection, int format);

} // namespace trevix
