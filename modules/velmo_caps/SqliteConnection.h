// One connection to one database file, and the statements that it runs. Both belong to one thread
// at a time; statements end before their connection. What SQLite refuses is thrown as SqliteError.
//
// Nothing that a file may contain runs as code: triggers, views and functions in a schema are off.
#pragma once

#include "velmo_caps/StoreProblem.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace velmo_caps {

class SqliteError : public std::runtime_error {
public:
    // `code` as SQLite has it, extended.
    SqliteError(int code, const std::string& text)
        : std::runtime_error(text)
        , m_code(code)
    {
    }

    StoreProblem problem() const;
    // The database could not be opened at all: for want of permission or of shared memory.
    bool isUnopened() const;
    bool hasNoSharedMemory() const;

private:
    int m_code;
};

class SqliteStatement {
public:
    explicit SqliteStatement(sqlite3_stmt* statement)
        : m_statement(statement)
    {
    }

    // Places count from 1. The text is borrowed until the statement is run again or ends.
    SqliteStatement& bind(int place, std::string_view text);
    SqliteStatement& bind(int place, std::int64_t number);
    SqliteStatement& bindNull(int place);

    // To the next row; false behind the last one.
    bool step();
    // To the end, and back to the beginning, with its bindings forgotten.
    void run();
    void reset();

    // Columns count from 0. A text ends at its first NUL; nothing for NULL.
    std::int64_t number(int column) const;
    std::optional<std::string> text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

class SqliteConnection {
public:
    enum class Opening {
        kExisting, // to read and, where the file allows it, to write
        kMake, // the same, and makes the file
        kUnchanging, // to read, in a folder where nothing can be written: no locks, no journals
    };

    SqliteConnection(const std::string& path, Opening opening);

    // For the calls from here on. 0: none waits.
    void setPatience(int milliseconds);

    // Statements without results.
    void run(const char* sql);
    SqliteStatement prepare(const char* sql);
    // The first column of the first row; 0 when there is none.
    std::int64_t number(const char* sql);
    std::string text(const char* sql);
    // Rows changed since it was opened.
    std::int64_t changes() const;
    bool isInTransaction() const;

    sqlite3* handle() const { return m_database.get(); }

private:
    [[noreturn]] void fail(int code) const;

    struct Close {
        void operator()(sqlite3* database) const;
    };
    std::unique_ptr<sqlite3, Close> m_database;
};

} // namespace velmo_caps
