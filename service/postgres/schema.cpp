#include "service/postgres/schema.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace {

// Who changes the tables holds this lock: "trevix" in ASCII.
constexpr const char* kLock = "SELECT pg_advisory_xact_lock(127996734730616)";

// Of jobs only what changes while they wait and are judged, so that a lease that is renewed writes
// a few bytes; with room left in each page for that (fillfactor), since none of it is in an index.
// Payloads stand apart, and are vacuumed soon after they are dropped: what was work is not to lie
// about. No text is bounded here: the service bounds all it writes.
constexpr const char* kFirst = R"sql(
CREATE TABLE jobs (
  seq           bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
  id            text NOT NULL UNIQUE,
  kind          text NOT NULL CHECK (kind IN ('grade', 'iterate')),
  status        text NOT NULL DEFAULT 'pending' CHECK (status IN ('pending', 'completed', 'failed')),
  run_id        text NOT NULL,
  iteration     integer NOT NULL DEFAULT 0,
  error         text,
  attempts      integer NOT NULL DEFAULT 0,
  created       bigint NOT NULL,
  finished      bigint,
  bytes         bigint NOT NULL,
  worker        text,
  lease_until   timestamptz,
  cancel_asked  boolean NOT NULL DEFAULT false,
  done          bigint NOT NULL DEFAULT 0,
  of_all        bigint NOT NULL DEFAULT 0,
  at_work       text NOT NULL DEFAULT ''
) WITH (fillfactor = 80);
CREATE INDEX jobs_pending ON jobs (seq) WHERE status = 'pending';
CREATE INDEX jobs_finished ON jobs (finished) WHERE status <> 'pending';
CREATE INDEX jobs_revising ON jobs (run_id) WHERE status = 'pending' AND kind = 'iterate';

CREATE TABLE payloads (
  job_id  text PRIMARY KEY REFERENCES jobs (id) ON DELETE CASCADE,
  bytes   bytea NOT NULL
) WITH (autovacuum_vacuum_scale_factor = 0, autovacuum_vacuum_threshold = 200,
        toast.autovacuum_vacuum_scale_factor = 0, toast.autovacuum_vacuum_threshold = 2000);

CREATE TABLE runs (
  id         text PRIMARY KEY,
  modality   text NOT NULL,
  vertical   text NOT NULL,
  policy_id  text NOT NULL,
  newest     bigint NOT NULL
);
CREATE INDEX runs_newest ON runs (newest);

CREATE TABLE iterations (
  run_id   text NOT NULL REFERENCES runs (id) ON DELETE CASCADE,
  number   integer NOT NULL,
  created  bigint NOT NULL,
  intent   text NOT NULL,
  band     text NOT NULL,
  score    double precision NOT NULL,
  words    bigint NOT NULL,
  lines    bigint NOT NULL,
  cells    bigint NOT NULL,
  known    boolean NOT NULL,
  PRIMARY KEY (run_id, number)
);
CREATE TABLE parts (
  run_id     text NOT NULL,
  number     integer NOT NULL,
  ordinal    integer NOT NULL,
  name       text NOT NULL,
  mime_type  text NOT NULL,
  bytes      bigint NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations (run_id, number) ON DELETE CASCADE
);
CREATE TABLE findings (
  run_id     text NOT NULL,
  number     integer NOT NULL,
  ordinal    integer NOT NULL,
  severity   integer NOT NULL,
  rule       text NOT NULL,
  criterion  text NOT NULL,
  place      text NOT NULL,
  evidence   text NOT NULL,
  detail     text NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations (run_id, number) ON DELETE CASCADE
);
CREATE TABLE coverage (
  run_id   text NOT NULL,
  number   integer NOT NULL,
  ordinal  integer NOT NULL,
  checked  boolean NOT NULL,
  subject  text NOT NULL,
  version  text NOT NULL,
  about    text NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations (run_id, number) ON DELETE CASCADE
);
CREATE TABLE works (
  seq      bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
  run_id   text NOT NULL,
  number   integer NOT NULL,
  ordinal  integer NOT NULL,
  created  bigint NOT NULL,
  is_text  boolean NOT NULL,
  bytes    bytea NOT NULL,
  UNIQUE (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations (run_id, number) ON DELETE CASCADE
);
CREATE INDEX works_created ON works (created, seq);

CREATE TABLE workers (
  id     text PRIMARY KEY,
  ready  boolean NOT NULL,
  until  timestamptz NOT NULL
);
CREATE TABLE clock (
  one            integer PRIMARY KEY CHECK (one = 1),
  believed       bigint NOT NULL,
  doubted_first  bigint,
  doubted_last   bigint
);
)sql";

// People: whose what is, their keys, and what was done with them. What was there before belongs to
// nobody, and nobody who asks with a key sees it.
constexpr const char* kPeople = R"sql(
ALTER TABLE jobs ADD COLUMN owner_group text NOT NULL DEFAULT '', ADD COLUMN owner_key text NOT NULL DEFAULT '';
ALTER TABLE runs ADD COLUMN owner_group text NOT NULL DEFAULT '';
CREATE INDEX jobs_of_key ON jobs (owner_key, created);
CREATE TABLE keys (
  name        text PRIMARY KEY,
  of_group    text NOT NULL,
  digest      text NOT NULL UNIQUE,
  scope       text NOT NULL CHECK (scope IN ('grade', 'read')),
  created     bigint NOT NULL,
  expires     bigint,
  revoked     bigint,
  per_minute  bigint NOT NULL,
  per_day     bigint NOT NULL
);
CREATE TABLE uses (
  at      timestamptz NOT NULL DEFAULT now(),
  key     text NOT NULL,
  action  text NOT NULL,
  status  integer NOT NULL
);
CREATE INDEX uses_at ON uses (at);
)sql";

constexpr std::array<const char*, 2> kSteps{kFirst, kPeople};

} // namespace

int sharedFormat() {
    return static_cast<int>(kSteps.size());
}

void bringUp(SqlConnection& connection) {
    bringUpTo(connection, sharedFormat());
}

void bringUpTo(SqlConnection& connection, int format) {
    SqlTransaction transaction(connection);
    connection.query(kLock);
    // Asked first: who may not make schemas may still use the one that somebody made.
    if (!connection.query("SELECT to_regnamespace('trevix') IS NOT NULL").boolean(0, 0)) {
        connection.execute("CREATE SCHEMA trevix");
    }
    if (!connection.query("SELECT to_regclass('trevix.format') IS NOT NULL").boolean(0, 0)) {
        connection.execute("CREATE TABLE format (one integer PRIMARY KEY CHECK (one = 1), "
                           "version integer NOT NULL); INSERT INTO format VALUES (1, 0)");
    }
    const auto version = connection.query("SELECT version FROM format").integer(0, 0);
    if (version > sharedFormat()) {
        throw StoreError("the run store was written by a newer trevix-local (format " +
                         std::to_string(version) + ")");
    }
    for (auto step = static_cast<std::size_t>(version); step < static_cast<std::size_t>(format);
         ++step) {
        connection.execute(kSteps.at(step));
    }
    connection.query("UPDATE format SET version = $1::integer WHERE version <> $1::integer",
                     {std::int64_t{std::max(format, static_cast<int>(version))}});
    transaction.commit();
}

} // namespace trevix
