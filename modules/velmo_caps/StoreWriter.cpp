#include "velmo_caps/StoreWriter.h"

#include "platform/common/services/Clock.h"
#include "velmo_caps/DamagedStore.h"
#include "velmo_caps/StoreSchema.h"
#include "velmo_caps/VelmoCaps.h"

namespace velmo_caps {

namespace {

constexpr int kMillisecondsPerSecond = 1000;

// Runs work; what SQLite refuses becomes a problem of this store.
template <typename Work>
auto asStoreError(const std::string& path, Work work)
{
    try {
        return work();
    } catch (const SqliteError& error) {
        throw StoreError(error.problem(), path);
    }
}

} // namespace

StoreWriter::StoreWriter(StorePlace place, const std::function<void(const std::string&)>& told)
    : m_place(std::move(place))
    , m_told(told)
{
    openOrBegin();
}

void StoreWriter::openOrBegin()
{
    prepareToWrite(m_place);
    try {
        open();
    } catch (const StoreError& error) {
        m_database.reset();
        if (error.problem() != StoreProblem::kDamaged)
            throw;
        // Asked again behind the lock: another process may have done it already.
        const auto isDamaged = [this] {
            try {
                open();
            } catch (const StoreError& again) {
                m_database.reset();
                return again.problem() == StoreProblem::kDamaged;
            }
            return false;
        };
        const std::string kept = keepDamagedStoreAside(m_place, isDamaged);
        if (!kept.empty() && m_told)
            m_told("the store " + m_place.path + " was damaged; it is kept as " + kept
                + ", and a new one was begun");
        if (!m_database) {
            prepareToWrite(m_place);
            open();
        }
    }
    m_condition = conditionOf(m_place);
}

void StoreWriter::open()
{
    asStoreError(m_place.path, [this] {
        if (m_place.kind == StoreKind::kMachine) {
            m_draft.reset(); // before its lock is taken again
            m_draft.emplace(m_place.path);
        }
        connect();
        leadBackWithoutSharedMemory([this] { m_database->number("PRAGMA user_version"); });
        check();
        // Before the journal: what is foreign or newer stays as it is to the last byte.
        migrate(*m_database, m_place.path);
        leadBackWithoutSharedMemory([this] { chooseJournal(); });
    });
}

void StoreWriter::connect()
{
    m_database.emplace(m_draft ? m_draft->file() : m_place.path,
        m_place.kind == StoreKind::kNamed ? SqliteConnection::Opening::kMake
                                          : SqliteConnection::Opening::kExisting);
    m_database->setPatience(kCapsPatience * kMillisecondsPerSecond);
}

void StoreWriter::check()
{
    const std::string answer = m_database->text("PRAGMA quick_check(1)");
    if (answer != "ok")
        throw StoreError(StoreProblem::kDamaged, m_place.path);
}

// The user's readers and writers do not wait for each other. The machine's store is read by people
// who cannot write beside it, which a database in that mode asks of its readers.
void StoreWriter::chooseJournal()
{
    if (m_place.kind == StoreKind::kMachine)
        m_database->run("PRAGMA journal_mode = DELETE");
    if (m_place.kind != StoreKind::kUser)
        return;
    try {
        m_database->run("PRAGMA journal_mode = WAL");
        m_database->number("SELECT counter FROM change"); // tries it
    } catch (const SqliteError& error) {
        // Somebody reads just now: the journal stays as it is until the next time.
        if (error.problem() != StoreProblem::kLocked)
            throw;
    }
}

// Some file systems have no shared memory for the user's journal mode: alone with the file, the
// store can be led back to the mode that needs none.
template <typename Work>
void StoreWriter::leadBackWithoutSharedMemory(Work work)
{
    try {
        work();
    } catch (const SqliteError& error) {
        if (!error.hasNoSharedMemory())
            throw;
        connect();
        m_database->run("PRAGMA locking_mode = EXCLUSIVE");
        m_database->run("PRAGMA journal_mode = DELETE");
        connect(); // lets the lock go
    }
}

bool StoreWriter::isAtItsPlace() const
{
    return conditionOf(m_place) == m_condition;
}

// The file under the name is another one from here on. Statements may outlive the connection: they
// have nothing left to do.
void StoreWriter::publish()
{
    m_database.reset();
    m_draft->publish();
    m_draft.reset();
    m_condition = conditionOf(m_place);
}

// After a change was published the next one begins with a copy again.
StoreWriter& StoreWriter::Change::ready(StoreWriter& writer)
{
    if (!writer.m_database)
        writer.openOrBegin();
    return writer;
}

SqliteStatement StoreWriter::Change::prepared(StoreWriter& writer, const char* sql)
{
    return asStoreError(writer.m_place.path, [&] { return writer.m_database->prepare(sql); });
}

StoreWriter::Change::Change(StoreWriter& writer)
    : m_writer(ready(writer))
    , m_makeSubdomain(
          prepared(writer, "INSERT INTO subdomain (face, domain, name) VALUES (?1, ?2, ?3)"))
    , m_findSubdomain(prepared(
          writer, "SELECT id FROM subdomain WHERE face = ?1 AND domain = ?2 AND name = ?3"))
    , m_setEntry(prepared(writer,
          "INSERT INTO entry (subdomain, key, value) VALUES (?1, ?2, ?3) "
          "ON CONFLICT (subdomain, key) DO UPDATE SET value = excluded.value"))
    , m_removeEntry(prepared(writer, "DELETE FROM entry WHERE subdomain = ?1 AND key = ?2"))
    , m_removeEmpty(prepared(writer,
          "DELETE FROM subdomain WHERE id = ?1 "
          "AND NOT EXISTS (SELECT 1 FROM entry WHERE subdomain = ?1)"))
{
    asStoreError(m_writer.m_place.path, [&] { m_writer.m_database->run("BEGIN IMMEDIATE"); });
}

StoreWriter::Change::~Change()
{
    if (!m_writer.m_database || !m_writer.m_database->isInTransaction())
        return;
    try {
        m_writer.m_database->run("ROLLBACK");
    } catch (const SqliteError&) {
        // The next opening of the file rolls back what this one cannot.
        m_writer.m_condition = {};
    }
}

std::int64_t StoreWriter::Change::idOf(const SubdomainName& subdomain)
{
    m_findSubdomain.bind(1, static_cast<std::int64_t>(subdomain.face));
    m_findSubdomain.bind(2, std::int64_t{subdomain.domain}).bind(3, subdomain.name);
    const std::int64_t id = m_findSubdomain.step() ? m_findSubdomain.number(0) : 0;
    m_findSubdomain.reset();
    return id;
}

void StoreWriter::Change::setNullable(
    const SubdomainName& subdomain, std::string_view key, const std::string_view* value)
{
    asStoreError(m_writer.m_place.path, [&] {
        std::int64_t id = idOf(subdomain);
        if (id == 0) {
            m_makeSubdomain.bind(1, static_cast<std::int64_t>(subdomain.face));
            m_makeSubdomain.bind(2, std::int64_t{subdomain.domain}).bind(3, subdomain.name).run();
            id = idOf(subdomain);
        }
        m_setEntry.bind(1, id).bind(2, key);
        value != nullptr ? m_setEntry.bind(3, *value) : m_setEntry.bindNull(3);
        m_setEntry.run();
    });
}

void StoreWriter::Change::set(
    const SubdomainName& subdomain, std::string_view key, std::string_view value)
{
    setNullable(subdomain, key, &value);
}

void StoreWriter::Change::hide(const SubdomainName& subdomain, std::string_view key)
{
    setNullable(subdomain, key, nullptr);
}

void StoreWriter::Change::hideAll(const SubdomainName& subdomain)
{
    setNullable(subdomain, kAllKeys, nullptr);
}

void StoreWriter::Change::show(const SubdomainName& subdomain)
{
    asStoreError(m_writer.m_place.path, [&] {
        SqliteStatement statement =
            prepared(m_writer, "DELETE FROM entry WHERE subdomain = ?1 AND value IS NULL");
        statement.bind(1, idOf(subdomain)).run();
    });
}

bool StoreWriter::Change::remove(const SubdomainName& subdomain, std::string_view key)
{
    return asStoreError(m_writer.m_place.path, [&] {
        const std::int64_t before = m_writer.m_database->changes();
        const std::int64_t id = idOf(subdomain);
        m_removeEntry.bind(1, id).bind(2, key).run();
        m_removeEmpty.bind(1, id).run();
        return m_writer.m_database->changes() != before;
    });
}

void StoreWriter::Change::setCollection(const std::string& payload, std::string_view collection)
{
    asStoreError(m_writer.m_place.path, [&] {
        SqliteStatement statement =
            prepared(m_writer, "UPDATE subdomain SET collection = ?1 WHERE face = 1 AND name = ?2");
        statement.bind(1, collection).bind(2, payload).run();
    });
}

void StoreWriter::Change::commit()
{
    asStoreError(m_writer.m_place.path, [&] {
        // A time where the clock is right, and higher than before in any case.
        SqliteStatement raise =
            prepared(m_writer, "UPDATE change SET counter = max(counter + 1, ?1)");
        raise.bind(1, Pt::systemClock().wallSeconds()).run();
        m_writer.m_database->run("COMMIT");
    });
    if (m_writer.m_draft)
        m_writer.publish();
}

} // namespace velmo_caps
