// Any bytes as a store: a database that is none, cut, scribbled over, or made by somebody hostile.
// It is refused, or its rows are read and laid over each other.

#include "fuzz/Require.h"
#include "velmo_caps/StoreView.h"

#include <cstdint>
#include <cstring>

#include <sqlite3.h>

using namespace velmo_caps;
using fuzz::require;

namespace {

void check(const StoreView& view)
{
    for (const ViewSubdomain& each : view.subdomains()) {
        require(view.find(each.name) != nullptr && !each.entries.empty());
        for (const ViewEntry& entry : each.entries)
            require(each.find(entry.key) != nullptr);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    SqliteConnection database(":memory:", SqliteConnection::Opening::kMake);
    auto* const bytes = static_cast<unsigned char*>(sqlite3_malloc64(size + 1));
    std::memcpy(bytes, data, size);
    const auto length = static_cast<sqlite3_int64>(size);
    if (sqlite3_deserialize(
            database.handle(), "main", bytes, length, length, SQLITE_DESERIALIZE_FREEONCLOSE)
        != SQLITE_OK)
        return 0;
    try {
        schemaState(database);
        const StoreRows rows = readRows(database);
        check(StoreView(rows, {}));
        check(StoreView(rows, rows));
        check(StoreView({}, rows));
    } catch (const SqliteError&) {
        // Refused.
    }
    return 0;
}
