// What one database holds, read at one moment. A value without behaviour; any thread once it is
// made.
#pragma once

#include "velmo_caps/SqliteConnection.h"
#include "velmo_caps/StoreSchema.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmo_caps {

struct SubdomainName {
    Face face = Face::kPcd;
    std::int32_t domain = 0;
    std::string name;

    friend bool operator==(const SubdomainName&, const SubdomainName&) = default;
};

// Stands for all keys of a subdomain where it hides something.
inline constexpr std::string_view kAllKeys;

struct StoredEntry {
    std::string key;
    std::optional<std::string> value; // nothing: hides what the machine's store has
};

struct StoredSubdomain {
    SubdomainName name;
    std::string collection;
    std::vector<StoredEntry> entries;
};

struct StoreRows {
    std::vector<StoredSubdomain> subdomains;
    std::int64_t counter = 0;
};

// In the order of addition. Throws SqliteError. Rows that cannot be ours (no name, a text without a
// key, domains out of range) are stepped over.
StoreRows readRows(SqliteConnection& database);

} // namespace velmo_caps
