#include "platform/common/devices/PtIoDeviceFile.h"

#include "core/platform/WideLiteral.h"
#include "core/platform/support/SystemFailure.h"
#include "platform/common/text/PtUcs.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <cerrno>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sys/stat.h>

using test::wide;

namespace fs = std::filesystem;

namespace {

// The error number of the system failure that action throws, 0 when it throws none.
// One folder, and no descriptor left at the end.
class PtIoDeviceFileTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(test::openDescriptors(), m_descriptors); }

    static PtIoDeviceFile::Pointer create(const std::string& path, int flags)
    {
        return PtIoDeviceFile::Create(wide(path).c_str(), flags);
    }

    const std::ptrdiff_t m_descriptors = test::openDescriptors();
    test::TestFolder m_folder;
};

} // namespace

TEST_F(PtIoDeviceFileTest, OpensOrCreates)
{
    const std::string path = m_folder.path("new");
    EXPECT_EQ(create(path, kPtIoOpenOrCreate)->fileSize(), 0);
    EXPECT_TRUE(fs::exists(path));
    m_folder.write("new", "12345");
    EXPECT_EQ(create(path, kPtIoOpenOrCreate)->fileSize(), 5);
    EXPECT_EQ(test::read(path), "12345");
}

TEST_F(PtIoDeviceFileTest, OpensWhatIsThere)
{
    const std::string path = m_folder.write("old", "123");
    for (const int flags : {kPtIoReadOnly, kPtIoOpenExisting, PtIoDeviceFileFlags(5)}) {
        EXPECT_EQ(create(path, flags)->fileSize(), 3) << flags;
        EXPECT_EQ(test::failureOf([&] { create(m_folder.path("none"), flags); }), ENOENT) << flags;
    }
}

TEST_F(PtIoDeviceFileTest, OpensReadOnlyForFlagsItDoesNotKnow)
{
    const std::string path = m_folder.write("old", "123");
    fs::permissions(m_folder.path(), fs::perms(0755));
    fs::permissions(path, fs::perms(0444));
    EXPECT_EQ(
        test::askedAsOrdinaryUser([&] { return test::failureOf([&] { create(path, 1); }); }), 0);
    EXPECT_EQ(
        test::askedAsOrdinaryUser([&] { return test::failureOf([&] { create(path, 9); }); }), 0);
    EXPECT_EQ(test::askedAsOrdinaryUser([&] { return test::failureOf([&] { create(path, 2); }); }),
        EACCES);
}

TEST_F(PtIoDeviceFileTest, EmptiesTheFileThatItCreatesNew)
{
    const std::string path = m_folder.write("old", "123");
    EXPECT_EQ(create(path, kPtIoCreateNew)->fileSize(), 0);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_EQ(fs::file_size(path), 0u);
}

TEST_F(PtIoDeviceFileTest, MakesFilesForEverybodyLessTheMask)
{
    const mode_t before = ::umask(0);
    for (const mode_t mask : {0000U, 0027U}) {
        ::umask(mask);
        for (const int flags : {kPtIoOpenOrCreate, kPtIoCreateNew, kPtIoTemporary}) {
            std::string path = m_folder.path("file");
            path.append(std::to_string(mask)).append(std::to_string(flags));
            const PtIoDeviceFile::Pointer file = create(path, flags);
            EXPECT_EQ(fs::status(path).permissions(), fs::perms(0666 & ~mask)) << flags;
        }
    }
    ::umask(before);
}

TEST_F(PtIoDeviceFileTest, MakesNamedTemporaryFilesWithTheSameMode)
{
    const mode_t before = ::umask(0022);
    const auto file = PtIoDeviceFile::CreateTemp(wide(m_folder.path()).c_str(), nullptr);
    ::umask(before);
    EXPECT_EQ(fs::status(Pt::toUtf8(file->path())).permissions(), fs::perms(0644));
}

