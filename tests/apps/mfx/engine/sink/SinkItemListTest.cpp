#include "mfx/engine/sink/SinkItemList.h"

#include "platform/common/text/PtUnicode.h"

#include <string>

#include <gtest/gtest.h>

namespace mfx {
namespace {

class SinkItemListTest : public testing::Test {
protected:
    SinkItems items{
        2, [](std::size_t index) {
            const std::string number = std::to_string(index);
            return SinkItem{static_cast<long>(index) + 10, "D" + number, "F" + number, "/to"};
        }};
    SinkItemList list{"card \xF0\x9F\x93\xB7", items};
    CPropSinkMediaItem record;
};

TEST_F(SinkItemListTest, GivesItsItemsOneByOne)
{
    long count = 0;
    EXPECT_EQ(list.GetCount(count), kFxOk);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(list.Next(record), kFxOk);
    EXPECT_EQ(record.itemKey, 10);
    EXPECT_EQ(Pt::toUtf8(record.deviceName), "D0");
    EXPECT_EQ(Pt::toUtf8(record.fileName), "F0");
    EXPECT_EQ(Pt::toUtf8(record.folder), "/to");
    EXPECT_EQ(list.Next(record), kFxOk);
    EXPECT_EQ(record.itemKey, 11);
    EXPECT_EQ(list.Next(record), kFxEndOfList);
    EXPECT_EQ(record.itemKey, 11);
}

TEST_F(SinkItemListTest, BeginsAgain)
{
    list.Next(record);
    list.Next(record);
    EXPECT_EQ(list.Reset(), kFxOk);
    EXPECT_EQ(list.Next(record), kFxOk);
    EXPECT_EQ(record.itemKey, 10);
}

TEST_F(SinkItemListTest, NamesTheDevice)
{
    CPropSource source;
    EXPECT_EQ(list.GetSource(source), kFxOk);
    EXPECT_EQ(Pt::toUtf8(source.name), "card \xF0\x9F\x93\xB7");
    EXPECT_EQ(Pt::toUtf8(source.longName), "card \xF0\x9F\x93\xB7");
}

TEST_F(SinkItemListTest, EndsATextThatDoesNotFit)
{
    const SinkItem item{1, std::string(400, 'd'), std::string(400, 'f'), std::string(400, 'x')};
    fillRecord(record, item);
    EXPECT_EQ(Pt::toUtf8(record.folder), std::string(std::size(record.folder) - 1, 'x'));
    EXPECT_EQ(Pt::toUtf8(record.fileName), std::string(std::size(record.fileName) - 1, 'f'));
}

} // namespace
} // namespace mfx
