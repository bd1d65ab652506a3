// ZeroMQ over ipc: REQ and REP, PUSH and PULL.
#include "peers/Peer.h"

#include <vector>

#include <zmq.h>

namespace bench {

namespace {

class ZeroMQPeer final : public Peer {
public:
    explicit ZeroMQPeer(const std::string& folder)
        : m_address("ipc://" + folder + "/zeromq")
        , m_buffer(2 * 1024 * 1024)
    {
    }

    const char* name() const override { return "zeromq"; }

    void serve(const std::function<void()>& ready) override
    {
        open(ZMQ_REP);
        require(zmq_bind(m_socket, m_address.c_str()) == 0, "zmq_bind");
        ready();
        while (true)
            zmq_send(m_socket, m_buffer.data(), take(), 0);
    }

    void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) override
    {
        open(ZMQ_PULL);
        require(zmq_bind(m_socket, (m_address + "-one-way").c_str()) == 0, "zmq_bind");
        ready();
        for (std::size_t i = 0; i < count; ++i)
            take();
        done();
    }

    void connect() override { }

    void ask(const std::string& text) override
    {
        join(ZMQ_REQ, m_address);
        require(zmq_send(m_socket, text.data(), text.size(), 0) >= 0, "zmq_send");
        take();
    }

    void tell(const std::string& text) override
    {
        join(ZMQ_PUSH, m_address + "-one-way");
        require(zmq_send(m_socket, text.data(), text.size(), 0) >= 0, "zmq_send");
    }

    void disconnect() override
    {
        zmq_close(m_socket);
        zmq_ctx_term(m_context);
        m_socket = nullptr;
    }

private:
    void open(int kind)
    {
        m_context = zmq_ctx_new();
        m_socket = zmq_socket(m_context, kind);
        require(m_socket != nullptr, "zmq_socket");
    }

    void join(int kind, const std::string& address)
    {
        if (m_socket != nullptr)
            return;
        open(kind);
        require(zmq_connect(m_socket, address.c_str()) == 0, "zmq_connect");
    }

    std::size_t take()
    {
        const int got = zmq_recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        require(got > 0, "zmq_recv");
        return static_cast<std::size_t>(got);
    }

    std::string m_address;
    std::vector<char> m_buffer;
    void* m_context = nullptr;
    void* m_socket = nullptr;
};

} // namespace

std::unique_ptr<Peer> makeZeroMQPeer(const std::string& folder)
{
    return std::make_unique<ZeroMQPeer>(folder);
}

} // namespace bench
