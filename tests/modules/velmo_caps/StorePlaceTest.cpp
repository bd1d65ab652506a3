#include "velmo_caps/StorePlace.h"

#include "modules/velmo_caps/StoreFixture.h"

namespace velmo_caps {
namespace {

class StorePlaceTest : public StoreFixture {
protected:
    StoreProblem userProblem() { return conditionOf(userStore()).problem; }

    static unsigned int modeOf(const std::string& path)
    {
        struct stat status = {};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }
};

TEST_F(StorePlaceTest, LiesBelowTheUsersAndTheMachinesApplicationData)
{
    EXPECT_EQ(userStore().path, m_folder.path("user/Velmo/Caps/velmo_caps.db"));
    EXPECT_EQ(machineStore().path, m_folder.path("machine/Velmo/Caps/velmo_caps.db"));
}

TEST_F(StorePlaceTest, StaysTheUsersOwnInARunWithPreferencesOfItsOwn)
{
    m_environment.set("MFX_USER_DATA", m_folder.path("user"));
    m_environment.set("MFX_APPLICATION_DATA", m_folder.path("session"));
    EXPECT_EQ(userStore().path, m_folder.path("user/Velmo/Caps/velmo_caps.db"));
}

TEST_F(StorePlaceTest, TheFirstMachineFolderThatHasAStoreCountsElseTheFirst)
{
    m_environment.set("XDG_DATA_DIRS", m_folder.path("a") + ":" + m_folder.path("b"));
    EXPECT_EQ(machineStore().path, m_folder.path("a/Velmo/Caps/velmo_caps.db"));
    m_folder.write("b/Velmo/Caps/velmo_caps.db", "");
    EXPECT_EQ(machineStore().path, m_folder.path("b/Velmo/Caps/velmo_caps.db"));
}

TEST_F(StorePlaceTest, IsMissingUntilItIsMadeForTheUserAlone)
{
    EXPECT_EQ(userProblem(), StoreProblem::kMissing);
    prepareToWrite(userStore());
    EXPECT_EQ(userProblem(), StoreProblem::kNone);
    EXPECT_EQ(modeOf(userFile()), 0600U);
    EXPECT_EQ(modeOf(m_folder.path("user/Velmo/Caps")), 0700U);
}

TEST_F(StorePlaceTest, TheMachinesIsReadableByEverybodyWhateverTheMask)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone makes the machine's store";
    const mode_t before = ::umask(0077);
    prepareToWrite(machineStore());
    ::umask(before);
    EXPECT_EQ(modeOf(machineStore().path), 0644U);
    EXPECT_EQ(modeOf(m_folder.path("machine/Velmo/Caps")), 0755U);
    EXPECT_EQ(modeOf(m_folder.path("machine/Velmo")), 0755U);
}

TEST_F(StorePlaceTest, IsRefusedWhenOthersMayWriteItOrItsFolder)
{
    prepareToWrite(userStore());
    for (const std::string& path : {userFile(), m_folder.path("user/Velmo/Caps")})
        for (const unsigned int bit : {0020U, 0002U}) {
            const unsigned int mode = modeOf(path);
            ASSERT_EQ(::chmod(path.c_str(), mode | bit), 0);
            EXPECT_EQ(userProblem(), StoreProblem::kUntrusted) << path << bit;
            EXPECT_EQ(problemOf([] { prepareToWrite(userStore()); }), StoreProblem::kUntrusted);
            ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        }
    EXPECT_EQ(userProblem(), StoreProblem::kNone);
}

TEST_F(StorePlaceTest, IsRefusedWhenItOrItsFolderBelongsToSomebodyElse)
{
    if (!isRoot())
        GTEST_SKIP() << "this user may not give a file away";
    prepareToWrite(userStore());
    for (const std::string& path : {userFile(), m_folder.path("user/Velmo/Caps")}) {
        ASSERT_EQ(::chown(path.c_str(), test::kNobody, test::kNobody), 0);
        EXPECT_EQ(userProblem(), StoreProblem::kUntrusted) << path;
        ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
    }
}

TEST_F(StorePlaceTest, IsRefusedWhenOthersCouldExchangeAFolderAbove)
{
    setUser(kTevoro, "Path", "a");
    const auto problem = [] {
        CurrentStores stores;
        const std::size_t count = stores.view()->subdomains().size();
        return stores.problems().empty() ? "read " + std::to_string(count) : "refused";
    };
    for (const char* const name : {"", "user", "user/Velmo"})
        for (const unsigned int bit : {0020U, 0002U}) {
            const std::string path = m_folder.path(name);
            const unsigned int mode = modeOf(path);
            if (isRoot()) { // else the group may be the user's own
                ASSERT_EQ(::chown(path.c_str(), 0, test::kNobody), 0);
            }
            ASSERT_EQ(::chmod(path.c_str(), mode | bit), 0);
            if (bit == 0002U || isRoot()) {
                EXPECT_EQ(problem(), "refused") << path << bit;
                EXPECT_EQ(problemOf([] { prepareToWrite(userStore()); }), StoreProblem::kUntrusted);
            }
            ASSERT_EQ(::chmod(path.c_str(), mode | bit | 01000U), 0);
            EXPECT_EQ(problem(), "read 1") << "names of others stay in a folder such as /tmp";
            ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        }
    EXPECT_EQ(problem(), "read 1");
}

TEST_F(StorePlaceTest, TakesAFolderThatTheGroupOfTheOwnerAloneMayWrite)
{
    setUser(kTevoro, "Path", "a");
    const std::string path = m_folder.path("user");
    if (::chown(path.c_str(), ::geteuid(), ::geteuid()) != 0)
        GTEST_SKIP() << "this user has no group of the own number";
    ASSERT_EQ(::chmod(path.c_str(), 0775), 0);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "a");
}

