#include "velmo_caps/CurrentStores.h"

#include "modules/velmo_caps/StoreFixture.h"

#include <thread>

namespace velmo_caps {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CurrentStoresTest : public StoreFixture {
protected:
    std::string value(const SubdomainName& subdomain, const std::string& key)
    {
        return valueIn(*m_stores.view(), subdomain, key);
    }

    // How far the time has risen since the last call; it never falls.
    bool hasRisen()
    {
        const std::uint32_t before = m_time;
        m_time = m_stores.time();
        EXPECT_GE(m_time, before);
        EXPECT_GT(m_time, 0U);
        return m_time > before;
    }

    CurrentStores m_stores;
    std::uint32_t m_time = 0;
};

TEST_F(CurrentStoresTest, WithoutAStoreThereIsATimeAndNothingElse)
{
    EXPECT_TRUE(hasRisen());
    EXPECT_FALSE(hasRisen());
    EXPECT_TRUE(m_stores.view()->subdomains().empty());
    EXPECT_THAT(m_stores.problems(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("user")));
}

TEST_F(CurrentStoresTest, EveryWriteRaisesTheTimeAndNothingElseDoes)
{
    hasRisen();
    for (int number = 0; number < 5; ++number) {
        setUser(kTevoro, "Path", "same");
        EXPECT_TRUE(hasRisen()) << number;
        EXPECT_FALSE(hasRisen()) << number;
        m_stores.view();
        EXPECT_FALSE(hasRisen()) << number;
    }
}

TEST_F(CurrentStoresTest, AWriteToTheMachinesStoreRaisesItToo)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone writes the machine's store";
    hasRisen();
    setMachine(kTevoro, "Path", "a");
    EXPECT_TRUE(hasRisen());
    setUser(kTevoro, "Path", "b");
    EXPECT_TRUE(hasRisen());
    setMachine(kTevoro, "Path", "c");
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "b");
    std::filesystem::remove_all(m_folder.path("user"));
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "c");
}

TEST_F(CurrentStoresTest, AStoreThatComesAndGoesIsFoundAndRaisesTheTime)
{
    EXPECT_EQ(value(kTevoro, "Path"), "(none)");
    hasRisen();
    setUser(kTevoro, "Path", "a");
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "a");
    std::filesystem::remove_all(m_folder.path("user"));
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "(none)");
    setUser(kTevoro, "Path", "b");
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "b");
}

TEST_F(CurrentStoresTest, AStoreThatIsReplacedByAnOlderOneRaisesTheTime)
{
    setUser(kTevoro, "Path", "old");
    std::filesystem::copy_file(userFile(), m_folder.path("copy.db"));
    setUser(kTevoro, "Path", "new");
    EXPECT_EQ(value(kTevoro, "Path"), "new");
    hasRisen();
    std::filesystem::rename(m_folder.path("copy.db"), userFile());
    ASSERT_EQ(::chmod(userFile().c_str(), 0600), 0);
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "old");
}

TEST_F(CurrentStoresTest, AViewKeepsWhatItHasSeen)
{
    setUser(kTevoro, "Path", "old");
    const auto view = m_stores.view();
    setUser(kTevoro, "Path", "new");
    EXPECT_EQ(valueIn(*view, kTevoro, "Path"), "old");
    EXPECT_EQ(value(kTevoro, "Path"), "new");
}

TEST_F(CurrentStoresTest, ARecentViewIsNeverOlderThanTheTimeThatWasTold)
{
    for (int number = 0; number < 20; ++number) {
        m_stores.recentView();
        setUser(kTevoro, "Path", std::to_string(number));
        hasRisen();
        EXPECT_EQ(valueIn(*m_stores.recentView(), kTevoro, "Path"), std::to_string(number));
    }
}

TEST_F(CurrentStoresTest, ARecentViewIsSoonAnother)
{
    setUser(kTevoro, "Path", "old");
    m_stores.recentView();
    setUser(kTevoro, "Path", "new");
    std::this_thread::sleep_for(CurrentStores::kRecent);
    EXPECT_EQ(valueIn(*m_stores.recentView(), kTevoro, "Path"), "new");
}

// In memory, where a write may take less than what counts as recent.
TEST_F(CurrentStoresTest, AfterOnesOwnWriteNothingIsRecent)
{
    const test::TestFolder memory("/dev/shm");
    m_environment.set("MFX_APPLICATION_DATA", memory.path());
    setUser(kTevoro, "Path", "0");
    StoreWriter writer(userStore());
    for (int number = 1; number < 100; ++number) {
        StoreWriter::Change change(writer);
        change.set(kTevoro, "Path", std::to_string(number));
        m_stores.view();
        change.commit();
        m_stores.expire();
        EXPECT_EQ(valueIn(*m_stores.recentView(), kTevoro, "Path"), std::to_string(number));
    }
}

