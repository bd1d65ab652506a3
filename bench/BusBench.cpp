// The message bus between two processes, beside the bare socket and public peers.
//
//   round-trip/300B      a text there, the same text back; median of all
//   one-way/300B         texts a second into a receiver that pumps, until the last one is handled
//   one-way/1MB          the same with bodies of a million bytes, beside one SHA-1 pass a side
//   idle                 processor time of a process with ten idle instances
//   address              the readers of a specifier
//   write, read          the text form of a message with a body of 300 bytes, digests off
//   queued               ten thousand queued messages to a target that comes up
//   small/32MiB          one text of small messages until the last is handled, beside one of 8 MiB
//
// All ways are measured in turn, so that they meet the same machine. Each row is one JSON object;
// "ratio" is this bus beside the peer of the row, and "aim" what it should be.
//
// Usage: BusBench [TURNS]

#include "Median.h"
#include "OwnFolder.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/mailbox/PrivateData.h"
#include "peers/Peer.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Sha1.h"
#include "registry/TevoroTalkConnector.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <thread>
#include <vector>

#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

using namespace ScObjects;
using SteadyClock = std::chrono::steady_clock;
using Times = std::vector<double>; // microseconds

double microsecondsSince(SteadyClock::time_point start)
{
    return std::chrono::duration<double, std::micro>(SteadyClock::now() - start).count();
}

// A byte from one process to the other.
class Sign {
public:
    Sign() { require(::pipe(m_ends) == 0, "pipe"); }
    Sign(const Sign&) = delete;
    Sign& operator=(const Sign&) = delete;
    ~Sign()
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }
    void give() const { require(::write(m_ends[1], "s", 1) == 1, "write"); }
    void await() const
    {
        char byte = 0;
        require(::read(m_ends[0], &byte, 1) == 1, "read");
    }

private:
    int m_ends[2];
};

constexpr unsigned int kMaxWork = 120; // seconds; then something hangs

