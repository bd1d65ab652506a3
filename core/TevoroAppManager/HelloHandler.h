// The receiver of what comes back on the bus: notices that the browser application has answered.
//
// Owned by the instance of the bus that it is given to. Runs inside the pump, on the host's main
// thread, as all that looks at the flag does: so the flag has no lock.
#pragma once

#include "messaging/MsgHandler.h"

// 1 once a result has come, 0 from the beginning of each hand-off. One for all sinks of the
// process: a result that comes late counts for the hand-off that waits then.
extern int gMessageReceived;

class HelloHandler final : public ScObjects::TevoroTalk::MsgHandler {
public:
    ~HelloHandler() override;
    long handleMessage(
        int reason, ScObjects::TevoroTalk::Message& message, ScObjects::SoString* result) override;
};
