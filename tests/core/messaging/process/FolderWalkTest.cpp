#include "messaging/TevoroTalkUtils.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using namespace ScObjects;

// Records what it is shown, below the folder it was run on; ends at the path `last`.
class RecordingFilter final : public TevoroTalkUtils::FileFilter {
public:
    explicit RecordingFilter(const SoString& root, std::string last = "-")
        : m_start(static_cast<std::size_t>(root.length()) + 1)
        , m_last(std::move(last))
    {
    }
    bool onFile(const SoString& path) override { return record("file ", path); }
    bool onFolder(const SoString& path) override { return record("folder ", path); }

    std::vector<std::string> sorted() const
    {
        std::vector<std::string> result = m_seen;
        std::sort(result.begin(), result.end());
        return result;
    }
    std::size_t count() const { return m_seen.size(); }
    std::string last() const { return m_seen.empty() ? "" : m_seen.back(); }

private:
    bool record(const std::string& kind, const SoString& path)
    {
        const std::string below(path.view().substr(m_start));
        m_seen.push_back(kind + below);
        return below != m_last;
    }

    std::size_t m_start;
    std::string m_last;
    std::vector<std::string> m_seen;
};

class FolderWalkTest : public testing::Test {
protected:
    SoString root() const { return m_folder.path().c_str(); }
    SoString path(const std::string& name) const { return m_folder.path(name).c_str(); }

    test::TestFolder m_folder;
};

using Seen = std::vector<std::string>;

} // namespace

TEST_F(FolderWalkTest, ShowsFilesAndFoldersOfAllLevels)
{
    m_folder.write("a", "");
    m_folder.write("sub/b", "");
    m_folder.write("sub/deep/c", "");
    RecordingFilter filter(root());
    EXPECT_TRUE(filter.run(root()));
    EXPECT_EQ(filter.sorted(),
        (Seen{"file a", "file sub/b", "file sub/deep/c", "folder sub", "folder sub/deep"}));
}

TEST_F(FolderWalkTest, IsFalseForAFolderThatHoldsNothing)
{
    RecordingFilter filter(root());
    EXPECT_FALSE(TevoroTalkUtils::iterateFolder(root(), filter));
}

TEST_F(FolderWalkTest, IsFalseForWhatIsNoFolder)
{
    m_folder.write("file", "");
    RecordingFilter filter(root());
    EXPECT_FALSE(TevoroTalkUtils::iterateFolder(path("missing"), filter));
    EXPECT_FALSE(TevoroTalkUtils::iterateFolder(path("file"), filter));
    EXPECT_EQ(filter.count(), 0U);
}

TEST_F(FolderWalkTest, EndsWhenAFileIsRefused)
{
    for (const char* const name : {"a", "b", "c", "sub/d"})
        m_folder.write(name, "");
    RecordingFilter filter(root(), "b");
    EXPECT_FALSE(filter.run(root()));
    EXPECT_EQ(filter.last(), "file b");
}

TEST_F(FolderWalkTest, EndsWhenAFileFarBelowIsRefused)
{
    m_folder.write("sub/deep/refused", "");
    for (const char* const name : {"a", "b", "c", "d", "sub/e", "sub/f"})
        m_folder.write(name, "");
    RecordingFilter filter(root(), "sub/deep/refused");
    EXPECT_FALSE(filter.run(root()));
    EXPECT_EQ(filter.last(), "file sub/deep/refused");
}

TEST_F(FolderWalkTest, DoesNotEnterAFolderThatIsRefused)
{
    m_folder.write("sub/file", "");
    RecordingFilter filter(root(), "sub");
    EXPECT_FALSE(filter.run(root()));
    EXPECT_EQ(filter.sorted(), Seen{"folder sub"});
}

TEST_F(FolderWalkTest, GoesOnBehindAFolderThatHoldsNothing)
{
    for (int i = 0; i < 5; ++i) {
        fs::create_directory(m_folder.path("empty" + std::to_string(i)));
        m_folder.write("file" + std::to_string(i), "");
    }
    RecordingFilter filter(root());
    EXPECT_TRUE(filter.run(root()));
    EXPECT_EQ(filter.count(), 10U);
}

TEST_F(FolderWalkTest, SeesTheFirst256EntriesOfAFolder)
{
    for (int i = 0; i < 256; ++i)
        m_folder.write("sub/" + std::to_string(i), "");
    RecordingFilter all(path("sub"));
    EXPECT_TRUE(all.run(path("sub")));
    EXPECT_EQ(all.count(), 256U);
    for (int i = 256; i < 300; ++i)
        m_folder.write("sub/" + std::to_string(i), "");
    RecordingFilter part(path("sub"));
    EXPECT_TRUE(part.run(path("sub")));
    EXPECT_EQ(part.count(), 256U);
}

TEST_F(FolderWalkTest, TakesALinkToAFolderForAFile)
{
    fs::create_directory_symlink(".", m_folder.path("loop"));
    RecordingFilter filter(root());
    EXPECT_TRUE(filter.run(root()));
    EXPECT_EQ(filter.sorted(), Seen{"file loop"});
}

TEST_F(FolderWalkTest, GoesOnBehindAFolderThatIsClosed)
{
    m_folder.write("closed/hidden", "");
    m_folder.write("a", "");
    m_folder.write("b", "");
    fs::permissions(m_folder.path(), fs::perms{0755});
    fs::permissions(m_folder.path("closed"), fs::perms::none);
    const int seen = test::askedAsOrdinaryUser([&] {
        RecordingFilter filter(root());
        const bool isWhole = filter.run(root());
        return isWhole ? static_cast<int>(filter.count()) : 50;
    });
    fs::permissions(m_folder.path("closed"), fs::perms{0700});
    EXPECT_EQ(seen, 3);
}

TEST_F(FolderWalkTest, PassesEverythingUnlessItIsOverridden)
{
    m_folder.write("sub/file", "");
    TevoroTalkUtils::FileFilter filter;
    EXPECT_TRUE(filter.run(root()));
}

TEST_F(FolderWalkTest, LeavesNoDescriptorOpen)
{
    m_folder.write("sub/deep/file", "");
    const std::ptrdiff_t before = test::openDescriptors();
    RecordingFilter filter(root(), "sub/deep/file");
    filter.run(root());
    EXPECT_EQ(test::openDescriptors(), before);
}