TEST_F(CurrentStoresTest, ALockedStoreServesTheOlderDataAndTellsWhenItIsFree)
{
    const StorePlace place{StoreKind::kNamed, m_folder.path("named.db")};
    setIn(place, kTevoro, "Path", "old");
    CurrentStores stores(place);
    EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "old");
    const std::uint32_t before = stores.time();
    {
        SqliteConnection other(place.path, SqliteConnection::Opening::kExisting);
        other.run("BEGIN EXCLUSIVE; UPDATE entry SET value = 'new'; "
                  "UPDATE change SET counter = counter + 1");
        EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "old");
        EXPECT_EQ(stores.time(), before);
        other.run("COMMIT");
    }
    EXPECT_GT(stores.time(), before);
    EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "new");
}

TEST_F(CurrentStoresTest, AStoreThatIsLockedFromTheBeginningIsWaitedForOnceAndThenFound)
{
    const StorePlace place{StoreKind::kNamed, m_folder.path("named.db")};
    setIn(place, kTevoro, "Path", "a");
    CurrentStores stores(place);
    SqliteConnection other(place.path, SqliteConnection::Opening::kExisting);
    other.run("BEGIN EXCLUSIVE");
    const std::uint32_t before = stores.time();
    const auto start = std::chrono::steady_clock::now();
    for (int call = 0; call < 20; ++call)
        EXPECT_TRUE(stores.view()->subdomains().empty());
    EXPECT_THAT(stores.problems(), ElementsAre(HasSubstr("locked")));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(2900));
    EXPECT_LT(waited, std::chrono::seconds(10));
    other.run("COMMIT");
    EXPECT_GT(stores.time(), before);
    EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "a");
    EXPECT_THAT(stores.problems(), IsEmpty());
}

TEST_F(CurrentStoresTest, ADamagedStoreServesNothingAndLeavesTheOther)
{
    if (isRoot())
        setMachine(kViewer, "Path", "machine");
    setUser(kTevoro, "Path", "a");
    EXPECT_EQ(value(kTevoro, "Path"), "a");
    hasRisen();
    std::ofstream(userFile(), std::ios::trunc) << std::string(9000, 'x');
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "(none)");
    EXPECT_EQ(value(kViewer, "Path"), isRoot() ? "machine" : "(none)");
    EXPECT_THAT(m_stores.problems(), ElementsAre(HasSubstr("damaged")));
    EXPECT_FALSE(hasRisen());
}

TEST_F(CurrentStoresTest, AStoreThatOthersMayWriteIsNotRead)
{
    setUser(kTevoro, "Path", "a");
    hasRisen();
    ASSERT_EQ(::chmod(userFile().c_str(), 0666), 0);
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "(none)");
    EXPECT_THAT(m_stores.problems(), ElementsAre(HasSubstr("others")));
    ASSERT_EQ(::chmod(userFile().c_str(), 0600), 0);
    EXPECT_TRUE(hasRisen());
    EXPECT_EQ(value(kTevoro, "Path"), "a");
}

// The machine's, or a home on a disk that is mounted read-only.
TEST_F(CurrentStoresTest, AReaderWhoMayNotWriteReads)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone writes the machine's store";
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
    setMachine(kTevoro, "Path", "a");
    const int read =
        test::askedAsOrdinaryUser([] { return valueNow(kTevoro, "Path") == "a" ? 1 : 0; });
    EXPECT_EQ(read, 1);
}

TEST_F(CurrentStoresTest, AUsersStoreIsReadWhereNothingCanBeWritten)
{
    setUser(kTevoro, "Path", "a");
    const std::string folder = m_folder.path("user/Velmo/Caps");
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
    if (isRoot()) {
        for (const auto& each : std::filesystem::recursive_directory_iterator(m_folder.path()))
            ASSERT_EQ(::chown(each.path().c_str(), test::kNobody, test::kNobody), 0);
    }
    ASSERT_EQ(::chmod(userFile().c_str(), 0400), 0);
    ASSERT_EQ(::chmod(folder.c_str(), 0500), 0);
    const int read =
        test::askedAsOrdinaryUser([] { return valueNow(kTevoro, "Path") == "a" ? 1 : 0; });
    EXPECT_EQ(read, 1);
    ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
}

TEST_F(CurrentStoresTest, AStoreThatMayNotBeReadIsEmptyAndSaysSo)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone makes the machine's store";
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
    setMachine(kTevoro, "Path", "a");
    ASSERT_EQ(::chmod(machineStore().path.c_str(), 0600), 0);
    const int answer = test::askedAsOrdinaryUser([] {
        CurrentStores stores;
        return stores.view()->subdomains().empty() && stores.problems().size() == 1 ? 1 : 0;
    });
    EXPECT_EQ(answer, 1);
}

TEST_F(CurrentStoresTest, KnowsWhatTheMachineHasBelowTheUsers)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone writes the machine's store";
    setMachine(kTevoro, "Path", "a");
    setUser(kTevoro, "DisplayName", "b");
    EXPECT_TRUE(m_stores.isOfMachine(kTevoro, "Path"));
    EXPECT_FALSE(m_stores.isOfMachine(kTevoro, "DisplayName"));
    EXPECT_FALSE(m_stores.isOfMachine(kViewer, "Path"));
}

} // namespace
} // namespace velmo_caps
