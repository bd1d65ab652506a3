#include "support/OrdinaryUser.h"
#include "support/disks/OddMountFixture.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;

class OddMountTest : public test::OddMountFixture { };

} // namespace

TEST_F(OddMountTest, ShowsAndMakesFilesAndFolders)
{
    m_folder.write("a/folder/old", "text");
    const auto mirror = mount("mirror");
    EXPECT_EQ(test::read(in("folder/old")), "text");
    m_folder.write("at/new/file", std::string(1 << 20, 'x'));
    EXPECT_EQ(test::read(m_folder.path("a/new/file")).size(), 1U << 20);
    EXPECT_THAT(namesIn(at()), testing::UnorderedElementsAre("folder", "new"));
    EXPECT_EQ(done(::rmdir(in("new").c_str())), ENOTEMPTY);
    EXPECT_EQ(done(::unlink(in("new/file").c_str())), 0);
    EXPECT_EQ(done(::rmdir(in("new").c_str())), 0);
    EXPECT_FALSE(exists("a/new"));
}

TEST_F(OddMountTest, CreatesAndRenamesOverNothingWhereAsked)
{
    m_folder.write("a/one", "1");
    m_folder.write("a/two", "2");
    const auto mirror = mount("mirror");
    EXPECT_EQ(create(in("one")), EEXIST);
    EXPECT_EQ(rename("one", "two", RENAME_NOREPLACE), EEXIST);
    EXPECT_EQ(rename("one", "three", RENAME_NOREPLACE), 0);
    EXPECT_EQ(rename("two", "three"), 0);
    EXPECT_EQ(test::read(m_folder.path("a/three")), "2");
}

TEST_F(OddMountTest, LinksAndSymbolicLinksLeadWhereTheyShould)
{
    m_folder.write("a/file", "text");
    const auto mirror = mount("mirror");
    EXPECT_EQ(link("file", "same"), 0);
    EXPECT_EQ(told(in("same")).st_ino, told(in("file")).st_ino);
    EXPECT_EQ(told(in("same")).st_nlink, 2U);
    EXPECT_EQ(done(::symlink("file", in("soft").c_str())), 0);
    EXPECT_EQ(fs::read_symlink(in("soft")), "file");
    EXPECT_EQ(test::read(in("soft")), "text");
}

