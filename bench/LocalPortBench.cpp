// Local ports between two processes, measured against the barest way to do the same: two processes
// with a pair of sockets of packets, each of which waits in epoll.
//
//   round-trip/300B   a text there and one back, median of all
//   round-trip/1MB    the same with texts of a megabyte
//   one-way/300B      texts a second, until the last one is taken
//   one-way/1MB       the same with texts of a megabyte
//   one-way/5MB       the same with texts that are too long for a packet: by memory file here, in
//                     several packets on the bare pair
//
// Both are measured in turn, so that they meet the same machine. Each row is one JSON object: both
// times for one text in microseconds (medians), and the ratio; above 1 the port is slower. A user
// who may not widen the buffers of sockets sends a megabyte by memory file, and the bare pair in
// several packets; "packet" tells the longest that the pair takes.
//
// Usage: LocalPortBench [TURNS]

#include "Median.h"
#include "TemporaryFolder.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::perror(what);
    std::exit(1);
}

// One of the two processes' ends of a way for texts.
class End {
public:
    virtual ~End() = default;
    virtual void send(std::string_view text) = 0;

    // Waits until something is there, and takes all of it; how many whole texts that were.
    virtual std::size_t take() = 0;

    void take(std::size_t count)
    {
        for (std::size_t taken = 0; taken < count;)
            taken += take();
    }
};

class PortEnd final : public End {
public:
    PortEnd(const char* own, const char* other)
        : m_port(Pt::LocalPort::hold(own))
        , m_other(other)
    {
        require(m_port != nullptr, own);
        m_waited.add(m_port->descriptor());
    }

    void send(std::string_view text) override
    {
        require(m_sender.send(m_other, text, std::chrono::seconds(10)), "send");
    }

    std::size_t take() override
    {
        m_waited.wait(std::chrono::seconds(10));
        return m_port->receive([](char*, std::size_t) {});
    }

private:
    std::unique_ptr<Pt::LocalPort> m_port;
    Pt::LocalPortSender m_sender;
    Pt::DescriptorSet m_waited;
    const char* m_other;
};

class BareEnd final : public End {
public:
    BareEnd(int socket, std::size_t size)
        : m_socket(socket)
        , m_epoll(::epoll_create1(EPOLL_CLOEXEC))
        , m_size(size)
        , m_buffer(size)
    {
        epoll_event event = {};
        event.events = EPOLLIN;
        require(::epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_socket, &event) == 0, "epoll_ctl");
    }
    BareEnd(const BareEnd&) = delete;
    BareEnd& operator=(const BareEnd&) = delete;
    ~BareEnd() override { ::close(m_epoll); }

    void send(std::string_view text) override
    {
        while (!text.empty()) {
            const std::string_view piece = text.substr(0, longestPacket(m_socket));
            require(::send(m_socket, piece.data(), piece.size(), 0) > 0, "send");
            text.remove_prefix(piece.size());
        }
    }

    std::size_t take() override
    {
        epoll_event event = {};
        require(::epoll_wait(m_epoll, &event, 1, -1) == 1, "epoll_wait");
        ssize_t got = 0;
        std::size_t texts = 0;
        while ((got = ::recv(m_socket, m_buffer.data(), m_size, MSG_DONTWAIT)) > 0) {
            m_taken += static_cast<std::size_t>(got);
            texts += m_taken / m_size;
            m_taken %= m_size;
        }
        return texts;
    }

    // Half of the buffer, as the system counts its own book-keeping with it.
    static std::size_t longestPacket(int socket)
    {
        static const std::size_t longest = [socket] {
            int size = 0;
            socklen_t length = sizeof size;
            ::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, &length);
            return static_cast<std::size_t>(size) / 2;
        }();
        return longest;
    }

private:
    int m_socket;
    int m_epoll;
    std::size_t m_size;
    std::size_t m_taken = 0;
    std::vector<char> m_buffer;
};

using MakeEnd = std::function<std::unique_ptr<End>(bool isChild)>;
using Work = std::function<void(End&)>;

std::vector<int> bareSockets()
{
    constexpr int kBuffer = 4 * 1024 * 1024;
    std::vector<int> ends(2);
    require(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) == 0, "socketpair");
    for (const int end : ends)
        if (::setsockopt(end, SOL_SOCKET, SO_SNDBUFFORCE, &kBuffer, sizeof kBuffer) != 0)
            ::setsockopt(end, SOL_SOCKET, SO_SNDBUF, &kBuffer, sizeof kBuffer);
    return ends;
}

