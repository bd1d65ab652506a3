// The barest way: a pair of sockets of packets, and a wait in epoll on each side.
#include "peers/Peer.h"

#include <vector>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

class BarePacketPeer final : public Peer {
public:
    const char* name() const override { return "bare"; }

    void prepare() override
    {
        for (const int socket : m_sockets)
            ::close(socket); // of the turn before
        constexpr int kBuffer = 4 * 1024 * 1024;
        require(
            ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, m_sockets) == 0, "socketpair");
        for (const int socket : m_sockets)
            if (::setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &kBuffer, sizeof kBuffer) != 0)
                ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kBuffer, sizeof kBuffer);
    }

    void serve(const std::function<void()>& ready) override
    {
        open(m_sockets[1]);
        ready();
        while (true)
            write({m_buffer.data(), take()});
    }

    void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) override
    {
        open(m_sockets[1]);
        ready();
        for (std::size_t i = 0; i < count; ++i)
            take();
        done();
    }

    void connect() override { open(m_sockets[0]); }

    void ask(const std::string& text) override
    {
        write(text);
        take();
    }

    void tell(const std::string& text) override { write(text); }

    void disconnect() override
    {
        for (const int descriptor : {m_epoll, m_sockets[0], m_sockets[1]})
            ::close(descriptor);
    }

private:
    void open(int socket)
    {
        m_socket = socket;
        m_epoll = ::epoll_create1(EPOLL_CLOEXEC);
        epoll_event event = {};
        event.events = EPOLLIN;
        require(::epoll_ctl(m_epoll, EPOLL_CTL_ADD, socket, &event) == 0, "epoll_ctl");
        m_buffer.resize(2 * 1024 * 1024);
    }

    std::size_t take()
    {
        epoll_event event = {};
        require(::epoll_wait(m_epoll, &event, 1, -1) == 1, "epoll_wait");
        const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        require(got > 0, "recv");
        return static_cast<std::size_t>(got);
    }

    void write(std::string_view text) const
    {
        require(::send(m_socket, text.data(), text.size(), 0) > 0, "send");
    }

    int m_sockets[2] = {-1, -1};
    int m_socket = -1;
    int m_epoll = -1;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeBarePacketPeer()
{
    return std::make_unique<BarePacketPeer>();
}

} // namespace bench
