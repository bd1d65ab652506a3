#include "velmo_caps/StoreSchema.h"

#include <algorithm>
#include <array>

namespace velmo_caps {

namespace {

// The step at place N leads from version N to N + 1. Landed steps never change.
constexpr std::array<const char*, kSchemaVersion> kSteps{
    "CREATE TABLE subdomain ("
    "  id INTEGER PRIMARY KEY,"
    "  face INTEGER NOT NULL,"
    "  domain INTEGER NOT NULL,"
    "  name TEXT NOT NULL,"
    "  collection TEXT NOT NULL DEFAULT '',"
    "  UNIQUE (face, domain, name));"
    "CREATE TABLE entry ("
    "  id INTEGER PRIMARY KEY,"
    "  subdomain INTEGER NOT NULL REFERENCES subdomain (id),"
    "  key TEXT NOT NULL,"
    "  value TEXT,"
    "  UNIQUE (subdomain, key));"
    "CREATE TABLE change (counter INTEGER NOT NULL);"
    "INSERT INTO change VALUES (0);",
};

void setMark(SqliteConnection& database)
{
    const std::string sql = "PRAGMA application_id = " + std::to_string(kApplicationId)
        + "; PRAGMA user_version = " + std::to_string(kSchemaVersion);
    database.run(sql.c_str());
}

} // namespace

SchemaState schemaState(SqliteConnection& database)
{
    SchemaState state;
    state.version = database.number("PRAGMA user_version");
    const std::int64_t id = database.number("PRAGMA application_id");
    state.isStore = id == kApplicationId;
    state.hasTables = database.number("SELECT count(*) FROM sqlite_schema") != 0;
    state.isEmpty = (id == 0 || state.isStore) && state.version == 0 && !state.hasTables;
    return state;
}

void migrate(SqliteConnection& database, const std::string& path)
{
    if (const SchemaState state = schemaState(database);
        state.isStore && state.version == kSchemaVersion)
        return;
    database.run("BEGIN IMMEDIATE");
    // Looked at again: another process may have been faster.
    const SchemaState state = schemaState(database);
    if (!state.isStore && !state.isEmpty)
        throw StoreError(StoreProblem::kForeign, path);
    if (state.lacksVersion())
        throw StoreError(StoreProblem::kNoVersion, path);
    if (state.version > kSchemaVersion)
        throw StoreError(StoreProblem::kNewerSchema, path);
    for (auto step = static_cast<std::size_t>(std::max<std::int64_t>(state.version, 0));
         step < kSteps.size();
         ++step)
        database.run(kSteps[step]);
    setMark(database);
    database.run("COMMIT");
}

} // namespace velmo_caps
