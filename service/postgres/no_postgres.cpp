// In place of the rest of this folder where libpq was not there when the program was built.

#include "service/postgres/postgres_store.h"

namespace trevix {

std::unique_ptr<SharedStore> openPostgresStore(const std::string& /*address*/) {
    throw StoreError("this trevix-local was built without PostgreSQL (libpq)");
}

} // namespace trevix
