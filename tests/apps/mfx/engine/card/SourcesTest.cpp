#include "mfx/engine/card/Sources.h"

#include "apps/mfx/engine/CardFixture.h"
#include "platform/common/text/NameText.h"

#include <set>

#include <gtest/gtest.h>

namespace mfx {

namespace {

TEST(SourcesTest, TakesAFolderByItsPath)
{
    const tests::TestCard card;
    card.addFolder("my card");
    const auto source = resolveSource(card.path("my card"));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->name, "my card");
    EXPECT_EQ(source->path, card.path("my card"));
}

TEST(SourcesTest, NamesAFolderWhateverItsPathEndsWith)
{
    const tests::TestCard card;
    card.addFolder("a/b");
    for (const char* tail : {"a/", "a/.", "a/b/..", "./a//"}) {
        const auto source = resolveSource(card.path(tail));
        ASSERT_TRUE(source) << tail;
        EXPECT_EQ(source->name, "a") << tail;
    }
    EXPECT_EQ(resolveSource("/").value().name, "/");
}

TEST(SourcesTest, NamesAFolderOfAnyBytes)
{
    const tests::TestCard card;
    card.addFolder("caf\xE9");
    EXPECT_EQ(resolveSource(card.path("caf\xE9")).value().name, "caf%E9");
}

TEST(SourcesTest, FindsNothingUnderAFileOrANameThatIsNotListed)
{
    const tests::TestCard card;
    card.add("file");
    EXPECT_FALSE(resolveSource(card.path("file")));
    EXPECT_FALSE(resolveSource(card.path("missing")));
    EXPECT_FALSE(resolveSource("no source of this name"));
    EXPECT_FALSE(resolveSource(""));
}

TEST(SourcesTest, ListsEachSourceOnceAndFindsItByItsName)
{
    std::set<std::string> names;
    for (const MediaSource& source : findSources()) {
        EXPECT_TRUE(names.insert(source.name).second) << source.name;
        EXPECT_TRUE(Pt::isUtf8(source.name));
        const auto found = resolveSource(source.name);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->path, source.path);
    }
}

} // namespace
} // namespace mfx
