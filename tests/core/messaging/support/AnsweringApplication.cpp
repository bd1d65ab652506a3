// An application on the bus, as the tests of what goes over the wire need it. Usage:
// answering_application NAME. Says its name once it is on the bus, and that it answers questions;
// handles scripts until its input ends: "fail" is an error, anything else has a result.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkPing.h"

#include <cstdio>

#include <poll.h>
#include <unistd.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

class ScriptHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int, TevoroTalk::Message& message, SoString* result) override
    {
        constexpr long kFailed = 7;
        const bool fails = message.body == "fail";
        if (result != nullptr)
            *result << (fails ? "cannot do this" : "you said ")
                    << (fails ? "" : message.body.get());
        return fails ? kFailed : 0;
    }
};

bool waitsForMore(const TevoroTalk& bus)
{
    pollfd questions[] = {{STDIN_FILENO, POLLIN, 0}, {bus.waitDescriptor(), POLLIN, 0}};
    ::poll(questions, 2, -1);
    return questions[0].revents == 0;
}

} // namespace

int main(int count, char** words)
{
    if (count != 2)
        return 2;
    TevoroTalk bus(words[1], new ScriptHandler, true, nullptr);
    TevoroTalk::Thread::setPingValue("MOOD", "cheerful");
    std::printf("%s\n", bus.getAppName().get());
    std::fflush(stdout);
    while (waitsForMore(bus))
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
}
