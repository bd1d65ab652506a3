#include "pictures/scheduling/ImageCache.h"

#include <gtest/gtest.h>

namespace pictures {

namespace {

// 4,000 bytes each, of which the bound has room for three.
QImage image(unsigned int color = 0)
{
    QImage image(100, 10, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

TEST(ImageCacheTest, GivesWhatWasInserted)
{
    ImageCache cache(12000);
    cache.insert("a", image(1));
    EXPECT_EQ(cache.find("a"), image(1));
    EXPECT_TRUE(cache.find("b").isNull());
    EXPECT_EQ(cache.bytes(), 4000);
}

TEST(ImageCacheTest, LetsTheLeastRecentlyUsedGo)
{
    ImageCache cache(12000);
    for (const char* const key : {"a", "b", "c"})
        cache.insert(key, image());
    cache.find("a");
    cache.insert("d", image());
    EXPECT_TRUE(cache.contains("a"));
    EXPECT_FALSE(cache.contains("b"));
    EXPECT_EQ(cache.bytes(), 12000);
}

TEST(ImageCacheTest, CountsAnImageThatReplacesAnotherOnce)
{
    ImageCache cache(12000);
    cache.insert("a", image(1));
    cache.insert("a", image(2));
    EXPECT_EQ(cache.bytes(), 4000);
    EXPECT_EQ(cache.find("a"), image(2));
}

TEST(ImageCacheTest, KeepsAnImageAboveTheBoundUntilTheNext)
{
    ImageCache cache(3000);
    cache.insert("a", image());
    EXPECT_TRUE(cache.contains("a"));
    cache.insert("b", image());
    EXPECT_FALSE(cache.contains("a"));
    EXPECT_TRUE(cache.contains("b"));
}

TEST(ImageCacheTest, ForgetsWhatIsRemoved)
{
    ImageCache cache(12000);
    cache.insert("a", image());
    cache.insert("b", image());
    cache.remove("a");
    cache.remove("missing");
    EXPECT_FALSE(cache.contains("a"));
    EXPECT_EQ(cache.bytes(), 4000);
    cache.clear();
    EXPECT_FALSE(cache.contains("b"));
    EXPECT_EQ(cache.bytes(), 0);
}

} // namespace

} // namespace pictures
