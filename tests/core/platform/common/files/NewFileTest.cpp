#include "platform/common/files/NewFile.h"

#include "platform/common/files/FileBytes.h"
#include "platform/common/files/FileStatus.h"
#include "support/TestFolder.h"

#include <span>

namespace test {
namespace {

namespace fs = std::filesystem;

class NewFileTest : public testing::Test {
protected:
    std::optional<Pt::NewFile> make()
    {
        auto file = Pt::NewFile::make(folder.path(), 0640, error);
        EXPECT_FALSE(error) << error.message();
        const std::string text = "bytes";
        EXPECT_FALSE(
            Pt::writeAt(file->descriptor(), 0, std::as_bytes(std::span(text.data(), text.size()))));
        return file;
    }
    std::ptrdiff_t count() const
    {
        return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
    }

    TestFolder folder;
    std::error_code error;
};

TEST_F(NewFileTest, HasItsNameWhenItIsPlaced)
{
    auto file = make();
    EXPECT_FALSE(fs::exists(folder.path("name")));
    EXPECT_FALSE(file->setModified(-1'500'000'000)); // half a second before 1970
    EXPECT_FALSE(file->place(folder.path("name")));
    file.reset();
    EXPECT_EQ(read(folder.path("name")), "bytes");
    EXPECT_EQ(Pt::fileStatus(folder.path("name"), error)->modified, -1'500'000'000);
    EXPECT_EQ(count(), 1);
}

TEST_F(NewFileTest, IsGoneWhenItIsNotPlaced)
{
    auto file = make();
    EXPECT_EQ(count(), 1);
    file.reset();
    EXPECT_EQ(count(), 0);
}

TEST_F(NewFileTest, ReplacesNothingAndMayTakeAnotherName)
{
    folder.write("name", "theirs");
    auto file = make();
    EXPECT_EQ(file->place(folder.path("name")), std::errc::file_exists);
    EXPECT_EQ(read(folder.path("name")), "theirs");
    EXPECT_FALSE(file->place(folder.path("another")));
    EXPECT_EQ(read(folder.path("another")), "bytes");
    EXPECT_EQ(count(), 2);
}

TEST_F(NewFileTest, GrowsByWhatIsWritten)
{
    auto file = Pt::NewFile::make(folder.path(), 0600, error);
    EXPECT_FALSE(file->write("ab", 2));
    EXPECT_FALSE(file->write("c", 1));
    EXPECT_FALSE(file->flush());
    Pt::ContentDigester digester;
    digester.add("abc", 3);
    EXPECT_EQ(file->contentOnDisk(error), digester.finish());
    EXPECT_FALSE(file->place(folder.path("name")));
    EXPECT_EQ(read(folder.path("name")), "abc");
}

TEST_F(NewFileTest, SaysWhyAFolderTakesNone)
{
    EXPECT_FALSE(Pt::NewFile::make(folder.path("none"), 0600, error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace test
