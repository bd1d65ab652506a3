#include "core/messaging/support/FailingHeap.h"
#include "messaging/SoString.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using ScObjects::SoString;
using test::FailingHeap;

const std::string kLarge(5000, 'x');

class SoStringMemoryTest : public testing::Test {
protected:
    // One that could not take a large text.
    static SoString failed()
    {
        const FailingHeap heap(1000);
        SoString text("before");
        text.append(kLarge);
        return text;
    }
};

} // namespace

TEST_F(SoStringMemoryTest, KeepsWhatItHasWithoutMemoryForAnother)
{
    SoString text("before");
    {
        const FailingHeap heap(1000);
        text.assign(kLarge);
    }
    EXPECT_TRUE(text.hasFailed());
    EXPECT_EQ(text.view(), "before");
    EXPECT_EQ(text.capacity(), 128);
    text.assign(kLarge);
    EXPECT_FALSE(text.hasFailed());
    EXPECT_EQ(text.view(), kLarge);
}

TEST_F(SoStringMemoryTest, KeepsWhatItHasWithoutMemoryForMore)
{
    SoString text(kLarge);
    {
        const FailingHeap heap(1000);
        text.append(kLarge);
        EXPECT_FALSE(text.reserve(10'000));
    }
    EXPECT_TRUE(text.hasFailed());
    EXPECT_EQ(text.view(), kLarge);
    text.append("y");
    EXPECT_TRUE(text.hasFailed()) << "there is still something missing";
    text.shrink(0);
    EXPECT_FALSE(text.hasFailed());
}

TEST_F(SoStringMemoryTest, DoesNotFailWhenRoomThatNobodyUsesIsRefused)
{
    SoString text("before");
    const FailingHeap heap(1000);
    EXPECT_FALSE(text.reserve(5000));
    EXPECT_FALSE(text.hasFailed());
    EXPECT_EQ(text.view(), "before");
}

TEST_F(SoStringMemoryTest, IsEmptyWhenThereWasNoMemoryForACopy)
{
    const SoString text(kLarge);
    const FailingHeap heap(1000);
    const SoString copy(text);
    EXPECT_TRUE(copy.hasFailed());
    EXPECT_TRUE(copy.isEmpty());
    const std::u16string wide(5000, u'x');
    const SoString converted(reinterpret_cast<const unsigned short*>(wide.c_str()));
    EXPECT_TRUE(converted.hasFailed());
    EXPECT_TRUE(converted.isEmpty());
}

TEST_F(SoStringMemoryTest, PassesOnThatSomethingIsMissing)
{
    const SoString text = failed();
    EXPECT_TRUE(text.hasFailed());
    const SoString copy(text); // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_TRUE(copy.hasFailed());
    SoString assigned;
    assigned = text;
    EXPECT_TRUE(assigned.hasFailed());
    SoString appended("a");
    appended << text;
    EXPECT_TRUE(appended.hasFailed());
    EXPECT_EQ(appended.view(), "abefore");
    SoString moved;
    moved = std::move(appended);
    EXPECT_TRUE(moved.hasFailed());
    assigned = "whole";
    EXPECT_FALSE(assigned.hasFailed());
}
