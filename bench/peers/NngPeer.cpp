// nng over ipc: req and rep, push and pull.
#include "peers/Peer.h"

#include <vector>

#include <nng/nng.h>
#include <nng/protocol/pipeline0/pull.h>
#include <nng/protocol/pipeline0/push.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

namespace bench {

namespace {

class NngPeer final : public Peer {
public:
    explicit NngPeer(const std::string& folder)
        : m_address("ipc://" + folder + "/nng")
        , m_buffer(2 * 1024 * 1024)
    {
    }

    const char* name() const override { return "nng"; }

    void serve(const std::function<void()>& ready) override
    {
        require(nng_rep0_open(&m_socket) == 0
                && nng_listen(m_socket, m_address.c_str(), nullptr, 0) == 0,
            "nng_listen");
        ready();
        while (true)
            send({m_buffer.data(), take()});
    }

    void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) override
    {
        require(nng_pull0_open(&m_socket) == 0
                && nng_listen(m_socket, (m_address + "-one-way").c_str(), nullptr, 0) == 0,
            "nng_listen");
        ready();
        for (std::size_t i = 0; i < count; ++i)
            take();
        done();
    }

    void connect() override { m_isConnected = false; }

    void ask(const std::string& text) override
    {
        join(nng_req0_open, m_address);
        send(text);
        take();
    }

    void tell(const std::string& text) override
    {
        join(nng_push0_open, m_address + "-one-way");
        send(text);
    }

    void disconnect() override { nng_close(m_socket); }

private:
    void join(int (*open)(nng_socket*), const std::string& address)
    {
        if (m_isConnected)
            return;
        require(open(&m_socket) == 0 && nng_dial(m_socket, address.c_str(), nullptr, 0) == 0,
            "nng_dial");
        m_isConnected = true;
    }

    void send(std::string_view text)
    {
        require(
            nng_send(m_socket, const_cast<char*>(text.data()), text.size(), 0) == 0, "nng_send");
    }

    std::size_t take()
    {
        std::size_t size = m_buffer.size();
        require(nng_recv(m_socket, m_buffer.data(), &size, 0) == 0, "nng_recv");
        return size;
    }

    std::string m_address;
    std::vector<char> m_buffer;
    nng_socket m_socket = NNG_SOCKET_INITIALIZER;
    bool m_isConnected = false;
};

} // namespace

std::unique_ptr<Peer> makeNngPeer(const std::string& folder)
{
    return std::make_unique<NngPeer>(folder);
}

} // namespace bench
