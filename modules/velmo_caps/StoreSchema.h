// The tables of a store, in every version that there ever was, and the way from each to the newest.
//
// subdomain: (face, domain, name) in the order of addition; for a payload its collection, too.
// entry: (subdomain, key) and the text, in the order of addition. A NULL hides what the machine's
// store has there; under an empty key, all that it has in the subdomain. change: one number that
// rises with every write.
#pragma once

#include "velmo_caps/SqliteConnection.h"

#include <cstdint>

namespace velmo_caps {

// Marks a database as a store: "VLMC".
inline constexpr std::int64_t kApplicationId = 0x564C4D43;
inline constexpr std::int64_t kSchemaVersion = 1;

enum class Face : std::int32_t { kPcd = 0, kCaps = 1 };

// What a database is; reads it.
struct SchemaState {
    // A store with data, and with no version that there ever was.
    bool lacksVersion() const { return isStore && version <= 0 && hasTables; }

    bool isEmpty = false; // nothing in it yet
    bool isStore = false;
    bool hasTables = false;
    std::int64_t version = 0;
};
SchemaState schemaState(SqliteConnection& database);

// Brings an empty or older store to the newest version, in one transaction. Throws StoreError for
// what is foreign or newer. `path` is for its text.
void migrate(SqliteConnection& database, const std::string& path);

} // namespace velmo_caps
