#include "TevoroAppManager/HelloHandler.h"

#include "messaging/Message.h"

#include <gtest/gtest.h>

TEST(HelloHandlerTest, NoticesResultsAndNothingElse)
{
    HelloHandler handler;
    ScObjects::TevoroTalk::Message message;
    for (int reason = -1; reason <= 8; ++reason) {
        gMessageReceived = 0;
        EXPECT_EQ(handler.handleMessage(reason, message, nullptr), 0);
        EXPECT_EQ(gMessageReceived, reason == 3 ? 1 : 0) << reason;
    }
    gMessageReceived = 0;
}

TEST(HelloHandlerTest, LeavesTheFlagUpForLaterMessages)
{
    HelloHandler handler;
    ScObjects::TevoroTalk::Message message;
    handler.handleMessage(3, message, nullptr);
    handler.handleMessage(0, message, nullptr); // the notice that follows a result
    EXPECT_EQ(gMessageReceived, 1);
    gMessageReceived = 0;
}
