#include "pictures/folder/PathText.h"

#include <gtest/gtest.h>

namespace pictures {
namespace {

TEST(PathTextTest, IsTheNameItselfWhereThatIsUtf8)
{
    const std::string name = "/p/Grüße 写真 \U0001F4F7.jpg";
    EXPECT_EQ(pathText(name), QString::fromStdString(name));
    EXPECT_EQ(pathBytes(QString::fromStdString(name)), name);
    EXPECT_EQ(displayText(QString::fromStdString(name)), QString::fromStdString(name));
}

TEST(PathTextTest, GivesBackEveryByte)
{
    for (const std::string name : {"",
             "Gr\xFC\xDF\x65.jpg",
             "\xFF\xFE",
             "\xC3",
             "\xED\xB2\x80.jpg", // half a character in the coding of UTF-8
             "\xF0\x9F\x93",
             "\xF0\x9F\x93\xB7\x80",
             "\xC0\xAF",
             "a\nb\x80\xC3\xA4"})
        EXPECT_EQ(pathBytes(pathText(name)), name) << displayText(pathText(name)).toStdString();
    for (int byte = 1; byte < 256; ++byte) {
        const std::string name{'a', static_cast<char>(byte), 'b'};
        EXPECT_EQ(pathBytes(pathText(name)), name) << byte;
    }
}

TEST(PathTextTest, TellsNamesApart)
{
    EXPECT_NE(pathText("\xFC.jpg"), pathText("\xFD.jpg"));
    EXPECT_NE(pathText("\xFC.jpg"), pathText("%FC.jpg"));
    EXPECT_NE(pathText("\xFC.jpg"), pathText("\xC3\xBC.jpg"));
}

TEST(PathTextTest, ShowsASignForWhatCannotBeShown)
{
    EXPECT_EQ(displayText(pathText("a\nb\tc.jpg")), QStringLiteral("a%0Ab%09c.jpg"));
    EXPECT_EQ(displayText(pathText("Gr\xFC\xDF.jpg")), QStringLiteral("Gr%FC%DF.jpg"));
    EXPECT_EQ(displayText(QStringLiteral("a\u202Egpj.exe")), QStringLiteral("a%E2%80%AEgpj.exe"));
}

} // namespace
} // namespace pictures
