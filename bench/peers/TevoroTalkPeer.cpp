// The bus, with digests, as an application uses it.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "peers/Peer.h"

namespace bench {

namespace {

using namespace ScObjects;

constexpr const char* kServer = "benchserver-1.0";

class Echo final : public TevoroTalk::MsgHandler {
public:
    explicit Echo(std::size_t& count)
        : m_count(count)
    {
    }
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason == kRequest && message.responseRequest == "Result Processed")
            *result = message.body;
        ++m_count;
        return 0;
    }

private:
    std::size_t& m_count;
};

class ResultHandler final : public TevoroTalk::MsgHandler {
public:
    explicit ResultHandler(bool& isThere)
        : m_isThere(isThere)
    {
    }
    long handleMessage(int reason, TevoroTalk::Message&, SoString*) override
    {
        m_isThere |= reason == kResult;
        return 0;
    }
    const char* getMsgType() const override { return "Result"; }

private:
    bool& m_isThere;
};

class TevoroTalkPeer final : public Peer {
public:
    const char* name() const override { return "tevorotalk"; }

    void serve(const std::function<void()>& ready) override
    {
        sink(~std::size_t{0}, ready, [] {});
    }

    void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) override
    {
        std::size_t taken = 0;
        TevoroTalk bus(kServer, new Echo(taken), true, nullptr);
        require(bus.getAppName() == kServer, "the name of the server");
        ready();
        while (taken < count)
            if (!TevoroTalk::pump(TevoroTalk::kBoth, nullptr))
                bus.waitForMessage(-1);
        done();
    }

    void connect() override
    {
        m_bus = std::make_unique<TevoroTalk>(
            "benchclient-1.0", new ResultHandler(m_isThere), true, nullptr);
    }

    void ask(const std::string& text) override
    {
        m_isThere = false;
        send(text, "Result");
        while (!m_isThere) {
            m_bus->waitForMessage(-1);
            TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        }
    }

    void tell(const std::string& text) override { send(text, ""); }

    void disconnect() override { m_bus.reset(); }

private:
    void send(const std::string& text, const char* request) const
    {
        TevoroTalk::Message message;
        message.target = kServer;
        message.responseRequest = request;
        message.body.assign(text);
        require(m_bus->send(message, false, 0, nullptr), "send");
    }

    std::unique_ptr<TevoroTalk> m_bus;
    bool m_isThere = false;
};

} // namespace

std::unique_ptr<Peer> makeTevoroTalkPeer()
{
    return std::make_unique<TevoroTalkPeer>();
}

} // namespace bench