TEST_F(PtIoDeviceFileTest, RemovesATemporaryFileWithItsLastPointer)
{
    const std::string path = m_folder.path("b\u00E4r.probe");
    PtIoDeviceFile::Pointer file = create(path, kPtIoTemporary);
    PtIoDeviceFile::Pointer second = file;
    file = 0;
    EXPECT_TRUE(fs::exists(path));
    second = 0;
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(PtIoDeviceFileTest, NeverMakesATemporaryFileOverWhatStandsThere)
{
    const std::string path = m_folder.write("picture", "kept");
    EXPECT_EQ(test::failureOf([&] { create(path, kPtIoTemporary); }), EEXIST);
    EXPECT_EQ(test::read(path), "kept");
    fs::create_symlink("nowhere", m_folder.path("dead link"));
    EXPECT_EQ(test::failureOf([&] { create(m_folder.path("dead link"), kPtIoTemporary); }), EEXIST);
    EXPECT_FALSE(fs::exists(m_folder.path("nowhere")));
}

TEST_F(PtIoDeviceFileTest, RefusesAFolderThatCannotBeWrittenTo)
{
    fs::permissions(m_folder.path(), fs::perms(0555));
    const std::string path = m_folder.path("probe");
    EXPECT_EQ(test::askedAsOrdinaryUser(
                  [&] { return test::failureOf([&] { create(path, kPtIoTemporary); }); }),
        EACCES);
    fs::permissions(m_folder.path(), fs::perms(0755));
}

TEST_F(PtIoDeviceFileTest, FlushesAnOpenFile)
{
    const PtIoDeviceFile::Pointer file = create(m_folder.path("new"), kPtIoTemporary);
    EXPECT_NO_THROW(file->flush());
}

TEST_F(PtIoDeviceFileTest, TellsThatAFlushFailed)
{
    const PtIoDeviceFile::Pointer file = create("/dev/null", kPtIoReadOnly);
    EXPECT_EQ(test::failureOf([&] { file->flush(); }), EINVAL);
}

TEST_F(PtIoDeviceFileTest, ClosesWhatHasNoSize)
{
    ASSERT_EQ(::mkfifo(m_folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(test::failureOf([&] { create(m_folder.path("pipe"), kPtIoOpenExisting); }), ESPIPE);
}

TEST_F(PtIoDeviceFileTest, TellsThatRemovingFailed)
{
    PtIoDeviceFile::Pointer file = create(m_folder.path("gone"), kPtIoTemporary);
    fs::remove(m_folder.path("gone"));
    EXPECT_EQ(test::failureOf([&] { file = 0; }), ENOENT);
    EXPECT_FALSE(file);
}

// The descriptor is closed behind its back, and the name is gone as well.
TEST_F(PtIoDeviceFileTest, TellsOfTheCloseWhereRemovingFailedToo)
{
    PtIoDeviceFile::Pointer file = create(m_folder.path("gone"), kPtIoTemporary);
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (fs::read_symlink(entry, ignored) == m_folder.path("gone"))
            ::close(std::stoi(entry.path().filename().string()));
    }
    fs::remove(m_folder.path("gone"));
    EXPECT_EQ(test::failureOf([&] { file = 0; }), EBADF);
}

TEST_F(PtIoDeviceFileTest, DoesNotAddAFailureToAnExceptionOnItsWayOut)
{
    const auto failTwice = [this] {
        const PtIoDeviceFile::Pointer file = create(m_folder.path("gone"), kPtIoTemporary);
        fs::remove(m_folder.path("gone"));
        throw std::runtime_error("first");
    };
    EXPECT_THROW(failTwice(), std::runtime_error);
}

TEST_F(PtIoDeviceFileTest, KeepsItsPath)
{
    const Pt::WideText path = wide(m_folder.path("k\u00FCste"));
    EXPECT_EQ(path, PtIoDeviceFile::Create(path.c_str(), kPtIoTemporary)->path());
}

TEST_F(PtIoDeviceFileTest, CutsTheStoredPathAndRemovesTheWholeOne)
{
    const std::string deep = m_folder.path(std::string(150, 'a') + "/" + std::string(150, 'b'));
    fs::create_directories(fs::path(deep).parent_path());
    const std::string cut = deep.substr(0, 255);
    std::ofstream(cut) << "kept";
    {
        const PtIoDeviceFile::Pointer file = create(deep, kPtIoTemporary);
        EXPECT_TRUE(fs::exists(deep));
        EXPECT_EQ(ptucslen(file->path()), 255u);
        EXPECT_EQ(wide(cut), file->path());
    }
    EXPECT_FALSE(fs::exists(deep));
    EXPECT_EQ(test::read(cut), "kept");
}

TEST_F(PtIoDeviceFileTest, MakesTemporaryFilesOfTheirOwnInTheFolder)
{
    test::Environment environment;
    environment.unset("TMPDIR");
    const Pt::WideText folder = wide(m_folder.path());
    const auto first = PtIoDeviceFile::CreateTemp(folder.c_str(), wide(u"probes").c_str());
    const auto second = PtIoDeviceFile::CreateTemp(folder.c_str(), wide(u"probes").c_str());
    EXPECT_NE(Pt::toUtf8(first->path()), Pt::toUtf8(second->path()));
    EXPECT_TRUE(fs::exists(Pt::toUtf8(first->path())));
    // Five bytes of the prefix, then six of chance, which may well begin with the prefix's sixth.
    EXPECT_EQ(Pt::toUtf8(first->path()).find(m_folder.path("probe")), 0u);
    EXPECT_EQ(Pt::toUtf8(first->path()).size(), m_folder.path("probe").size() + 6);
}

TEST_F(PtIoDeviceFileTest, PrefersTheFolderForTemporaryFilesThatTheUserSet)
{
    test::Environment environment;
    environment.set("TMPDIR", m_folder.path());
    const auto file = PtIoDeviceFile::CreateTemp(wide(u"/tmp").c_str(), nullptr);
    EXPECT_EQ(fs::path(Pt::toUtf8(file->path())).parent_path(), m_folder.path());
}

TEST_F(PtIoDeviceFileTest, CutsTheTemporaryPrefixBetweenCharacters)
{
    test::Environment environment;
    environment.unset("TMPDIR");
    const auto file =
        PtIoDeviceFile::CreateTemp(wide(m_folder.path()).c_str(), wide(u"abcd\u00E4").c_str());
    const std::string name = fs::path(Pt::toUtf8(file->path())).filename();
    EXPECT_EQ(name.size(), 10u);
    EXPECT_EQ(name.substr(0, 4), "abcd");
}

TEST_F(PtIoDeviceFileTest, HoldsOneDescriptorWhileItIsOpen)
{
    PtIoDeviceFile::Pointer file = create(m_folder.path("new"), kPtIoCreateNew);
    EXPECT_FALSE(file->isClosed());
    EXPECT_EQ(test::openDescriptors(), m_descriptors + 1);
}
