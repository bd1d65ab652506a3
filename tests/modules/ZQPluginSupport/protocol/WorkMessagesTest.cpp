#include "ZQPluginSupport/protocol/WorkMessages.h"

#include <gtest/gtest.h>

namespace dng {
namespace {

TEST(WorkMessagesTest, OrdersComeThroughAsTheyWere)
{
    for (const WorkOrder& order : {WorkOrder{0, false, false, false, false, false, "a"},
             WorkOrder{2, true, false, true, false, true, "IMG 0001.CR2"},
             WorkOrder{1, false, true, false, true, false, "\xff\n"}})
        EXPECT_EQ(parseOrder(formatOrder(order)), order);
}

TEST(WorkMessagesTest, AnswersComeThroughAsTheyWere)
{
    for (const WorkAnswer& answer : {WorkAnswer{WorkAnswer::Kind::kReady, kZQPluginDone},
             WorkAnswer{WorkAnswer::Kind::kGoesOn, kZQPluginDone},
             WorkAnswer{WorkAnswer::Kind::kDone, kZQPluginBadRequest}})
        EXPECT_EQ(parseAnswer(formatAnswer(answer)), answer);
}

TEST(WorkMessagesTest, NothingElseIsAnOrder)
{
    for (const std::string& bytes : {std::string(),
             std::string("convert:"),
             std::string("convert:000000"),
             std::string("convert:300000a"),
             std::string("convert:020000a"),
             std::string("convert:00000/a"),
             std::string("convert:000000a/b"),
             std::string("convert:000000.."),
             std::string("convert:000000a\0b", 17),
             std::string("xconvert:000000a"),
             "convert:000000" + std::string(300, 'x')})
        EXPECT_FALSE(parseOrder(bytes)) << bytes;
}

TEST(WorkMessagesTest, NothingElseIsAnAnswer)
{
    for (const char* const bytes : {"",
             "answer:",
             "answer:d",
             "answer:xA",
             "answer:dZ",
             "answer:d@",
             "answer:dAA",
             "answerxdA"})
        EXPECT_FALSE(parseAnswer(bytes)) << bytes;
}

} // namespace
} // namespace dng
