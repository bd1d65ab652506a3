#include "platform/common/files/PrivateFolder.h"

#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::StartsWith;

namespace {

class PrivateFolderTest : public testing::Test {
protected:
    PrivateFolderTest()
    {
        std::filesystem::create_directories(folder.path("run"));
        std::filesystem::create_directories(folder.path("tmp"));
        environment.set("XDG_RUNTIME_DIR", folder.path("run"));
        environment.set("TMPDIR", folder.path("tmp"));
    }

    std::string prefix(const std::string& parent = "run") const
    {
        return folder.path(parent + "/test-" + std::to_string(::geteuid()) + "-");
    }

    // What a process of its own finds out.
    template <typename Question>
    static int inAnotherProcess(Question question)
    {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(question());
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    test::TestFolder folder;
    test::Environment environment;
};

TEST_F(PrivateFolderTest, IsEmptyItsOwnAndClosedToOthers)
{
    const std::string first = Pt::makePrivateFolder("test");
    const std::string second = Pt::makePrivateFolder("test");
    EXPECT_NE(first, second);
    EXPECT_THAT(first, StartsWith(prefix()));
    struct stat status = {};
    ASSERT_EQ(::stat(first.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    EXPECT_TRUE(std::filesystem::is_empty(first));
}

TEST_F(PrivateFolderTest, StaysWhileItsProcessLives)
{
    const std::string ours = Pt::makePrivateFolder("test");
    EXPECT_EQ(inAnotherProcess([&ours] {
        Pt::makePrivateFolder("test");
        return std::filesystem::exists(ours) ? 0 : 1;
    }),
        0);
    EXPECT_TRUE(std::filesystem::exists(ours));
}

TEST_F(PrivateFolderTest, TakesAwayWhatEndedProcessesLeft)
{
    const int made = inAnotherProcess([] {
        std::ofstream(Pt::makePrivateFolder("test") + "/left") << "x";
        std::ofstream(Pt::makePrivateFolder("other") + "/left") << "x";
        return 0;
    });
    ASSERT_EQ(made, 0);
    const std::string ours = Pt::makePrivateFolder("test");
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path("run")))
        left.insert(entry.path().filename().string().substr(0, 5));
    EXPECT_EQ(left, (std::set<std::string>{"other", "test-"}));
    EXPECT_TRUE(std::filesystem::is_empty(ours));
}

TEST_F(PrivateFolderTest, FollowsNoLinkToTakeAway)
{
    folder.write("mine/kept", "x");
    std::filesystem::create_directory_symlink(folder.path("mine"), prefix() + "abcdef");
    folder.write(std::filesystem::path(prefix()).filename().string(), "a file beside");
    Pt::makePrivateFolder("test");
    EXPECT_EQ(test::read(folder.path("mine/kept")), "x");
    EXPECT_TRUE(std::filesystem::is_symlink(prefix() + "abcdef"));
}

TEST_F(PrivateFolderTest, LiesInTheFolderForTemporaryFilesWhereTheRuntimeFolderIsNotUsable)
{
    environment.set("XDG_RUNTIME_DIR", folder.path("missing"));
    EXPECT_THAT(Pt::makePrivateFolder("test"), StartsWith(prefix("tmp")));
    environment.set("XDG_RUNTIME_DIR", folder.path("run"));
    environment.set("TMPDIR", folder.path("missing"));
    EXPECT_THAT(Pt::makePrivateFolder("test"), StartsWith(prefix("run")));
}

TEST_F(PrivateFolderTest, SaysThatThereIsNoPlace)
{
    environment.set("XDG_RUNTIME_DIR", folder.path("missing"));
    environment.set("TMPDIR", folder.path("missing"));
    EXPECT_THROW(Pt::makePrivateFolder("test"), std::system_error);
}

// Many begin at once, each of them looking for what others left.
TEST_F(PrivateFolderTest, IsNeverTakenForALeftoverWhileItIsMade)
{
    constexpr int kProcesses = 8;
    pid_t children[kProcesses] = {};
    for (pid_t& child : children) {
        child = ::fork();
        if (child != 0)
            continue;
        int lost = 0;
        for (int round = 0; round < 100; ++round)
            if (!std::filesystem::exists(Pt::makePrivateFolder("test")))
                ++lost;
        ::_exit(lost);
    }
    for (const pid_t child : children) {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
}

} // namespace
