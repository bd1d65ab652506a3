#include "velmo_caps/SqliteConnection.h"

#include <sqlite3.h>

namespace velmo_caps {

namespace {

// More than any specifier, path or name; a row of a hostile file is to cost no more.
constexpr int kMaxValue = 16 * 1024 * 1024;

bool isPlain(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return c != '%' && c != '?' && c != '#' && byte >= 0x20 && byte < 0x7f;
}

void appendEncoded(std::string& to, char c)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    to += '%';
    to += kDigits[byte >> 4U];
    to += kDigits[byte & 15U];
}

std::string percentEncoded(std::string_view path)
{
    std::string result;
    for (const char c : path) {
        if (isPlain(c))
            result += c;
        else
            appendEncoded(result, c);
    }
    return result;
}

void forbidCode(sqlite3* database)
{
    for (const int option : {SQLITE_DBCONFIG_ENABLE_TRIGGER,
             SQLITE_DBCONFIG_ENABLE_VIEW,
             SQLITE_DBCONFIG_TRUSTED_SCHEMA})
        sqlite3_db_config(database, option, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, kMaxValue);
}

} // namespace

StoreProblem SqliteError::problem() const
{
    switch (m_code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return StoreProblem::kLocked;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return StoreProblem::kDamaged;
    case SQLITE_ERROR: // all statements are right where the tables are there
        return StoreProblem::kNoTables;
    case SQLITE_TOOBIG:
        return StoreProblem::kTooLong;
    case SQLITE_FULL:
        return StoreProblem::kFull;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_AUTH:
        return StoreProblem::kNoPermission;
    default:
        return StoreProblem::kFailing;
    }
}

bool SqliteError::isUnopened() const
{
    return (m_code & 0xff) == SQLITE_CANTOPEN || (m_code & 0xff) == SQLITE_READONLY
        || hasNoSharedMemory();
}

bool SqliteError::hasNoSharedMemory() const
{
    return m_code == SQLITE_IOERR_SHMOPEN || m_code == SQLITE_IOERR_SHMSIZE
        || m_code == SQLITE_IOERR_SHMLOCK || m_code == SQLITE_IOERR_SHMMAP;
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SqliteStatement& SqliteStatement::bind(int place, std::string_view text)
{
    // A view of nothing may have a null pointer, which would bind NULL.
    const char* const bytes = text.empty() ? "" : text.data();
    if (sqlite3_bind_text64(
            m_statement.get(), place, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8)
        != SQLITE_OK)
        throw SqliteError(SQLITE_TOOBIG, "a text is too long");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int place, std::int64_t number)
{
    sqlite3_bind_int64(m_statement.get(), place, number);
    return *this;
}

SqliteStatement& SqliteStatement::bindNull(int place)
{
    sqlite3_bind_null(m_statement.get(), place);
    return *this;
}

bool SqliteStatement::step()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code == SQLITE_DONE)
        return false;
    sqlite3* const database = sqlite3_db_handle(m_statement.get());
    const std::string text = sqlite3_errmsg(database); // the reset may change it
    sqlite3_reset(m_statement.get());
    throw SqliteError(code, text);
}

void SqliteStatement::run()
{
    while (step()) { }
    reset();
}

void SqliteStatement::reset()
{
    sqlite3_reset(m_statement.get());
    sqlite3_clear_bindings(m_statement.get());
}

std::int64_t SqliteStatement::number(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

std::optional<std::string> SqliteStatement::text(int column) const
{
    const unsigned char* const text = sqlite3_column_text(m_statement.get(), column);
    if (text == nullptr)
        return std::nullopt;
    return reinterpret_cast<const char*>(text);
}

void SqliteConnection::Close::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

SqliteConnection::SqliteConnection(const std::string& path, Opening opening)
{
    int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    std::string name = path;
    if (opening == Opening::kUnchanging) {
        flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
        name = "file://" + percentEncoded(path) + "?immutable=1";
    } else {
        flags |= SQLITE_OPEN_READWRITE | (opening == Opening::kMake ? SQLITE_OPEN_CREATE : 0);
    }
    sqlite3* database = nullptr;
    const int code = sqlite3_open_v2(name.c_str(), &database, flags, nullptr);
    m_database.reset(database);
    if (code != SQLITE_OK)
        throw SqliteError(code, sqlite3_errstr(code));
    forbidCode(database);
}

void SqliteConnection::setPatience(int milliseconds)
{
    sqlite3_busy_timeout(m_database.get(), milliseconds);
}

void SqliteConnection::fail(int code) const
{
    throw SqliteError(code, sqlite3_errmsg(m_database.get()));
}

void SqliteConnection::run(const char* sql)
{
    if (const int code = sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr);
        code != SQLITE_OK)
        fail(code);
}

SqliteStatement SqliteConnection::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v3(m_database.get(), sql, -1, 0, &statement, nullptr);
    SqliteStatement result(statement);
    if (code != SQLITE_OK)
        fail(code);
    return result;
}

std::int64_t SqliteConnection::number(const char* sql)
{
    SqliteStatement statement = prepare(sql);
    return statement.step() ? statement.number(0) : 0;
}

std::string SqliteConnection::text(const char* sql)
{
    SqliteStatement statement = prepare(sql);
    return statement.step() ? statement.text(0).value_or(std::string()) : std::string();
}

std::int64_t SqliteConnection::changes() const
{
    return sqlite3_total_changes64(m_database.get());
}

bool SqliteConnection::isInTransaction() const
{
    return sqlite3_get_autocommit(m_database.get()) == 0;
}

} // namespace velmo_caps
