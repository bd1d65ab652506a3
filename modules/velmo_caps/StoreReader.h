// Follows one store for reading, over a connection that stays open: whether it has changed, which
// costs little, and what it holds. What cannot be read leaves what was read before, or nothing, and
// a problem to tell; nothing is thrown but std::bad_alloc. One thread at a time.
#pragma once

#include "velmo_caps/SqliteConnection.h"
#include "velmo_caps/StorePlace.h"
#include "velmo_caps/StoreRows.h"

#include <cstdint>
#include <optional>

namespace velmo_caps {

class StoreReader {
public:
    // Looks at the store without waiting for anybody. True if it was written, has come, gone or
    // become readable or unreadable since the last look.
    bool look(const StorePlace& place);

    // Reads what has changed; may wait for another process, but not again and again for the same.
    void refresh();
    const StoreRows& rows() const { return m_rows; }
    // Another number for other rows.
    std::uint64_t edition() const { return m_edition; }

    // The newest counter that was seen.
    std::int64_t counter() const { return m_counter.value_or(0); }
    // Why rows() lacks what is in the store; kNone, also for one that is missing.
    StoreProblem problem() const { return m_problem; }

private:
    void forget();
    void connect(int patience);
    void requireStore();
    bool lookInside();
    bool lookAtCounter();
    bool isThawed() const;
    void open(SqliteConnection::Opening opening, int patience);
    void openFrozen(int patience);
    void fail(StoreProblem problem);
    void read();

    StorePlace m_place;
    StoreCondition m_condition;
    std::optional<SqliteConnection> m_connection;
    std::optional<SqliteStatement> m_dataVersion; // of m_connection
    std::optional<SqliteStatement> m_counterQuery;
    std::optional<std::int64_t> m_version; // the connection's, at the last look
    std::optional<std::int64_t> m_counter; // nothing: not read yet, or not well
    std::optional<std::int64_t> m_frozen; // time of modification of a file that nobody can write
    bool m_isStale = false; // rows are older than the store
    std::uint64_t m_edition = 0;
    StoreRows m_rows;
    StoreProblem m_problem = StoreProblem::kNone;
};

} // namespace velmo_caps