// A process that does some work, and is killed when it is not waited for.
class Worker {
public:
    template <typename Work>
    explicit Worker(const Work& work)
        : m_process(::fork())
    {
        require(m_process >= 0, "fork");
        if (m_process == 0) {
            ::alarm(kMaxWork);
            work();
            ::_exit(0);
        }
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker()
    {
        if (m_process > 0)
            ::kill(m_process, SIGKILL);
        wait();
    }

    bool wait()
    {
        int status = 0;
        const bool isOver = m_process > 0 && ::waitpid(m_process, &status, 0) == m_process;
        m_process = -1;
        return isOver && status == 0;
    }

private:
    pid_t m_process;
};

// Runs both sides in processes of their own, as libraries do not outlive a fork; `theirs` for as
// long as `ours` takes, whose times are added.
template <typename Theirs, typename Ours>
void runBoth(const Theirs& theirs, const Ours& ours, Times& times)
{
    const Worker other([&] {
        theirs();
        ::pause();
    });
    int results[2]; // made now: its end comes when the asker, and nobody else, lets it go
    require(::pipe(results) == 0, "pipe");
    Worker asker([&] {
        Times own;
        ours(own);
        const std::size_t size = own.size() * sizeof(double);
        const char* const bytes = reinterpret_cast<const char*>(own.data());
        for (std::size_t at = 0; at < size;) {
            const ssize_t written = ::write(results[1], bytes + at, size - at);
            require(written > 0, "write");
            at += static_cast<std::size_t>(written);
        }
    });
    ::close(results[1]);
    for (double time = 0; ::read(results[0], &time, sizeof time) == sizeof time;)
        times.push_back(time);
    ::close(results[0]);
    require(asker.wait(), "a side of the measurement");
}

// The thread that asks and the one that answers stay on processors of their own, whoever measures;
// threads that a peer made before go where they like. Left to itself, the system puts two bare
// sockets onto one processor in some turns and not in others, and no ratio is the same twice.
void stayOn(std::size_t processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    require(::sched_setaffinity(0, sizeof set, &set) == 0, "sched_setaffinity");
}

void roundTrips(Peer& peer, const std::string& text, std::size_t count, Times& times)
{
    Sign ready;
    peer.prepare();
    runBoth(
        [&] {
            peer.serve([&] {
                stayOn(1);
                ready.give();
            });
        },
        [&](Times& own) {
            ready.await();
            peer.connect();
            stayOn(0);
            for (std::size_t i = 0; i < count / 10; ++i)
                peer.ask(text);
            for (std::size_t i = 0; i < count; ++i) {
                const auto start = SteadyClock::now();
                peer.ask(text);
                own.push_back(microsecondsSince(start));
            }
            peer.disconnect();
        },
        times);
}

void oneWay(Peer& peer, const std::string& text, std::size_t count, Times& times)
{
    Sign ready;
    Sign done;
    peer.prepare();
    runBoth(
        [&] {
            peer.sink(
                count, [&] { ready.give(); }, [&] { done.give(); });
        },
        [&](Times& own) {
            ready.await();
            peer.connect();
            const auto start = SteadyClock::now();
            for (std::size_t i = 0; i < count; ++i)
                peer.tell(text);
            done.await();
            own.push_back(microsecondsSince(start) / static_cast<double>(count));
            peer.disconnect();
        },
        times);
}

using Peers = std::vector<std::unique_ptr<Peer>>;
using Measure = void(Peer&, const std::string&, std::size_t, Times&);

std::map<std::string, double> measureAll(
    Peers& peers, Measure& measure, std::size_t size, std::size_t count, int turns)
{
    std::map<std::string, Times> times;
    const std::string text(size, 'x');
    for (int i = 0; i < turns; ++i)
        for (auto& peer : peers)
            measure(*peer, text, count, times[peer->name()]);
    std::map<std::string, double> medians;
    for (const auto& [name, values] : times)
        medians[name] = median(values);
    return medians;
}

// The digest of a body by two processes at once, as both sides of the bus do it.
double sha1Pass(std::size_t size)
{
    const std::string text(size, 'x');
    constexpr int kCount = 200;
    Times times;
    const auto pass = [&] {
        for (int i = 0; i < kCount; ++i)
            require(Pt::sha1({text}).has_value(), "SHA-1");
    };
    for (int turn = 0; turn < 5; ++turn) {
        const auto start = SteadyClock::now();
        std::thread other(pass);
        pass();
        other.join();
        times.push_back(microsecondsSince(start) / kCount);
    }
    return median(times);
}

void compareRoundTrips(Peers& peers, int turns)
{
    const auto medians = measureAll(peers, roundTrips, 300, 3000, turns);
    const double ours = medians.at("tevorotalk");
    for (const auto& [name, time] : medians)
        std::printf("{\"name\":\"round-trip/300B\",\"peer\":\"%s\",\"peer_us\":%.1f,\"us\":%.1f,"
                    "\"ratio\":%.2f,\"aim\":\"%s\"}\n",
            name.c_str(),
            time,
            ours,
            ours / time,
            name == "bare" ? "<= 2" : "< 1");
}

void compareOneWay(Peers& peers, int turns)
{
    const auto medians = measureAll(peers, oneWay, 300, 50000, turns);
    const double ours = medians.at("tevorotalk");
    for (const auto& [name, time] : medians)
        std::printf("{\"name\":\"one-way/300B\",\"peer\":\"%s\",\"peer_per_s\":%.0f,\"per_s\":%.0f,"
                    "\"ratio\":%.2f,\"aim\":\"%s\"}\n",
            name.c_str(),
            1e6 / time,
            1e6 / ours,
            time / ours,
            name == "sd-bus" ? ">= 2" : "");
}

void compareMegabytes(int turns)
{
    constexpr std::size_t kSize = 1'000'000;
    Peers peers;
    peers.push_back(makeTevoroTalkPeer());
    const double ours = measureAll(peers, oneWay, kSize, 300, turns).at("tevorotalk");
    const double pass = sha1Pass(kSize);
    std::printf("{\"name\":\"one-way/1MB\",\"peer\":\"SHA-1 pass\",\"peer_us\":%.0f,\"us\":%.0f,"
                "\"ratio\":%.2f,\"aim\":\">= 0.6\"}\n",
        pass,
        ours,
        pass / ours);
}

double processorSeconds()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return double(t.tv_sec) + double(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void measureIdle()
{
    constexpr int kSeconds = 10;
    std::vector<std::unique_ptr<TevoroTalk>> instances;
    for (int i = 0; i < 10; ++i)
        instances.push_back(std::make_unique<TevoroTalk>(
            ("idle" + std::to_string(i) + "-1.0").c_str(), nullptr, i == 0, nullptr));
    const double before = processorSeconds();
    instances[0]->waitForMessage(kSeconds * 1000);
    std::printf(
        "{\"name\":\"idle\",\"instances\":10,\"percent_of_a_core\":%.3f,\"aim\":\"< 0.2\"}\n",
        (processorSeconds() - before) / kSeconds * 100);
    while (!instances.empty())
        instances.pop_back();
}

template <typename Work>
double microsecondsPerCall(const Work& work)
{
    constexpr int kCount = 20000;
    Times times;
    for (int turn = 0; turn < 5; ++turn) {
        const auto start = SteadyClock::now();
        for (int i = 0; i < kCount; ++i)
            work();
        times.push_back(microsecondsSince(start) / kCount);
    }
    return median(times);
}

void measureTexts()
{
    const auto print = [](const char* name, double time) {
        std::printf("{\"name\":\"%s\",\"us\":%.2f,\"aim\":\"< 2\"}\n", name, time);
    };
    const TevoroTalk::Specifier specifier("tevoro_2-4.0-en_us#tag", false);
    print("address", microsecondsPerCall([&] {
        for (const auto& part : {specifier.appName(),
                 specifier.instance(),
                 specifier.version(),
                 specifier.locale(),
                 specifier.suffix()})
            require(!part.isEmpty(), "a part of a specifier");
    }) / 5);
    TevoroTalk::Message::setCreateDigest(false);
    TevoroTalk::Message message;
    message.target = "benchserver-1.0";
    message.sender = "benchclient-1.0";
    message.responseRequest = "Result Processed";
    message.body.assign(std::string(300, 'x'));
    print("write", microsecondsPerCall([&] {
        SoString text;
        require(message.writeToString(text), "writeToString");
    }));
    SoString text;
    message.writeToString(text);
    print("read", microsecondsPerCall([&] {
        TevoroTalk::Message copy;
        copy.readFromString(text, text.get() + text.length());
    }));
    TevoroTalk::Message::setCreateDigest(true);
}

// Lets messages wait: says of every target that it is being started.
class StartingRegistry final : public TevoroTalkConnector {
public:
    StartingRegistry()
        : TevoroTalkConnector("bench")
    {
    }
    bool addToGroup(const Specifier&, const SoString&, const SoString*) override { return false; }
    bool removeFromGroup(const Specifier&, const SoString&, const SoString*) override
    {
        return false;
    }
    SoString getName() const override { return "starting"; }
    bool initLists(QKConnectorAppInfoList&, SoVector<SoString>&) override { return true; }
    using TevoroTalkConnector::registerApplication;
    using TevoroTalkConnector::unregisterApplication;
    bool registerApplication(QKConnectorAppInfo&) override { return false; }
    bool unregisterApplication(const QKConnectorAppInfo&) override { return false; }
    // This process itself stands for the target that is being started.
    std::uint32_t getProcessID(const SoString&) override
    {
        return static_cast<std::uint32_t>(::getpid());
    }
};

void measureQueued()
{
    constexpr std::size_t kCount = 10000;
    Sign begin;
    Sign ready;
    Sign done;
    auto peer = makeTevoroTalkPeer();
    Times times;
    runBoth(
        [&] {
            begin.await();
            peer->sink(
                kCount, [&] { ready.give(); }, [&] { done.give(); });
        },
        [&](Times& own) {
            TevoroTalkConnector::InitTerm::init("bench");
            TevoroTalkConnector::set(new StartingRegistry);
            TevoroTalk bus("benchclient-1.0", nullptr, true, nullptr);
            for (std::size_t i = 0; i < kCount; ++i) {
                TevoroTalk::Message message;
                message.target = "benchserver-1.0";
                message.body.assign(std::string(300, 'x'));
                bus.send(message, true, 0, nullptr);
            }
            require(bus.outgoingMessagePending(), "messages that wait");
            begin.give();
            ready.await();
            const auto start = SteadyClock::now();
            while (bus.outgoingMessagePending())
                TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
            done.await();
            own.push_back(microsecondsSince(start) / 1000);
        },
        times);
    std::printf("{\"name\":\"queued\",\"messages\":%zu,\"ms\":%.0f,\"aim\":\"< 1000\"}\n",
        kCount,
        median(times));
}

class CountingHandler final : public TevoroTalk::MsgHandler {
public:
    explicit CountingHandler(std::size_t& count)
        : m_count(count)
    {
    }
    long handleMessage(int, TevoroTalk::Message&, SoString*) override
    {
        ++m_count;
        return 0;
    }

private:
    std::size_t& m_count;
};

void measureSmallMessages()
{
    const std::string message =
        "Target:benchserver-1.0\nSender:benchclient-1.0\nContent-Length:1\n\nx";
    Times times; // for 8 and for 32 MiB
    runBoth([] {},
        [&](Times& own) {
            TevoroTalkConnector::InitTerm::init("bench");
            std::size_t handled = 0;
            TevoroTalk bus("benchserver-1.0", new CountingHandler(handled), true, nullptr);
            Pt::LocalPortSender sender;
            for (const std::size_t size : {std::size_t{8} << 20U, std::size_t{32} << 20U}) {
                const std::size_t wanted = handled + size / message.size();
                std::string text;
                while (text.size() + message.size() <= size)
                    text += message;
                const auto start = SteadyClock::now();
                require(
                    sender.send(std::string(gPortName) + "benchserver-1.0", text, kSendPatience),
                    "a large text");
                while (handled < wanted)
                    TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
                own.push_back(microsecondsSince(start));
            }
        },
        times);
    require(times.size() == 2, "both sizes");
    std::printf("{\"name\":\"small/32MiB\",\"ms\":%.0f,\"ratio\":%.2f,\"aim\":\"< 8\"}\n",
        times[1] / 1000,
        times[1] / times[0]);
}

void run(int turns, const std::string& folder)
{
    Peers peers;
    peers.push_back(makeBarePacketPeer());
    peers.push_back(makeTevoroTalkPeer());
    peers.push_back(makeDBusPeer(folder));
    peers.push_back(makeZeroMQPeer(folder));
    peers.push_back(makeNngPeer(folder));
    compareRoundTrips(peers, turns);
    compareOneWay(peers, turns);
    compareMegabytes(turns);
    measureTexts();
    measureQueued();
    measureSmallMessages();
    measureIdle();
}

} // namespace
} // namespace bench

int main(int argc, char** argv)
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 5;
    if (turns < 1) {
        std::fprintf(stderr, "usage: %s [TURNS]\n", argv[0]);
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IONBF, 0); // forked processes have nothing of it
    const bench::OwnFolder folder("bus");
    bench::run(turns, folder.path());
    return 0;
}
