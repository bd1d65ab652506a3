// The message bus beside a peer that asks and does not read its answers: what the round trips of
// another peer with the same application take, in microseconds.
//
//   stuck-peer   rows "without" and "with": median, 99th percentile and worst of 5,000 round trips,
//                the ones with it after the first patience, while it goes on asking; then the ratio
//                of the 99th percentiles
//
// Each row is one JSON object. Usage: BusLoadBench

#include "OwnFolder.h"
#include "messaging/Message.h"
#include "messaging/mailbox/InterAppStream.h"
#include "peers/Peer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

using namespace ScObjects;
using SteadyClock = std::chrono::steady_clock;
using Times = std::vector<double>; // microseconds

constexpr int kRoundTrips = 5000;

// Serves until it is killed.
class Server {
public:
    explicit Server(Peer& peer)
    {
        int ready[2];
        require(::pipe(ready) == 0, "pipe");
        m_process = ::fork();
        require(m_process >= 0, "fork");
        if (m_process == 0) {
            peer.serve([&] { require(::write(ready[1], "r", 1) == 1, "write"); });
            ::_exit(0);
        }
        char byte = 0;
        require(::read(ready[0], &byte, 1) == 1, "read");
    }
    ~Server()
    {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

private:
    pid_t m_process;
};

// Asks for results of the size of its questions, and reads none.
class StuckPeer {
public:
    StuckPeer()
        : m_stream("stuck-1.0", true)
    {
        m_question.target = "benchserver-1.0";
        m_question.sender = "stuck-1.0";
        m_question.responseRequest = "Result Processed";
        m_question.body.assign(std::string(20000, 'x'));
    }

    void ask() { m_stream.sendMessageUnlessSilent(std::chrono::milliseconds(0), m_question); }

private:
    InterAppStream m_stream;
    TevoroTalk::Message m_question;
};

template <typename Between>
Times roundTrips(Peer& peer, const Between& between)
{
    const std::string text(300, 'x');
    Times times;
    for (int i = 0; i < kRoundTrips; ++i) {
        between();
        const auto start = SteadyClock::now();
        peer.ask(text);
        times.push_back(
            std::chrono::duration<double, std::micro>(SteadyClock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times;
}

double ninetyNinth(const Times& times)
{
    return times[times.size() * 99 / 100];
}

void print(const char* name, const Times& times)
{
    std::printf("{\"name\":\"stuck-peer\",\"row\":\"%s\",\"median_us\":%.1f,\"p99_us\":%.1f,"
                "\"worst_us\":%.1f,\"aim\":\"worst < 250000\"}\n",
        name,
        times[times.size() / 2],
        ninetyNinth(times),
        times.back());
}

void compareWithAndWithout()
{
    const auto peer = makeTevoroTalkPeer();
    const Server server(*peer);
    peer->connect();
    // Questions of that size take their own time to handle; one that reads asks them here.
    const std::string large(20000, 'x');
    const Times without = roundTrips(*peer, [&] { peer->tell(large); });
    print("without", without);
    StuckPeer stuck;
    const auto start = SteadyClock::now();
    while (SteadyClock::now() - start < std::chrono::seconds(12))
        stuck.ask();
    peer->ask("the first patience is over");
    const Times with = roundTrips(*peer, [&] { stuck.ask(); });
    print("with", with);
    std::printf("{\"name\":\"stuck-peer\",\"row\":\"ratio\",\"ratio\":%.2f,\"aim\":\"< 3\"}\n",
        ninetyNinth(with) / ninetyNinth(without));
    peer->disconnect();
}

} // namespace
} // namespace bench

int main()
{
    const bench::OwnFolder folder("bus-load");
    bench::compareWithAndWithout();
}
