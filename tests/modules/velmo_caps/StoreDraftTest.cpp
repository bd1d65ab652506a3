// The machine's store is written as a new file: who reads it holds nobody up.
#include "velmo_caps/StoreDraft.h"

#include "modules/velmo_caps/FaultyVfs.h"
#include "modules/velmo_caps/StoreFixture.h"
#include "support/faults/ShimmedProgram.h"

#include <csignal>

#include <sys/wait.h>

namespace velmo_caps {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class StoreDraftTest : public StoreFixture {
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "root alone writes the machine's store";
        setMachine(kTevoro, "Path", "old");
    }

    static std::string file() { return machineStore().path; }
    static std::string machineValue(const std::string& key = "Path")
    {
        CurrentStores stores(machineStore());
        const std::string value = valueIn(*stores.view(), kTevoro, key);
        EXPECT_TRUE(stores.problems().empty());
        return value;
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& each :
            std::filesystem::directory_iterator(std::filesystem::path(file()).parent_path()))
            found.push_back(each.path().filename().string());
        std::ranges::sort(found);
        return found;
    }
    static void writeInPlace(const std::string& value)
    {
        SqliteConnection database(file(), SqliteConnection::Opening::kExisting);
        database.run(("UPDATE entry SET value = '" + value + std::string(9000, '.') + "'").c_str());
    }
};

TEST_F(StoreDraftTest, AReaderThatHoldsTheStoreHoldsNoWriterUp)
{
    CurrentStores stores(machineStore());
    const std::uint32_t time = stores.time();
    SqliteConnection reader(file(), SqliteConnection::Opening::kExisting);
    reader.run("BEGIN");
    EXPECT_EQ(reader.text("SELECT value FROM entry"), "old");
    const auto begin = std::chrono::steady_clock::now();
    setMachine(kTevoro, "Path", "new");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    EXPECT_EQ(reader.text("SELECT value FROM entry"), "old") << "it reads what it began to read";
    EXPECT_GT(stores.time(), time);
    EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "new");
}

TEST_F(StoreDraftTest, EveryChangeOfAWriterTakesThePlaceOfTheOneBefore)
{
    StoreWriter writer(machineStore());
    for (const char* const value : {"1", "2", "3"}) {
        StoreWriter::Change change(writer);
        change.set(kTevoro, "Path", value);
        change.commit();
        EXPECT_EQ(machineValue(), value);
        EXPECT_TRUE(writer.isAtItsPlace());
    }
    EXPECT_THAT(names(), ElementsAre("velmo_caps.db", "velmo_caps.db.writer"));
}

TEST_F(StoreDraftTest, EverybodyReadsTheNewFileAndNobodyElseTakesTheLock)
{
    struct stat status = {};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
    ASSERT_EQ(::stat((file() + ".writer").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(StoreDraftTest, AChangeThatIsNotCommittedLeavesTheFileAsItIs)
{
    const std::string bytes = test::read(file());
    {
        StoreWriter writer(machineStore());
        StoreWriter::Change change(writer);
        change.set(kTevoro, "Path", "new");
    }
    EXPECT_EQ(test::read(file()), bytes);
    EXPECT_THAT(names(), ElementsAre("velmo_caps.db", "velmo_caps.db.writer"));
}

TEST_F(StoreDraftTest, OneWriterWaitsForAnotherAndThenSaysThatTheStoreIsLocked)
{
    const StoreWriter first(machineStore());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(problemOf([] { StoreWriter second(machineStore()); }), StoreProblem::kLocked);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << "once";
}

TEST_F(StoreDraftTest, RollsBackWhatAnotherProgramWasCutOffInAndWritesThen)
{
    FaultyVfs vfs;
    bool wasKilled = true;
    int withJournal = 0;
    for (int calls = 0; wasKilled; ++calls) {
        setMachine(kTevoro, "Path", "old");
        const pid_t child = ::fork();
        if (child == 0) {
            vfs.arm(calls, FaultyVfs::Fault::kKill);
            writeInPlace("odd");
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        wasKilled = WIFSIGNALED(status);
        withJournal += std::filesystem::exists(file() + "-journal") ? 1 : 0;
        setMachine(kTevoro, "DisplayName", std::to_string(calls));
        EXPECT_EQ(machineValue("DisplayName"), std::to_string(calls));
        EXPECT_TRUE(machineValue() == "old" || machineValue().starts_with("odd")) << calls;
        EXPECT_THAT(names(), ElementsAre("velmo_caps.db", "velmo_caps.db.writer"));
    }
    EXPECT_GE(withJournal, 3);
}

// Beside SQLite's own calls, which StoreFaultTest makes fail: copy, rename and the rest.
TEST_F(StoreDraftTest, AWriterThatIsKilledOrFailsAtAnyFileCallLeavesAStoreThatAnybodyReads)
{
    const std::string folder = std::filesystem::path(file()).parent_path().string();
    for (const char* const fault : {"FAULT_KILL", "FAULT_ERRNO"}) {
        int disturbed = 0;
        for (int call = 1;; ++call) {
            setMachine(kTevoro, "Path", "old");
            test::ShimmedProgram program(
                FAULT_SHIM, {VELMO_CAPS, "add", "tevoro-2.0", "--machine", "--path", "/new"});
            program.with("FAULT_ROOT", folder).at(call).with(fault, fault[6] == 'K' ? "1" : "5");
            const test::ProgramEnd end = program.run();
            disturbed += end.exited && end.status == 0 ? 0 : 1;
            EXPECT_FALSE(std::filesystem::exists(file() + "-journal")) << call;
            const std::string found = machineValue();
            EXPECT_TRUE(found == "old" || found == "/new") << call << found;
            if (end.exited && end.status == 0) {
                EXPECT_EQ(found, "/new") << call;
            }
            if (call > 200 || (fault[6] == 'K' && end.exited))
                break;
        }
        EXPECT_GT(disturbed, 10) << fault;
        setMachine(kTevoro, "Path", "again");
        EXPECT_EQ(machineValue(), "again");
        EXPECT_THAT(names(), ElementsAre("velmo_caps.db", "velmo_caps.db.writer"));
    }
}

} // namespace
} // namespace velmo_caps
