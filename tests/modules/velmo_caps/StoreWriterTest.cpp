#include "velmo_caps/StoreWriter.h"

#include "modules/velmo_caps/StoreFixture.h"

namespace velmo_caps {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class StoreWriterTest : public StoreFixture {
protected:
    static std::string journalOf(const std::string& path)
    {
        SqliteConnection connection(path, SqliteConnection::Opening::kExisting);
        return connection.text("PRAGMA journal_mode");
    }

    static std::int64_t counterOf(const std::string& path)
    {
        SqliteConnection connection(path, SqliteConnection::Opening::kExisting);
        return connection.number("SELECT counter FROM change");
    }

    static void writeOver(const std::string& path, std::streamoff place, const std::string& bytes)
    {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(place);
        file << bytes;
    }
};

TEST_F(StoreWriterTest, KeepsTextsOfAnyBytes)
{
    const std::string odd = "\"<>&'\n\t\xC3\xA4\xFF " + std::string(100000, 'x');
    setUser(kTevoro, "DisplayName", odd);
    setUser(kTevoro, "Empty", "");
    EXPECT_EQ(valueNow(kTevoro, "DisplayName"), odd);
    EXPECT_EQ(valueNow(kTevoro, "Empty"), "");
}

TEST_F(StoreWriterTest, SaysThatAValueIsTooLong)
{
    constexpr std::size_t kLimit = std::size_t{16} * 1024 * 1024;
    setUser(kTevoro, "Path", "a");
    for (const std::size_t length : {kLimit - 1, kLimit, kLimit + 1})
        EXPECT_EQ(problemOf([&] { setUser(kTevoro, "Path", std::string(length, 'x')); }),
            StoreProblem::kTooLong);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "a");
    setUser(kTevoro, "Path", std::string(kLimit - 1000, 'x'));
    EXPECT_EQ(valueNow(kTevoro, "Path").size(), kLimit - 1000);
}

TEST_F(StoreWriterTest, AChangeThatIsNotCommittedLeavesNothing)
{
    setUser(kTevoro, "Path", "old");
    StoreWriter writer(userStore());
    {
        StoreWriter::Change change(writer);
        change.set(kTevoro, "Path", "new");
        change.set(kViewer, "Path", "new");
    }
    EXPECT_EQ(valueNow(kTevoro, "Path"), "old");
    EXPECT_EQ(valueNow(kViewer, "Path"), "(none)");
}

TEST_F(StoreWriterTest, RemovesAKeyAndWithTheLastOneTheSubdomain)
{
    setUser(kTevoro, "Path", "a");
    setUser(kTevoro, "DisplayName", "b");
    StoreWriter writer(userStore());
    StoreWriter::Change change(writer);
    EXPECT_TRUE(change.remove(kTevoro, "Path"));
    EXPECT_FALSE(change.remove(kTevoro, "Path"));
    EXPECT_FALSE(change.remove(kMissing, "Path"));
    EXPECT_TRUE(change.remove(kTevoro, "DisplayName"));
    change.commit();
    SqliteConnection connection(userFile(), SqliteConnection::Opening::kExisting);
    EXPECT_EQ(connection.number("SELECT count(*) FROM subdomain"), 0);
}

TEST_F(StoreWriterTest, EveryCommitRaisesTheCounterAlsoWithTheClockBehind)
{
    setUser(kTevoro, "Path", "a");
    SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
        .run("UPDATE change SET counter = 4000000000");
    setUser(kTevoro, "Path", "a");
    EXPECT_EQ(counterOf(userFile()), 4000000001);
}

TEST_F(StoreWriterTest, TheUsersHasALogAndTheMachinesAJournal)
{
    setUser(kTevoro, "Path", "a");
    EXPECT_EQ(journalOf(userFile()), "wal");
    if (!isRoot())
        GTEST_SKIP() << "root alone makes the machine's store";
    setMachine(kTevoro, "Path", "a");
    EXPECT_EQ(journalOf(machineStore().path), "delete");
    SqliteConnection(machineStore().path, SqliteConnection::Opening::kExisting)
        .text("PRAGMA journal_mode = WAL");
    setMachine(kTevoro, "Path", "b");
    EXPECT_EQ(journalOf(machineStore().path), "delete");
}

TEST_F(StoreWriterTest, KeepsADamagedStoreAsideAndTellsOfIt)
{
    setUser(kTevoro, "Path", "a");
    const std::string before = "not a database, but somebody's bytes";
    for (const char* const name : {"velmo_caps.db.damaged-1", "velmo_caps.db.damaged-2"}) {
        std::ofstream(userFile(), std::ios::trunc) << before;
        std::string told;
        StoreWriter writer(userStore(), [&](const std::string& line) { told += line; });
        EXPECT_THAT(told, HasSubstr(name));
        EXPECT_EQ(test::read(m_folder.path("user/Velmo/Caps/") + name), before);
    }
    setUser(kViewer, "Path", "b");
    EXPECT_EQ(valueNow(kViewer, "Path"), "b");
    EXPECT_EQ(valueNow(kTevoro, "Path"), "(none)");
}

TEST_F(StoreWriterTest, FindsDamageBehindASoundBeginning)
{
    for (int number = 0; number < 200; ++number)
        setUser(kTevoro, "Key" + std::to_string(number), std::string(100, 'v'));
    const auto size = std::filesystem::file_size(userFile());
    writeOver(userFile(), static_cast<std::streamoff>(size) - 4096, std::string(4096, '\xA5'));
    bool isTold = false;
    StoreWriter writer(userStore(), [&](const std::string&) { isTold = true; });
    EXPECT_TRUE(isTold);
}

// One byte counts as none for SQLite.
TEST_F(StoreWriterTest, ACutStoreIsKeptAsideWhereverItIsCut)
{
    for (int number = 0; number < 50; ++number)
        setUser(kTevoro, "Key" + std::to_string(number), std::string(100, 'v'));
    const std::string whole = test::read(userFile());
    for (std::size_t length = 2; length < whole.size(); length = length * 3 + 100) {
        std::ofstream(userFile(), std::ios::trunc | std::ios::binary) << whole.substr(0, length);
        EXPECT_EQ(valueNow(kTevoro, "Key49"), "(none)") << length;
        bool isTold = false;
        StoreWriter writer(userStore(), [&](const std::string&) { isTold = true; });
        EXPECT_TRUE(isTold) << length;
    }
}

TEST_F(StoreWriterTest, AFileThatIsNoStoreStaysAsItIsWhereAPersonNamesIt)
{
    const std::string file = m_folder.write("notes.txt", "my notes");
    EXPECT_EQ(problemOf([&] {
        StoreWriter writer({StoreKind::kNamed, file});
    }),
        StoreProblem::kForeign);
    EXPECT_EQ(test::read(file), "my notes");
    const std::string other = m_folder.path("other.db");
    SqliteConnection(other, SqliteConnection::Opening::kMake).run("CREATE TABLE theirs (a)");
    const std::string bytes = test::read(other);
    EXPECT_EQ(problemOf([&] {
        StoreWriter writer({StoreKind::kNamed, other});
    }),
        StoreProblem::kForeign);
    EXPECT_EQ(test::read(other), bytes);
}

TEST_F(StoreWriterTest, ANamedStoreThatIsDamagedIsKeptAsideBecauseItSaysWhatItWas)
{
    const StorePlace place{StoreKind::kNamed, m_folder.path("named.db")};
    setIn(place, kTevoro, "Path", "a");
    std::filesystem::resize_file(place.path, 5000);
    bool isTold = false;
    StoreWriter writer(place, [&](const std::string&) { isTold = true; });
    EXPECT_TRUE(isTold);
    EXPECT_EQ(std::filesystem::file_size(place.path + ".damaged-1"), 5000U);
}

TEST_F(StoreWriterTest, WaitsForAnotherWriterAndThenSaysThatTheStoreIsLocked)
{
    setUser(kTevoro, "Path", "a");
    SqliteConnection other(userFile(), SqliteConnection::Opening::kExisting);
    other.run("BEGIN IMMEDIATE");
    StoreWriter writer(userStore());
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(problemOf([&] { StoreWriter::Change change(writer); }), StoreProblem::kLocked);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(2900));
    other.run("COMMIT");
    EXPECT_EQ(problemOf([&] { StoreWriter::Change change(writer); }), StoreProblem::kNone);
}

TEST_F(StoreWriterTest, KnowsWhenItsFileWasReplaced)
{
    StoreWriter writer(userStore());
    EXPECT_TRUE(writer.isAtItsPlace());
    std::filesystem::rename(userFile(), userFile() + ".old");
    EXPECT_FALSE(writer.isAtItsPlace());
}

TEST_F(StoreWriterTest, SaysThatAFolderCannotBeWritten)
{
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
    const int problem = test::askedAsOrdinaryUser(
        [] { return static_cast<int>(problemOf([] { StoreWriter writer(userStore()); })); });
    EXPECT_EQ(
        problem, static_cast<int>(isRoot() ? StoreProblem::kNoPermission : StoreProblem::kNone));
}

} // namespace
} // namespace velmo_caps
