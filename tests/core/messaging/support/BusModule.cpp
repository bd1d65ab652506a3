// A module that uses the bus while it is loaded, like a plug-in in a host.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"

namespace {

using namespace ScObjects;

class Counter final : public TevoroTalk::MsgHandler {
public:
    explicit Counter(int& count)
        : m_count(count)
    {
    }
    long handleMessage(int, TevoroTalk::Message&, SoString*) override
    {
        ++m_count;
        return 0;
    }

private:
    int& m_count;
};

bool sendToItself(const TevoroTalk& instance, int& count)
{
    const int before = count;
    TevoroTalk::Message message;
    message.target = instance.getAppName();
    message.body = "text";
    message.responseRequest = "Received";
    return instance.send(message, false, 0, nullptr) && TevoroTalk::pump(TevoroTalk::kBoth, nullptr)
        && count > before;
}

} // namespace

// 0 when all went well. The bus is set up here or in the background, and ended.
extern "C" __attribute__((visibility("default"))) int useBus(const char* name, bool inBackground)
{
    int count = 0;
    if (!TevoroTalk::InitTerm::init(name, !inBackground))
        return 1;
    auto* const instance = new TevoroTalk(name, new Counter(count), true, nullptr);
    const bool works = instance->getAppName() == name && sendToItself(*instance, count);
    delete instance;
    return TevoroTalk::InitTerm::exit() && works ? 0 : 2;
}
