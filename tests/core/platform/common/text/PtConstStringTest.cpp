#include "platform/common/text/PtConstString.h"

#include "core/platform/WideLiteral.h"

#include <memory>

#include <gtest/gtest.h>

using test::wide;

TEST(PtConstStringTest, HoldsTheLiteralInSixteenBitUnits)
{
    const Pt::ConstString text("Gr\xC3\xB6\xC3\x9F"
                               "e");
    EXPECT_EQ(wide(u"Gr\u00F6\u00DFe"), text.text());
    EXPECT_EQ(static_cast<const unsigned short*>(text), text.text());
}

TEST(PtConstStringTest, IsOnePointer)
{
    EXPECT_EQ(sizeof(Pt::ConstString), sizeof(unsigned short*));
}

TEST(PtConstStringTest, TakesNullForAnEmptyText)
{
    EXPECT_EQ(*Pt::ConstString(nullptr).text(), 0);
    EXPECT_EQ(*Pt::ConstString("").text(), 0);
}

TEST(PtConstStringTest, LeavesTheTextWhenTheHolderGoes)
{
    auto holder = std::make_unique<Pt::ConstString>("stays");
    const unsigned short* const text = holder->text();
    holder.reset();
    EXPECT_EQ(wide(u"stays"), text);
}
