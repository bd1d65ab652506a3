#include "tevoro/scripts/ChildLine.h"

#include <gmock/gmock.h>

namespace {

using testing::Optional;
using tevoro::LineBuffer;
using tevoro::readChildLine;

TEST(ChildLineTest, ReadsTheFourMessages)
{
    const auto ready = readChildLine(R"({"ready":"no filter"})");
    ASSERT_TRUE(ready);
    EXPECT_EQ(std::get<tevoro::ChildReady>(*ready).gap, u"no filter");
    const auto call = readChildLine(R"({"call":"status","arguments":[]})");
    ASSERT_TRUE(call);
    EXPECT_EQ(std::get<tevoro::ChildCall>(*call).name, u"status");
    EXPECT_EQ(std::get<tevoro::ChildCall>(*call).argument, std::nullopt);
    const auto error = readChildLine(R"({"line":7,"error":"so"})");
    ASSERT_TRUE(error);
    EXPECT_EQ(std::get<tevoro::ChildError>(*error).line, 7);
    const auto result = readChildLine(R"({"result":"ü\n"})");
    ASSERT_TRUE(result);
    EXPECT_EQ(std::get<tevoro::ChildResult>(*result).text, u"ü\n");
}

TEST(ChildLineTest, ReadsNoPartOfAMessage)
{
    const QByteArray line = R"({"call":"browseTo","arguments":["/a/ü"]})";
    for (qsizetype size = 0; size < line.size(); ++size)
        EXPECT_FALSE(readChildLine(line.first(size))) << size;
    EXPECT_TRUE(readChildLine(line));
}

TEST(LineBufferTest, CutsWhatComesInPieces)
{
    LineBuffer lines(100);
    lines.add("on");
    EXPECT_EQ(lines.take(), std::nullopt);
    lines.add("e\ntwo\n\nth");
    EXPECT_THAT(lines.take(), Optional(QByteArray("one")));
    EXPECT_THAT(lines.take(), Optional(QByteArray("two")));
    EXPECT_THAT(lines.take(), Optional(QByteArray("")));
    EXPECT_EQ(lines.take(), std::nullopt);
    EXPECT_FALSE(lines.isEmpty());
    lines.add("ree\n");
    EXPECT_THAT(lines.take(), Optional(QByteArray("three")));
    EXPECT_TRUE(lines.isEmpty());
}

TEST(LineBufferTest, GivesNoLineThatIsTooLong)
{
    LineBuffer lines(3);
    lines.add("abc");
    EXPECT_FALSE(lines.isTooLong());
    lines.add("\n");
    EXPECT_FALSE(lines.isTooLong());
    EXPECT_THAT(lines.take(), Optional(QByteArray("abc")));
    lines.add("abcd");
    EXPECT_TRUE(lines.isTooLong());
    lines.add("\n");
    EXPECT_TRUE(lines.isTooLong());
    EXPECT_EQ(lines.take(), std::nullopt);
}

} // namespace
