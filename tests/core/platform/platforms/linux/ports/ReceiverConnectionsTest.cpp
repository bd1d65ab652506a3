#include "platform/platforms/linux/ports/ReceiverConnections.h"

#include "support/TestFolder.h"

#include <set>

#include <gtest/gtest.h>

using Pt::Descriptor;
using Pt::ReceiverConnections;

namespace {

class ReceiverConnectionsTest : public testing::Test {
protected:
    int added()
    {
        Descriptor any(::dup(STDIN_FILENO));
        const int number = any.get();
        connections.add(std::move(any));
        return number;
    }

    int leastLatelyUsed(int other = ReceiverConnections::kNone) const
    {
        return connections.leastLatelyUsed(other);
    }

    ReceiverConnections connections;
};

} // namespace

TEST_F(ReceiverConnectionsTest, FindsNoneAmongNoneOthers)
{
    EXPECT_EQ(leastLatelyUsed(), ReceiverConnections::kNone);
    const int only = added();
    EXPECT_EQ(leastLatelyUsed(only), ReceiverConnections::kNone);
    EXPECT_EQ(leastLatelyUsed(), only);
}

TEST_F(ReceiverConnectionsTest, FindsTheOneUsedLeastLately)
{
    const int first = added();
    const int second = added();
    const int third = added();
    EXPECT_EQ(leastLatelyUsed(), first);
    EXPECT_EQ(leastLatelyUsed(first), second);
    connections.use(first);
    EXPECT_EQ(leastLatelyUsed(), second);
    connections.use(second);
    EXPECT_EQ(leastLatelyUsed(), third);
    connections.close(third);
    EXPECT_EQ(leastLatelyUsed(), first);
}

TEST_F(ReceiverConnectionsTest, ClosesWhatItIsTold)
{
    const auto before = test::openDescriptors();
    const int first = added();
    const int second = added();
    connections.close(first);
    connections.close(first);
    EXPECT_EQ(test::openDescriptors(), before + 1);
    EXPECT_FALSE(connections.contains(first));
    connections.use(first);
    EXPECT_FALSE(connections.contains(first));
    std::set<int> all;
    connections.forEach([&](int connection) { all.insert(connection); });
    EXPECT_EQ(all, std::set<int>{second});
    EXPECT_EQ(connections.size(), 1U);
}
