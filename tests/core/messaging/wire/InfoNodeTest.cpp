#include "messaging/wire/InfoNode.h"

#include <gtest/gtest.h>

namespace {

using ScObjects::SoString;

// Each change of the capacity copies the whole text.
TEST(InfoNodeTest, ATreeOfManyLinesIsNotCopiedForEachOfThem)
{
    constexpr int kLines = 50'000;
    SoString out;
    int copies = 0;
    long capacity = out.capacity();
    for (int i = 0; i < kLines; ++i) {
        ScObjects::TevoroTalkData::appendLeaf(out, "/tree/node", "/leaf", "Label", "a value of it");
        copies += out.capacity() != capacity ? 1 : 0;
        capacity = out.capacity();
    }
    EXPECT_TRUE(out.view().ends_with("/tree/node/leaf;0;Label;a value of it;\n"));
    EXPECT_EQ(out.length(), kLines * 39);
    EXPECT_LT(copies, 20);
}

} // namespace