TEST_F(OddMountTest, PassesTimesModesAndSizes)
{
    m_folder.write("a/file", "text");
    const auto mirror = mount("mirror");
    const timespec times[2] = {{1, 0}, {1234567890, 123456789}};
    EXPECT_EQ(done(::utimensat(AT_FDCWD, in("file").c_str(), times, 0)), 0);
    EXPECT_EQ(told(m_folder.path("a/file")).st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(told(in("file")).st_mtim.tv_sec, 1234567890);
    EXPECT_EQ(done(::chmod(in("file").c_str(), 0604)), 0);
    EXPECT_EQ(told(m_folder.path("a/file")).st_mode & 0777, 0604U);
    EXPECT_EQ(done(::truncate(in("file").c_str(), 2)), 0);
    EXPECT_EQ(test::read(m_folder.path("a/file")), "te");
}

TEST_F(OddMountTest, FlushesFilesAndFolders)
{
    const auto mirror = mount("mirror");
    const int folder = ::open(at().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int file = ::openat(folder, "file", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::write(file, "text", 4), 4);
    EXPECT_EQ(::fsync(file), 0);
    EXPECT_EQ(::fdatasync(file), 0);
    EXPECT_EQ(::fsync(folder), 0);
    EXPECT_EQ(::close(file), 0);
    EXPECT_EQ(::close(folder), 0);
}

TEST_F(OddMountTest, AnOpenFileWorksOnWhateverBecomesOfItsName)
{
    const auto mirror = mount("mirror");
    const int file = ::open(in("file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(rename("file", "renamed"), 0);
    EXPECT_EQ(::write(file, "a", 1), 1);
    EXPECT_EQ(test::read(in("renamed")), "a");
    EXPECT_EQ(done(::unlink(in("renamed").c_str())), 0);
    EXPECT_EQ(::write(file, "b", 1), 1);
    EXPECT_TRUE(fs::is_empty(at()));
    EXPECT_EQ(::close(file), 0);
}

TEST_F(OddMountTest, HidesWhatIsRemovedAndOpenWhereAsked)
{
    const auto mirror = mount("mirror", {"removed=hidden"});
    const int file = ::open(in("file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(done(::unlink(in("file").c_str())), 0);
    EXPECT_THAT(namesIn(m_folder.path("a")), testing::ElementsAre(testing::StartsWith(".fuse")));
    EXPECT_EQ(::close(file), 0);
}

TEST_F(OddMountTest, OrdinaryUsersSeeItWithinTheirRights)
{
    m_folder.write("a/file", "");
    const auto mirror = mount("mirror");
    for (const std::string& folder : {m_folder.path(), m_folder.path("a")})
        fs::permissions(folder, fs::perms::all);
    EXPECT_EQ(done(::chmod(in("file").c_str(), 0600)), 0);
    EXPECT_EQ(test::askedAsOrdinaryUser([&] {
        return ::open(in("file").c_str(), O_RDONLY) < 0 && errno == EACCES && create(in("own")) == 0
            && told(in("own")).st_uid == ::geteuid();
    }),
        1);
}

TEST_F(OddMountTest, NothingStaysMountedBehindIt)
{
    const auto before = test::openDescriptors();
    mount("mirror").reset();
    EXPECT_FALSE(test::isMountPoint(at()));
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(OddMountTest, NothingStaysMountedThoughAFileIsOpen)
{
    auto mirror = mount("mirror");
    std::ofstream open(in("file"));
    mirror.reset();
    EXPECT_FALSE(test::isMountPoint(at()));
    EXPECT_FALSE(open << "text" << std::flush);
}

TEST_F(OddMountTest, ADetachedOneServesOpenFilesOn)
{
    const auto mirror = mount("mirror");
    std::ofstream open(in("file"));
    mirror->detach();
    EXPECT_FALSE(fs::exists(in("file")));
    EXPECT_TRUE(open << "text" << std::flush);
    EXPECT_EQ(test::read(m_folder.path("a/file")), "text");
}

TEST_F(OddMountTest, AKilledOneAnswersNothingAndIsUnmounted)
{
    auto mirror = mount("mirror");
    mirror->die();
    EXPECT_EQ(look(in("file")), ENOTCONN);
    EXPECT_TRUE(test::isMountPoint(at()));
    mirror.reset();
    EXPECT_FALSE(test::isMountPoint(at()));
}

TEST_F(OddMountTest, TheProgramUnmountsWhenItIsAskedToEnd)
{
    test::enterOwnMounts();
    test::ChildProgram program({ODD_FILE_SYSTEM, "mirror", at(), m_folder.path("a")});
    EXPECT_TRUE(program.waitFor("ready\n", std::chrono::seconds(20)));
    EXPECT_TRUE(test::isMountPoint(at()));
    program.signal(SIGTERM);
    EXPECT_TRUE(program.waitForEnd(std::chrono::seconds(20)));
    EXPECT_EQ(program.code(), 0) << program.output();
    EXPECT_FALSE(test::isMountPoint(at()));
}

TEST_F(OddMountTest, SaysWhyItCannotMount)
{
    const auto reasonFor = [&](const std::string& mode, const std::string& option) {
        try {
            mount(mode, {option});
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_THAT(reasonFor("odd", "nolink=yes"), testing::HasSubstr("unknown mode odd"));
    EXPECT_THAT(reasonFor("mirror", "color=red"), testing::HasSubstr("unknown option color"));
    EXPECT_THAT(reasonFor("mirror", "nolink=maybe"), testing::HasSubstr("nolink: not maybe"));
    EXPECT_THAT(reasonFor("dying", "after=soon"), testing::HasSubstr("after: not a number"));
    EXPECT_THAT(reasonFor("pool", "create=1"), testing::HasSubstr("create: no such folder"));
    EXPECT_FALSE(test::isMountPoint(at()));
}

TEST_F(OddMountTest, RefusesToShowAFolderInItself)
{
    EXPECT_THROW(
        test::OddMount("mirror", m_folder.path("a/in"), {m_folder.path("a")}), std::runtime_error);
    EXPECT_THROW(
        test::OddMount("mirror", m_folder.path("a"), {m_folder.path("a")}), std::runtime_error);
}
