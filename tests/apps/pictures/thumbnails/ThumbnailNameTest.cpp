#include "pictures/thumbnails/ThumbnailName.h"

namespace pictures {
namespace {

// Every printable character of ASCII, as the desktop's own library writes it.
TEST(ThumbnailNameTest, EncodesAnAddressAsTheDesktopDoes)
{
    const QString path =
        QStringLiteral("/u/!\"#$%&'()*+,-.0189:;<=>?@AZ[\\]^_`az{|}~ ") + QString(QChar(0xFC));
    EXPECT_EQ(fileUri(path).toStdString(),
        "file:///u/!%22%23$%25&'()*+,-.0189:%3B%3C=%3E%3F@AZ%5B%5C%5D%5E_%60az%7B%7C%7D~%20%C3%BC");
}

// The example of the standard.
TEST(ThumbnailNameTest, IsTheDigestOfTheAddress)
{
    EXPECT_EQ(
        fileUri(QStringLiteral("/home/jens/photos/me.png")), "file:///home/jens/photos/me.png");
    EXPECT_EQ(thumbnailName("file:///home/jens/photos/me.png").toStdString(),
        "c6ee772d9e49320e97ec29a7eb5b1697.png");
}

} // namespace
} // namespace pictures
