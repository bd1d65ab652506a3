#include "lexkit/basic_ifstream.h"

#include "core/strings/lexkit/DictionaryTexts.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

TEST(BasicIfstreamTest, ReadsADictionaryFromAFile)
{
    const test::TestFolder folder;
    const std::string path = folder.write("strings.dct", utf16File(u"\"k=v\"\n"));
    lexkit::basic_ifstream<char> file(path.c_str(), std::ios::binary);
    ASSERT_TRUE(file.is_open());
    lexkit::Dictionary dictionary;
    dictionary.Read(&file);
    file.close();
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(valueOf(dictionary, "k"), u"v");
}

TEST(BasicIfstreamTest, FailsForAFileThatIsNotThereAndReadsAsAnEmptyDictionary)
{
    const test::TestFolder folder;
    lexkit::basic_ifstream<char> file(folder.path("none").c_str(), std::ios::in | std::ios::binary);
    EXPECT_FALSE(file.is_open());
    EXPECT_TRUE(file.fail());
    lexkit::Dictionary dictionary;
    dictionary.Read(&file);
    EXPECT_TRUE(dictionary.IsValid());
    EXPECT_EQ(dictionary.NumKeys(), 0u);
}

TEST(BasicIfstreamTest, LeavesNoDescriptorOpen)
{
    const test::TestFolder folder;
    const std::string path = folder.write("strings.dct", "k=v\n");
    const auto before = test::openDescriptors();
    {
        const lexkit::basic_ifstream<char> file(path.c_str());
        EXPECT_EQ(test::openDescriptors(), before + 1);
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

} // namespace
