#include "mfx/engine/names/NumberedFiles.h"

#include "apps/mfx/engine/CardFixture.h"
#include "mfx/engine/names/NamePattern.h"
#include "platform/common/files/FileCopy.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

class NumberedFilesTest : public testing::Test {
protected:
    void read() { files.read(folder.path(), names); }

    const NumberMatcher names = NamePattern("P{seq:2}").numberMatcher();
    tests::TestCard folder;
    NumberedFiles files;
};

TEST_F(NumberedFilesTest, FindsStemsBySizeAndExtensionInTheOrderOfNumbers)
{
    for (const char* name : {"P100.JPG", "P12.JPG", "P02-1.JPG", "P02.JPG", "P01.CR2", "Q01.JPG"})
        folder.add(name, "12345");
    folder.add("P03.JPG", "123456");
    folder.addFolder("P04.JPG");
    read();
    EXPECT_THAT(files.stemsOf(5, "JPG", names), ElementsAre("P02", "P02-1", "P12", "P100"));
    EXPECT_THAT(files.stemsOf(7, "JPG", names), IsEmpty());
    EXPECT_FALSE(files.statusOf("P04.JPG"));
}

TEST_F(NumberedFilesTest, KnowsNothingOfAFolderThatIsNotThere)
{
    files.read(folder.path("missing"), names);
    EXPECT_THAT(files.stemsOf(0, "JPG", names), IsEmpty());
}

TEST_F(NumberedFilesTest, DoesNotSeeWhatComesLater)
{
    read();
    folder.add("P01.JPG", "12345");
    EXPECT_THAT(files.stemsOf(5, "JPG", names), IsEmpty());
    EXPECT_FALSE(files.digestOf("P01.JPG"));
}

TEST_F(NumberedFilesTest, TellsTheDigestOfWhatDidNotChange)
{
    folder.add("P01.JPG", "12345");
    read();
    std::error_code error;
    const auto digest = Pt::digestOfFile(folder.path("P01.JPG"), error);
    ASSERT_TRUE(digest);
    EXPECT_EQ(files.digestOf("P01.JPG"), digest);
    EXPECT_EQ(files.digestOf("P01.JPG"), digest) << "and once more";
    folder.add("P01.JPG", "54321");
    folder.setFileTime("P01.JPG", 1'000'000'000);
    EXPECT_FALSE(files.digestOf("P01.JPG"));
    std::filesystem::remove(folder.path("P01.JPG"));
    EXPECT_FALSE(files.digestOf("P01.JPG"));
}

} // namespace
} // namespace mfx
