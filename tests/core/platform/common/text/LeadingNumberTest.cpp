#include "platform/common/text/LeadingNumber.h"

#include <clocale>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using Pt::leadingNumber;

TEST(LeadingNumberTest, ReadsWhatATextBeginsWith)
{
    EXPECT_EQ(leadingNumber("2.5"), 2.5);
    EXPECT_EQ(leadingNumber(" \t\n+3abc"), 3.0);
    EXPECT_EQ(leadingNumber("-1e2x"), -100.0);
    EXPECT_EQ(leadingNumber(".5"), 0.5);
    EXPECT_EQ(leadingNumber("1.2.3"), 1.2);
}

TEST(LeadingNumberTest, IsZeroWhereNoneBegins)
{
    for (const char* text : {"", "x1", "+-1", "- 1", ",5", "e5"})
        EXPECT_EQ(leadingNumber(text), 0.0) << text;
}

TEST(LeadingNumberTest, ReadsHexadecimalAndBeyondTheRange)
{
    EXPECT_EQ(leadingNumber("0x10"), 16.0);
    EXPECT_EQ(leadingNumber("-0X62.8"), -98.5);
    EXPECT_EQ(leadingNumber("1e999"), HUGE_VAL);
    EXPECT_EQ(leadingNumber("-1e999"), -HUGE_VAL);
    EXPECT_EQ(leadingNumber("1e-999"), 0.0);
    EXPECT_EQ(leadingNumber("infinite"), HUGE_VAL);
    EXPECT_TRUE(std::isnan(leadingNumber("nano")));
}

TEST(LeadingNumberTest, HasAPointInALocaleWithAComma)
{
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
        GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
    EXPECT_EQ(leadingNumber("2.5"), 2.5);
    EXPECT_EQ(leadingNumber("2,5"), 2.0);
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace
