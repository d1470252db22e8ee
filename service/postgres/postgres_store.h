// The run store of a team, in a PostgreSQL database.
//
// Its tables stand in the schema "trevix". A call is a transaction, or a few that each leave the
// store sound; all wait no longer than connection.h says. Where a database drops rows their bytes
// stay on its disk until it vacuums them, and in its log and its backups for as long as those are
// kept.

#pragma once

#include "service/store/shared_store.h"

#include <cstddef>
#include <memory>
#include <string>

namespace trevix {

/// Connections besides the one that listens. Chosen: each is a process of the database's.
constexpr std::size_t kMostConnections = 8;

/// Opens the database and brings its tables up to date. `address` as libpq takes it. Throws
/// StoreError when it cannot be reached, was written by a newer version, or this program was built
/// without libpq.
[[nodiscard]] std::unique_ptr<SharedStore> openPostgresStore(const std::string& address);

} // namespace trevix
