#include "pictures/folder/PictureKind.h"

#include <QString>

#include <gtest/gtest.h>

namespace pictures {

TEST(PictureKindTest, GoesByTheExtensionInAnyCase)
{
    const struct {
        const char16_t* name;
        PictureKind kind;
    } cases[] = {
        {u"IMG_0001.JPG", PictureKind::kJpeg},
        {u"a.jpeg", PictureKind::kJpeg},
        {u"a.3fr", PictureKind::kRaw},
        {u"_DSC1.NEF", PictureKind::kRaw},
        {u"a.x3f", PictureKind::kRaw},
        {u"IMG_1.HEIC", PictureKind::kHeif},
        {u"a.Tiff", PictureKind::kOther},
        {u"a.webp", PictureKind::kOther},
        {u"MVI_1.MOV", PictureKind::kMovie},
        {u"MVI_1.THM", PictureKind::kStillOfMovie},
        {u"a.raw.xmp", PictureKind::kSidecar},
        {u"two.dots.png", PictureKind::kOther},
    };
    for (const auto& row : cases)
        EXPECT_EQ(kindOfName(row.name), row.kind) << QStringView(row.name).toString().toStdString();
}

TEST(PictureKindTest, IsNoneWithoutAnExtensionThatItKnows)
{
    for (const char16_t* const name : {u"",
             u".",
             u"jpg",
             u".jpg",
             u"a.",
             u"a.txt",
             u"a.jpg.part",
             u"a.jpgg",
             u"a.jp",
             u"a.jpg ",
             u"a.\u0130pg"})
        EXPECT_EQ(kindOfName(name), PictureKind::kNone)
            << QStringView(name).toString().toStdString();
}

TEST(PictureKindTest, CallsSidecarsAndStillsNoPicturesOfTheirOwn)
{
    for (const PictureKind kind :
        {PictureKind::kNone, PictureKind::kSidecar, PictureKind::kStillOfMovie})
        EXPECT_FALSE(isPicture(kind));
    for (const PictureKind kind : {PictureKind::kJpeg,
             PictureKind::kRaw,
             PictureKind::kHeif,
             PictureKind::kOther,
             PictureKind::kMovie})
        EXPECT_TRUE(isPicture(kind));
}

} // namespace pictures
