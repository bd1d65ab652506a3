// An application on the message bus: holds the name echo-1.0 and answers every script.
#include <cstdio>

#include <messaging/Message.h>
#include <messaging/MsgHandler.h>

using namespace ScObjects;

class ScriptHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason != kRequest)
            return 1; // no script: whoever asked gets this number back as an error
        if (result != nullptr)
            *result << "you said " << message.body;
        return 0;
    }
};

int main()
{
    TevoroTalk bus("echo-1.0", new ScriptHandler, true, nullptr);
    std::printf("on the bus as %s\n", bus.getAppName().get());
    std::fflush(stdout);
    while (bus.waitForMessage(-1)) // or bus.waitDescriptor() in your own event loop
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
}
