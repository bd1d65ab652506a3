// Each of SQLite's file calls failing in turn, and the process killed at each: what was committed
// is there afterwards, whole, and what was not is not.
#include "modules/velmo_caps/FaultyVfs.h"
#include "modules/velmo_caps/StoreFixture.h"

#include <csignal>
#include <set>

#include <sys/wait.h>

namespace velmo_caps {
namespace {

class StoreFaultTest : public StoreFixture {
protected:
    static std::vector<StorePlace> places()
    {
        std::vector<StorePlace> result{userStore()};
        if (isRoot())
            result.push_back(machineStore());
        return result;
    }

    // Two entries that belong together, as one change; several pages of them.
    static void write(const StorePlace& place, int number)
    {
        StoreWriter writer(place);
        StoreWriter::Change change(writer);
        const std::string value = std::to_string(number) + std::string(3000, '.');
        for (const SubdomainName& each : {kTevoro, kViewer})
            change.set(each, "Path", value);
        change.remove(kMissing, "Path");
        change.commit();
    }

    static int numberIn(const StoreView& view, const SubdomainName& subdomain)
    {
        const std::string value = valueIn(view, subdomain, "Path");
        return value == "(none)" ? 0 : std::stoi(value);
    }

    // What a fresh reader finds; both entries are of one change.
    static int readBack(const StorePlace& place)
    {
        CurrentStores stores(place);
        const auto view = stores.view();
        EXPECT_EQ(numberIn(*view, kTevoro), numberIn(*view, kViewer));
        EXPECT_TRUE(stores.problems().empty());
        return numberIn(*view, kTevoro);
    }

    FaultyVfs m_vfs;
};

TEST_F(StoreFaultTest, WhicheverCallOfAWriterFailsTheStoreIsWhole)
{
    for (const StorePlace& place : places()) {
        std::set<std::string> calls;
        int number = 1;
        write(place, number);
        bool happened = true;
        for (int before = 0; happened; ++before) {
            m_vfs.arm(before, FaultyVfs::Fault::kError);
            const StoreProblem problem = problemOf([&] { write(place, number + 1); });
            m_vfs.disarm();
            happened = m_vfs.hasHappened();
            calls.insert(m_vfs.call());
            const int found = readBack(place);
            EXPECT_TRUE(found == number || found == number + 1) << before << m_vfs.call();
            EXPECT_TRUE(problem != StoreProblem::kNone || found == number + 1) << before;
            number = found;
            for (const auto& each : std::filesystem::directory_iterator(
                     std::filesystem::path(place.path).parent_path()))
                EXPECT_EQ(each.path().string().find("damaged"), std::string::npos) << before;
        }
        EXPECT_GE(calls.size(), 7U);
        EXPECT_GT(number, 1);
    }
}

TEST_F(StoreFaultTest, WhicheverCallOfTheFirstWriterFailsTheNextOneMakesTheStore)
{
    for (const StorePlace& place : places()) {
        bool happened = true;
        for (int before = 0; happened; ++before) {
            std::filesystem::remove_all(std::filesystem::path(place.path).parent_path());
            m_vfs.arm(before, FaultyVfs::Fault::kError);
            const StoreProblem problem = problemOf([&] { write(place, 1); });
            m_vfs.disarm();
            happened = m_vfs.hasHappened();
            if (problem == StoreProblem::kNone) {
                EXPECT_EQ(readBack(place), 1) << before;
            }
            EXPECT_EQ(problemOf([&] { write(place, 2); }), StoreProblem::kNone) << before;
            EXPECT_EQ(readBack(place), 2) << before;
        }
    }
}

TEST_F(StoreFaultTest, WhicheverCallOfAReaderFailsTheNextLookFindsAll)
{
    for (const StorePlace& place : places()) {
        write(place, 1);
        int failures = 0;
        bool happened = true;
        for (int before = 0; happened; ++before) {
            CurrentStores stores(place);
            m_vfs.arm(before, FaultyVfs::Fault::kError);
            const int found = numberIn(*stores.view(), kTevoro);
            m_vfs.disarm();
            happened = m_vfs.hasHappened();
            EXPECT_TRUE(found == 0 || found == 1) << before;
            failures += found == 0 ? 1 : 0;
            EXPECT_EQ(numberIn(*stores.view(), kTevoro), 1) << before << m_vfs.call();
            EXPECT_TRUE(stores.problems().empty());
        }
        EXPECT_GE(failures, 3);
    }
}

TEST_F(StoreFaultTest, AReaderThatHasReadServesThatWhenTheDiskFails)
{
    write(userStore(), 1);
    bool happened = true;
    for (int before = 0; happened; ++before) {
        CurrentStores stores;
        EXPECT_EQ(numberIn(*stores.view(), kTevoro), 1);
        write(userStore(), 1);
        m_vfs.arm(before, FaultyVfs::Fault::kError);
        EXPECT_EQ(numberIn(*stores.view(), kTevoro), 1) << before;
        m_vfs.disarm();
        happened = m_vfs.hasHappened();
    }
}

TEST_F(StoreFaultTest, AWriterThatIsKilledAtAnyStepLosesNothing)
{
    for (const StorePlace& place : places()) {
        int number = 1;
        int kills = 0;
        write(place, number);
        for (bool wasKilled = true; wasKilled; ++kills) {
            const pid_t child = ::fork();
            if (child == 0) {
                m_vfs.arm(kills, FaultyVfs::Fault::kKill);
                ::_exit(
                    problemOf([&] { write(place, number + 1); }) == StoreProblem::kNone ? 0 : 1);
            }
            int status = 0;
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
            // Nobody but root could roll it back.
            if (place.kind == StoreKind::kMachine) {
                EXPECT_FALSE(std::filesystem::exists(place.path + "-journal")) << kills;
            }
            const int found = readBack(place);
            EXPECT_TRUE(found == number || found == number + 1) << kills;
            if (!wasKilled) {
                EXPECT_EQ(status, 0);
                EXPECT_EQ(found, number + 1);
            }
            number = found;
        }
        EXPECT_GE(kills, 20);
        EXPECT_EQ(problemOf([&] { write(place, 1000); }), StoreProblem::kNone);
        EXPECT_EQ(readBack(place), 1000);
    }
}

TEST_F(StoreFaultTest, ADiskWithoutRoomLeavesWhatWasThere)
{
    for (const StorePlace& place : places()) {
        write(place, 1);
        m_vfs.fillDisk(true);
        EXPECT_EQ(problemOf([&] { write(place, 2); }), StoreProblem::kFull);
        m_vfs.fillDisk(false);
        EXPECT_EQ(readBack(place), 1);
        write(place, 2);
        EXPECT_EQ(readBack(place), 2);
    }
}

TEST_F(StoreFaultTest, WithoutSharedMemoryTheUsersStoreHasAJournalInstead)
{
    m_vfs.refuseSharedMemory(true);
    write(userStore(), 1);
    EXPECT_EQ(readBack(userStore()), 1);
    write(userStore(), 2);
    EXPECT_EQ(readBack(userStore()), 2);
    SqliteConnection database(userFile(), SqliteConnection::Opening::kExisting);
    EXPECT_EQ(database.text("PRAGMA journal_mode"), "delete");
}

TEST_F(StoreFaultTest, AStoreThatHadSharedMemoryIsLedBackWhereThereIsNoneAnyMore)
{
    write(userStore(), 1);
    m_vfs.refuseSharedMemory(true);
    EXPECT_EQ(problemOf([] { write(userStore(), 2); }), StoreProblem::kNone);
    EXPECT_EQ(readBack(userStore()), 2);
}

} // namespace
} // namespace velmo_caps