TEST_F(StorePlaceTest, IsRefusedWhenALinkOrAFolderOnTheWayBelongsToSomebodyElse)
{
    if (!isRoot())
        GTEST_SKIP() << "this user may not give a file away";
    setUser(kTevoro, "Path", "a");
    std::filesystem::create_directory_symlink(m_folder.path("user"), m_folder.path("link"));
    m_environment.set("MFX_APPLICATION_DATA", m_folder.path("link"));
    EXPECT_EQ(valueNow(kTevoro, "Path"), "a");
    for (const char* const name : {"link", "user"}) {
        ASSERT_EQ(::lchown(m_folder.path(name).c_str(), test::kNobody, test::kNobody), 0);
        EXPECT_EQ(valueNow(kTevoro, "Path"), "(none)") << name;
        ASSERT_EQ(::lchown(m_folder.path(name).c_str(), 0, 0), 0);
    }
    EXPECT_EQ(valueNow(kTevoro, "Path"), "a");
}

TEST_F(StorePlaceTest, NothingIsMadeInAFolderThatOthersMayWrite)
{
    std::filesystem::create_directories(m_folder.path("user/Velmo/Caps"));
    ASSERT_EQ(::chmod(m_folder.path("user/Velmo/Caps").c_str(), 0777), 0);
    EXPECT_EQ(problemOf([] { prepareToWrite(userStore()); }), StoreProblem::kUntrusted);
    EXPECT_FALSE(std::filesystem::exists(userFile()));
}

TEST_F(StorePlaceTest, RootMakesNoStoreInTheFolderOfAUser)
{
    if (!isRoot())
        GTEST_SKIP() << "only root writes into other users' folders";
    std::filesystem::create_directories(m_folder.path("user"));
    ASSERT_EQ(::chown(m_folder.path("user").c_str(), test::kNobody, test::kNobody), 0);
    EXPECT_EQ(problemOf([] { prepareToWrite(userStore()); }), StoreProblem::kUntrusted);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("user/Velmo")));
}

TEST_F(StorePlaceTest, AFolderBelowTheTopIsRefusedToThoseWhoMayNotMakeIt)
{
    m_environment.set("MFX_APPLICATION_DATA", "/no-such-folder-of-velmo/data");
    const int problem = test::askedAsOrdinaryUser(
        [] { return static_cast<int>(problemOf([] { prepareToWrite(userStore()); })); });
    EXPECT_EQ(problem, static_cast<int>(StoreProblem::kNoPermission));
}

TEST_F(StorePlaceTest, AFolderBelowTheTopIsMadeForThoseWhoMay)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone may have another top, or write into this one";
    m_environment.set("MFX_APPLICATION_DATA", "/newtop");
    m_environment.set("XDG_DATA_DIRS", "/newshare");
    const int problem = test::askedAsUser(0, [this] {
        return static_cast<int>(problemOf([this] {
            if (::chroot(m_folder.path().c_str()) != 0)
                throw StoreError(StoreProblem::kLocked, "no other top");
            prepareToWrite(userStore());
            prepareToWrite(machineStore());
        }));
    });
    EXPECT_EQ(problem, static_cast<int>(StoreProblem::kNone));
    EXPECT_EQ(modeOf(m_folder.path("newtop/Velmo/Caps/velmo_caps.db")), 0600U);
    EXPECT_EQ(modeOf(m_folder.path("newshare/Velmo/Caps/velmo_caps.db")), 0644U);
}

TEST_F(StorePlaceTest, ALinkOrAFolderIsNoStore)
{
    prepareToWrite(userStore());
    std::filesystem::rename(userFile(), userFile() + ".real");
    std::filesystem::create_symlink(userFile() + ".real", userFile());
    EXPECT_EQ(userProblem(), StoreProblem::kUntrusted);
    std::filesystem::remove(userFile());
    std::filesystem::create_directory(userFile());
    EXPECT_EQ(userProblem(), StoreProblem::kUntrusted);
}

TEST_F(StorePlaceTest, TheMachinesBelongsToRootAndIsChangedByRootAlone)
{
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms(01777));
    const int problem = test::askedAsOrdinaryUser(
        [] { return static_cast<int>(problemOf([] { prepareToWrite(machineStore()); })); });
    EXPECT_EQ(problem, static_cast<int>(StoreProblem::kNoPermission));
    if (!isRoot())
        return;
    prepareToWrite(machineStore());
    EXPECT_EQ(conditionOf(machineStore()).problem, StoreProblem::kNone);
    ASSERT_EQ(::chown(machineStore().path.c_str(), test::kNobody, test::kNobody), 0);
    EXPECT_EQ(conditionOf(machineStore()).problem, StoreProblem::kUntrusted);
}

TEST_F(StorePlaceTest, ANamedFileIsTakenAsItIs)
{
    const std::string file = m_folder.write("named.db", "");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    EXPECT_EQ(conditionOf({StoreKind::kNamed, file}).problem, StoreProblem::kNone);
    EXPECT_EQ(conditionOf({StoreKind::kNamed, m_folder.path()}).problem, StoreProblem::kUntrusted);
    EXPECT_EQ(conditionOf({StoreKind::kNamed, file + "x"}).problem, StoreProblem::kMissing);
}

} // namespace
} // namespace velmo_caps
