#include "support/disks/OddMountFixture.h"

#include <chrono>
#include <fstream>
#include <future>

#include <dirent.h>
#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;

class OddModesTest : public test::OddMountFixture { };

// The number that a listing tells.
ino_t listedNumber(const std::string& folder, const std::string& name)
{
    DIR* const names = ::opendir(folder.c_str());
    ino_t number = 0;
    while (const dirent* const entry = ::readdir(names))
        if (entry->d_name == name)
            number = entry->d_ino;
    ::closedir(names);
    return number;
}

} // namespace

TEST_F(OddModesTest, AMirrorHasItsOwnNumbersAndKeepsThem)
{
    m_folder.write("a/file", "");
    const auto mirror = mount("mirror");
    const struct stat there = told(m_folder.path("a/file"));
    const struct stat here = told(in("file"));
    EXPECT_NE(here.st_dev, there.st_dev);
    EXPECT_NE(here.st_ino, there.st_ino);
    EXPECT_EQ(here.st_ino, told(in("file")).st_ino);
    EXPECT_EQ(here.st_ino, listedNumber(at(), "file"));
}

TEST_F(OddModesTest, FilesAreReadOnceTheirDiskIsNoLongerStuck)
{
    using namespace std::chrono_literals;
    m_folder.write("a/file", "content");
    const auto mirror = mount("mirror", {"stuck=" + m_folder.write("stuck", "")});
    auto content = std::async(std::launch::async, [this] { return test::read(in("file")); });
    EXPECT_EQ(content.wait_for(200ms), std::future_status::timeout);
    EXPECT_TRUE(fs::exists(in("file"))); // all else goes on
    fs::remove(m_folder.path("stuck"));
    EXPECT_EQ(content.get(), "content");
}

TEST_F(OddModesTest, CallsWaitWhileTheDiskStandsStill)
{
    using namespace std::chrono_literals;
    m_folder.write("a/file", "");
    const auto mirror = mount("mirror");
    mirror->standStill();
    auto isThere = std::async(std::launch::async, [this] { return fs::exists(in("file")); });
    EXPECT_EQ(isThere.wait_for(200ms), std::future_status::timeout);
    mirror->goOn();
    EXPECT_TRUE(isThere.get());
}

TEST_F(OddModesTest, AMirrorSeesAtOnceWhatHappensBehindIt)
{
    const auto mirror = mount("mirror");
    EXPECT_EQ(look(in("file")), ENOENT);
    m_folder.write("a/file", "text");
    EXPECT_EQ(told(in("file")).st_size, 4);
    m_folder.write("a/file", "longer text");
    EXPECT_EQ(told(in("file")).st_size, 11);
}

TEST_F(OddModesTest, AForgetfulOneHasAnotherNumberEachTime)
{
    m_folder.write("a/file", "text");
    const auto forgetful = mount("forgetful");
    const ino_t first = told(in("file")).st_ino;
    EXPECT_NE(first, told(in("file")).st_ino);
    EXPECT_NE(listedNumber(at(), "file"), listedNumber(at(), "file"));
    EXPECT_EQ(test::read(in("file")), "text");
}

TEST_F(OddModesTest, ADyingOneIsDeadWhileTheTriggerIsThere)
{
    m_folder.write("a/file", "text");
    const auto dying = mount("dying", {"trigger=" + m_folder.path("trigger")});
    EXPECT_EQ(test::read(in("file")), "text");
    m_folder.write("trigger", "");
    EXPECT_EQ(look(in("file")), EIO);
    EXPECT_EQ(create(in("new")), EIO);
    EXPECT_EQ(done(::unlink(in("file").c_str())), EIO);
    fs::remove(m_folder.path("trigger"));
    EXPECT_EQ(test::read(in("file")), "text");
}

TEST_F(OddModesTest, ADyingOneDiesAfterSoManyBytesWritten)
{
    const auto dying = mount("dying", {"after=10"});
    const int file = ::open(in("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::write(file, "123456", 6), 6);
    EXPECT_EQ(::write(file, "789012", 6), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(done(::fsync(file)), EIO);
    ::close(file);
    EXPECT_EQ(look(in("file")), EIO);
    EXPECT_EQ(test::read(m_folder.path("a/file")), "1234567890");
}

TEST_F(OddModesTest, ADyingOneDiesWithTheLastByteItMayWrite)
{
    const auto dying = mount("dying", {"after=6"});
    const int file = ::open(in("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::write(file, "123456", 6), 6);
    EXPECT_EQ(done(::fsync(file)), EIO);
    ::close(file);
}

TEST_F(OddModesTest, ADyingOneDiesAfterSoManyBytesRead)
{
    m_folder.write("a/small", "text");
    m_folder.write("a/large", std::string(1 << 20, 'x'));
    const auto dying = mount("dying", {"reads=100000"});
    EXPECT_EQ(test::read(in("small")), "text");
    EXPECT_THROW(test::read(in("large")), std::ios::failure);
    EXPECT_EQ(look(in("small")), EIO);
}

TEST_F(OddModesTest, LettersRefusesNamesInEveryWay)
{
    m_folder.write("a/file", "");
    const auto letters = mount("letters");
    for (const std::string name :
        {"a\\b", "a:b", "a*b", "a?b", "a\"b", "a<b", "a>b", "a|b", "a\nb", "dot.", "blank "}) {
        EXPECT_EQ(look(in(name)), EINVAL) << name;
        EXPECT_EQ(create(in(name)), EINVAL) << name;
        EXPECT_EQ(done(::mkdir(in(name).c_str(), 0700)), EINVAL) << name;
        EXPECT_EQ(rename("file", name), EINVAL) << name;
        EXPECT_EQ(link("file", name), EINVAL) << name;
    }
    for (const std::string name : {".hidden", "a.b", "a b", "\xc3\xa4"})
        EXPECT_EQ(create(in(name)), 0) << name;
}

TEST_F(OddModesTest, LettersCanLookForARefusedNameInVain)
{
    m_folder.write("a/file", "");
    const auto letters = mount("letters", {"lookup=no"});
    EXPECT_EQ(look(in("a:b")), ENOENT);
    EXPECT_EQ(create(in("a:b")), EINVAL);
    EXPECT_EQ(done(::mkdir(in("a:b").c_str(), 0700)), EINVAL);
    EXPECT_EQ(rename("file", "a:b"), EINVAL);
    EXPECT_EQ(link("file", "a:b"), EINVAL);
    EXPECT_TRUE(exists("a/file"));
}

TEST_F(OddModesTest, ACachedOneDoesNotSeeWhatIsMadeBehindItUntilItsNameIsTaken)
{
    const auto cached = mount("cached");
    EXPECT_EQ(look(in("file")), ENOENT);
    m_folder.write("a/file", "theirs");
    EXPECT_EQ(look(in("file")), ENOENT);
    EXPECT_EQ(create(in("file")), EEXIST);
    EXPECT_EQ(test::read(in("file")), "theirs");
}

TEST_F(OddModesTest, ACachedOneDoesNotRenameOverWhatItHasNotSeen)
{
    m_folder.write("a/own", "ours");
    const auto cached = mount("cached");
    EXPECT_EQ(look(in("file")), ENOENT);
    m_folder.write("a/file", "theirs");
    EXPECT_EQ(rename("own", "file", RENAME_NOREPLACE), EEXIST);
    EXPECT_EQ(link("own", "file"), EEXIST);
    EXPECT_EQ(test::read(m_folder.path("a/file")), "theirs");
}

TEST_F(OddModesTest, ACachedOneBelievesSizesAndNamesThatItSaw)
{
    m_folder.write("a/file", "text");
    const auto cached = mount("cached");
    EXPECT_EQ(told(in("file")).st_size, 4);
    m_folder.write("a/file", "longer text");
    EXPECT_EQ(told(in("file")).st_size, 4);
    fs::remove(m_folder.path("a/file"));
    EXPECT_EQ(look(in("file")), 0);
}

TEST_F(OddModesTest, AnyOneCanRefuseRenamesWithFlagsAndLinks)
{
    m_folder.write("a/file", "");
    m_folder.write("b/other", "");
    const auto both = pool({"norename2=yes", "nolink=yes"});
    EXPECT_EQ(rename("file", "new", RENAME_NOREPLACE), EINVAL);
    EXPECT_EQ(link("file", "new"), EPERM);
    EXPECT_EQ(rename("file", "new"), 0);
}

TEST_F(OddModesTest, AnyOneCanForgetTheTimeOfChange)
{
    m_folder.write("a/file", "");
    const auto mirror = mount("mirror", {"times=zero"});
    EXPECT_EQ(told(in("file")).st_ctim.tv_sec, 0);
    EXPECT_NE(told(in("file")).st_mtim.tv_sec, 0);
}
