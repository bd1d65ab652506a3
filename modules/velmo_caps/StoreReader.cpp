#include "velmo_caps/StoreReader.h"

#include "platform/common/files/FileStatus.h"
#include "velmo_caps/VelmoCaps.h"

namespace velmo_caps {

namespace {

// Milliseconds that a call waits for another process.
constexpr int kNone = 0;
constexpr int kFull = kCapsPatience * 1000;

bool hasJournal(const std::string& path)
{
    std::error_code error;
    for (const char* const ending : {"-wal", "-journal"})
        if (const auto status = Pt::fileStatus(path + ending, error); status && status->size > 0)
            return true;
    return false;
}

std::int64_t modificationOf(const std::string& path)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    return status ? status->modified : 0;
}

} // namespace

void StoreReader::forget()
{
    m_counterQuery.reset();
    m_dataVersion.reset();
    m_connection.reset();
    m_version.reset();
    m_counter.reset();
    m_frozen.reset();
    m_rows = {};
    ++m_edition;
    m_isStale = true;
    m_problem = StoreProblem::kNone;
}

bool StoreReader::look(const StorePlace& place)
{
    const StoreCondition condition = conditionOf(place);
    const bool isAnother = !(place == m_place) || !(condition == m_condition) || isThawed();
    if (isAnother) {
        forget();
        m_place = place;
        m_condition = condition;
        if (condition.problem != StoreProblem::kMissing)
            m_problem = condition.problem;
    }
    if (condition.problem != StoreProblem::kNone)
        return isAnother;
    return lookInside() || isAnother;
}

// A connection that takes no locks does not see writers.
bool StoreReader::isThawed() const
{
    return m_frozen && (*m_frozen != modificationOf(m_place.path) || hasJournal(m_place.path));
}

bool StoreReader::lookInside()
{
    const StoreProblem problemBefore = m_problem;
    const auto counterBefore = m_counter;
    const bool hasWaited = problemBefore == StoreProblem::kLocked && !m_isStale;
    try {
        if (!m_connection)
            connect(kNone);
        m_connection->setPatience(kNone);
        if (!lookAtCounter())
            return false;
        m_problem = StoreProblem::kNone;
    } catch (const StoreError& error) {
        fail(error.problem());
    } catch (const SqliteError& error) {
        // Somebody writes just now: what was seen last holds until the next look.
        if (error.problem() == StoreProblem::kLocked && counterBefore)
            return false;
        fail(error.problem());
        // Worth one wait, and then no more until something is different.
        m_isStale = m_problem == StoreProblem::kLocked && !hasWaited;
    }
    return m_counter != counterBefore || m_problem != problemBefore;
}

// Whether the file was written since the last look.
bool StoreReader::lookAtCounter()
{
    m_dataVersion->step();
    const std::int64_t version = m_dataVersion->number(0);
    m_dataVersion->reset();
    if (m_version == version && m_counter)
        return false;
    const std::int64_t counter = m_counterQuery->step() ? m_counterQuery->number(0) : 0;
    m_counterQuery->reset();
    m_counter = counter;
    m_version = version;
    m_isStale = true;
    return true;
}

void StoreReader::open(SqliteConnection::Opening opening, int patience)
{
    m_connection.emplace(m_place.path, opening);
    m_connection->setPatience(patience);
    requireStore();
    m_dataVersion.emplace(m_connection->prepare("PRAGMA data_version"));
    m_counterQuery.emplace(m_connection->prepare("SELECT counter FROM change"));
}

void StoreReader::connect(int patience)
{
    requireTrustedFolders(m_place);
    try {
        open(SqliteConnection::Opening::kExisting, patience);
    } catch (const SqliteError& error) {
        // In a folder where nothing can be written, a database of the user's journal mode opens
        // only for those who promise that nobody else writes.
        if (!error.isUnopened() || hasJournal(m_place.path))
            throw;
        openFrozen(patience);
    }
}

void StoreReader::openFrozen(int patience)
{
    m_connection.reset();
    const std::int64_t modified = modificationOf(m_place.path);
    open(SqliteConnection::Opening::kUnchanging, patience);
    m_frozen = modified;
}

void StoreReader::requireStore()
{
    const SchemaState state = schemaState(*m_connection);
    if (state.isEmpty)
        throw StoreError(StoreProblem::kMissing, m_place.path);
    if (!state.isStore)
        throw StoreError(StoreProblem::kForeign, m_place.path);
    if (state.lacksVersion())
        throw StoreError(StoreProblem::kNoVersion, m_place.path);
    if (state.version <= kSchemaVersion)
        return;
    // A newer one is read as far as it still has what this version asks for.
    try {
        m_connection->prepare("SELECT counter FROM change");
        m_connection->prepare("SELECT e.value, s.collection FROM subdomain s JOIN entry e");
    } catch (const SqliteError&) {
        throw StoreError(StoreProblem::kNewerSchema, m_place.path);
    }
}

// The older rows serve where the next look may find better.
void StoreReader::fail(StoreProblem problem)
{
    const bool keepsRows = problem == StoreProblem::kLocked || problem == StoreProblem::kFailing;
    StoreRows rows = keepsRows ? std::move(m_rows) : StoreRows();
    forget();
    m_rows = std::move(rows);
    m_isStale = false;
    m_problem = problem == StoreProblem::kMissing ? StoreProblem::kNone : problem;
}

void StoreReader::refresh()
{
    if (!m_isStale)
        return;
    m_isStale = false;
    if (m_condition.problem != StoreProblem::kNone)
        return;
    try {
        if (!m_connection)
            connect(kFull);
        read();
    } catch (const StoreError& error) {
        fail(error.problem());
    } catch (const SqliteError& error) {
        fail(error.problem());
    }
}

// An exception costs the connection, and with it the transaction.
void StoreReader::read()
{
    m_connection->setPatience(kFull);
    m_connection->run("BEGIN");
    m_rows = readRows(*m_connection);
    m_connection->run("COMMIT");
    ++m_edition;
    m_problem = StoreProblem::kNone;
}

} // namespace velmo_caps