// Runs both sides, each in a process of its own; ours begins when the other is ready.
void runBoth(const MakeEnd& makeEnd, const Work& theirs, const Work& ours)
{
    int ready[2] = {};
    require(::pipe(ready) == 0, "pipe");
    auto end = makeEnd(false);
    const pid_t child = ::fork();
    if (child == 0) {
        const auto other = makeEnd(true);
        require(::write(ready[1], "r", 1) == 1, "write");
        theirs(*other);
        ::_exit(0);
    }
    char sign = 0;
    require(::read(ready[0], &sign, 1) == 1, "read");
    ours(*end);
    int status = 0;
    require(::waitpid(child, &status, 0) == child && status == 0, "the other process");
    ::close(ready[0]);
    ::close(ready[1]);
}

double microsecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// Microseconds of each round trip.
void roundTrips(
    const MakeEnd& makeEnd, const std::string& text, std::size_t count, std::vector<double>& times)
{
    const std::size_t warmUp = count / 10;
    const auto echo = [&](End& end) {
        for (std::size_t i = 0; i < warmUp + count; ++i) {
            end.take(1);
            end.send(text);
        }
    };
    const auto ask = [&](End& end) {
        for (std::size_t i = 0; i < warmUp + count; ++i) {
            const auto start = Clock::now();
            end.send(text);
            end.take(1);
            if (i >= warmUp)
                times.push_back(microsecondsSince(start));
        }
    };
    runBoth(makeEnd, echo, ask);
}

// Microseconds for each of many texts that follow one another.
void oneWay(
    const MakeEnd& makeEnd, const std::string& text, std::size_t count, std::vector<double>& times)
{
    const auto sink = [&](End& end) {
        end.take(1);
        end.send(text);
        end.take(count);
        end.send(text);
    };
    const auto stream = [&](End& end) {
        end.send(text);
        end.take(1);
        const auto start = Clock::now();
        for (std::size_t i = 0; i < count; ++i)
            end.send(text);
        end.take(1);
        times.push_back(microsecondsSince(start) / static_cast<double>(count));
    };
    runBoth(makeEnd, sink, stream);
}

using Measure = void(const MakeEnd&, const std::string&, std::size_t, std::vector<double>&);

void compare(const char* name, Measure& measure, std::size_t size, std::size_t count, int turns)
{
    const std::string text(size, 'x');
    std::vector<double> port;
    std::vector<double> bare;
    std::size_t longest = 0;
    for (int i = 0; i < turns; ++i) {
        const std::vector<int> sockets = bareSockets();
        longest = BareEnd::longestPacket(sockets[0]);
        const auto makeBare = [&](bool isChild) {
            return std::make_unique<BareEnd>(sockets[isChild ? 1 : 0], size);
        };
        const auto makePort = [](bool isChild) {
            return std::make_unique<PortEnd>(isChild ? "b" : "a", isChild ? "a" : "b");
        };
        measure(makeBare, text, count, bare);
        measure(makePort, text, count, port);
        ::close(sockets[0]);
        ::close(sockets[1]);
    }
    const double portTime = bench::median(port);
    const double bareTime = bench::median(bare);
    std::printf("{\"name\":\"%s\",\"port_us\":%.2f,\"bare_us\":%.2f,\"ratio_to_bare\":%.2f,"
                "\"port_texts_per_s\":%.0f,\"packet\":%zu}\n",
        name,
        portTime,
        bareTime,
        portTime / bareTime,
        1e6 / portTime,
        longest);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    constexpr std::size_t kMegabyte = 1024 * 1024;
    const int turns = argc > 1 ? std::atoi(argv[1]) : 7;
    if (turns < 1) {
        std::fprintf(stderr, "usage: %s [TURNS]\n", argv[0]);
        return 2;
    }
    const bench::TemporaryFolder folder("ports");
    ::setenv("TEVOROTALK_PORT_DIR", folder.path().c_str(), 1);
    compare("round-trip/300B", roundTrips, 300, 10000, turns);
    compare("round-trip/1MB", roundTrips, kMegabyte, 300, turns);
    compare("one-way/300B", oneWay, 300, 100000, turns);
    compare("one-way/1MB", oneWay, kMegabyte, 500, turns);
    compare("one-way/5MB", oneWay, 5 * kMegabyte, 100, turns);
    return 0;
}
