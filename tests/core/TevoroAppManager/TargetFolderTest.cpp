#include "TevoroAppManager/TargetFolder.h"

#include "TevoroAppManager/ApplicationFolders.h"
#include "TevoroAppManager/panel/BackdropColour.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <QString>

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class TargetFolderTest : public testing::Test {
protected:
    QString path(const std::string& name) const
    {
        return QString::fromStdString(folder.path(name));
    }
    bool copy(const std::string& name, const std::string& as = "copy.jpg")
    {
        return copyFileIntoTargetFolder(
            path("from"), QString::fromStdString(name), path("to"), QString::fromStdString(as));
    }
    std::size_t entries() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder.path("to")), {}));
    }

    test::TestFolder folder;
};

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

} // namespace

TEST_F(TargetFolderTest, CopiesAFileWithItsBytesAndTimes)
{
    const std::string source = folder.write("from/a.jpg", std::string(3'000'000, 'x') + "end");
    const timespec times[2] = {{1'000'000'000, 5}, {1'100'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    EXPECT_TRUE(copy("a.jpg"));
    EXPECT_EQ(test::read(folder.path("to/copy.jpg")), test::read(source));
    const struct stat status = statusOf(folder.path("to/copy.jpg"));
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789);
    EXPECT_EQ(entries(), 1U);
}

TEST_F(TargetFolderTest, GivesTheCopyItsModeWhateverTheMaskIs)
{
    folder.write("from/a.jpg", "bytes");
    const mode_t before = ::umask(0277);
    const bool copied = copy("a.jpg");
    ::umask(before);
    EXPECT_TRUE(copied);
    EXPECT_EQ(statusOf(folder.path("to/copy.jpg")).st_mode & 07777, 0600U);
}

TEST_F(TargetFolderTest, MakesEachFolderOfTheDestination)
{
    folder.write("from/a.jpg", "bytes");
    EXPECT_TRUE(copyFileIntoTargetFolder(
        path("from"), QStringLiteral("a.jpg"), path("x/y/z"), QStringLiteral("b.jpg")));
    EXPECT_EQ(test::read(folder.path("x/y/z/b.jpg")), "bytes");
}

TEST_F(TargetFolderTest, CopiesAFileOfNoBytes)
{
    folder.write("from/a.jpg", "");
    EXPECT_TRUE(copy("a.jpg"));
    EXPECT_TRUE(fs::exists(folder.path("to/copy.jpg")));
}

TEST_F(TargetFolderTest, NeverReplacesAFile)
{
    folder.write("from/a.jpg", "new");
    folder.write("to/copy.jpg", "old");
    EXPECT_FALSE(copy("a.jpg"));
    EXPECT_EQ(test::read(folder.path("to/copy.jpg")), "old");
    EXPECT_EQ(entries(), 1U);
}

TEST_F(TargetFolderTest, NeverFollowsALinkInTheWay)
{
    folder.write("from/a.jpg", "new");
    fs::create_directory(folder.path("to"));
    fs::create_symlink("../elsewhere", folder.path("to/copy.jpg"));
    EXPECT_FALSE(copy("a.jpg"));
    EXPECT_FALSE(fs::exists(folder.path("elsewhere")));
}

TEST_F(TargetFolderTest, CopiesNothingFromASourceThatIsMissing)
{
    EXPECT_FALSE(copy("a.jpg"));
    EXPECT_EQ(entries(), 0U);
}

TEST_F(TargetFolderTest, CopiesNoFolder)
{
    fs::create_directories(folder.path("from/a.jpg"));
    EXPECT_FALSE(copy("a.jpg"));
    EXPECT_EQ(entries(), 0U);
}

TEST_F(TargetFolderTest, TrimsTheSourceFolder)
{
    folder.write("from/a.jpg", "bytes");
    EXPECT_TRUE(copyFileIntoTargetFolder(
        u' ' + path("from") + u'\t', QStringLiteral("a.jpg"), path("to"), QStringLiteral("b.jpg")));
}

TEST_F(TargetFolderTest, LeavesNothingWhereTheDiskIsFull)
{
    folder.write("from/a.jpg", std::string(300'000, 'x'));
    fs::create_directory(folder.path("to"));
    struct rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit small = {100'000, before.rlim_max};
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const bool copied = copy("a.jpg");
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(copied);
    EXPECT_EQ(entries(), 0U);
}

TEST_F(TargetFolderTest, MakesFoldersDownToTheLast)
{
    EXPECT_TRUE(mkdirFromAbsPath(path("a/b/c")));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/c")));
    EXPECT_TRUE(mkdirFromAbsPath(path("a/b/c")));
    EXPECT_TRUE(mkdirFromAbsPath(path("a/b/d/")));
    EXPECT_TRUE(mkdirFromAbsPath(QStringLiteral("/")));
}

TEST_F(TargetFolderTest, MakesNoFolderBelowAFile)
{
    folder.write("file", "");
    EXPECT_FALSE(mkdirFromAbsPath(path("file/a")));
    EXPECT_FALSE(mkdirFromAbsPath(path("file")));
}

TEST_F(TargetFolderTest, TriesOnlyTheWholePathDirectlyBelowTheRoot)
{
    // As a user who may not write there: nothing is made and nothing recurs.
    EXPECT_EQ(test::askedAsOrdinaryUser(
                  [] { return mkdirFromAbsPath(QStringLiteral("/tevoro-test-folder")) ? 1 : 0; }),
        0);
    EXPECT_FALSE(fs::exists("/tevoro-test-folder"));
}

TEST_F(TargetFolderTest, TellsWhereThisUserMayWrite)
{
    fs::create_directory(folder.path("closed"));
    fs::permissions(folder.path("closed"), fs::perms(0555));
    fs::permissions(folder.path(), fs::perms(0755));
    EXPECT_TRUE(isFolderWritable(path("")));
    EXPECT_FALSE(isFolderWritable(path("missing")));
    EXPECT_EQ(
        test::askedAsOrdinaryUser([this] { return isFolderWritable(path("closed")) ? 1 : 0; }), 0);
}

TEST_F(TargetFolderTest, ClearsTheLockOfAFile)
{
    const std::string file = folder.write("a.jpg", "bytes");
    fs::permissions(file, fs::perms(0444));
    unLockFile(path("a.jpg"));
    EXPECT_EQ(statusOf(file).st_mode & 07777, 0644U);
    unLockFile(path("missing"));
}

TEST(ApplicationFoldersTest, NamesTheFoldersOfTheUser)
{
    test::Environment environment;
    environment.set("HOME", "/home/\u00e4nn");
    environment.unset("XDG_CONFIG_HOME");
    environment.unset("XDG_DATA_HOME");
    environment.unset("MFX_APPLICATION_DATA");
    EXPECT_EQ(getMyPicturesPath().toStdString(), "/home/\u00e4nn/Pictures");
    EXPECT_EQ(getApplicationDataFolderPath().toStdString(), "/home/\u00e4nn/.local/share");
    environment.set("XDG_DATA_HOME", "/data");
    EXPECT_EQ(getApplicationDataFolderPath(), QStringLiteral("/data"));
    environment.set("MFX_APPLICATION_DATA", "/session");
    EXPECT_EQ(getApplicationDataFolderPath(), QStringLiteral("/session"));
}

TEST(ApplicationFoldersTest, AnswersWithoutDoingAnything)
{
    unsigned short buffer[4] = {1, 2, 3, 4};
    EXPECT_EQ(getApplicationPath(buffer), 1);
    EXPECT_EQ(getCommonSettingsStr(buffer, buffer, buffer, 4), 1);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(IsWindowsNT(), 0);
}

TEST(BackdropColourTest, GivesEachLevelItsGrey)
{
    for (std::uint32_t level = 0; level < 256; ++level)
        EXPECT_EQ(backdropColour(static_cast<float>(static_cast<double>(level) / 255.0)),
            0xff000000 | level << 16 | level << 8 | level);
}
