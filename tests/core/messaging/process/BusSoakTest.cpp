// Eight processes that send to each other at random, are stopped and go on, flood each other, lose
// the files of their ports, are killed and come again; afterwards all that was sent adds up (see
// SoakBooks.h).
//
// Runs for some seconds; BUS_SOAK_SECONDS says for how long instead, and BUS_SOAK_SEED what is
// drawn. With BUS_SOAK_RECORDS, the name of a folder, the records stay there.
#include "core/messaging/support/MessagingFixture.h"
#include "core/messaging/support/soak/SoakBooks.h"
#include "core/platform/support/PeerProcess.h"
#include "platform/common/ports/LocalPort.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <random>

namespace test {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int kPeers = 8;
// Whether a process has ended, without waiting for it.
constexpr int kLook = WEXITED | WNOHANG | WNOWAIT;
// Of one application: its own, its thread's, and the one for its questions.
constexpr std::size_t kNames = 3;

long now()
{
    return SteadyClock::now().time_since_epoch().count();
}

long fromEnvironment(const char* name, long usual)
{
    const char* const wanted = std::getenv(name);
    return wanted != nullptr ? std::atol(wanted) : usual;
}

class BusSoakTest : public MessagingFixture {
protected:
    enum Files { kSockets, kLocks, kBoth };
    struct Peer {
        std::unique_ptr<PeerProcess> process;
        SoakLife life;
        long stopped = 0; // since when, or 0
        long goesOn = 0; // when it is to go on
        long wentOn = 0; // last
        long isAway = 0; // files of it were removed then, and are not back yet
        bool isFound = true; // its sockets are still there
        bool isLate = false; // that was told
    };

    BusSoakTest()
    {
        std::printf("seed: %ld\n", m_seed);
        std::fflush(stdout);
        std::signal(SIGPIPE, SIG_IGN); // a peer that has ended fails the test, and does not end it
    }
    ~BusSoakTest() override { std::signal(SIGPIPE, SIG_DFL); }

    void start(int number);
    void kill(int number);
    void finish(int number);
    void stop(int number);
    void goOn(int number);
    void flood(int from);
    void clean();
    void removeFiles(int number, int which);

    void soak(std::chrono::seconds time);
    void step();
    void attend();
    void lookForFiles(int number, Peer& peer);
    void noteEnd(int number, bool wasKilled);
    void noteAway(int number, Peer& peer);
    void waitUntilQuiet();
    std::uintmax_t recordedBytes() const;
    void addUp();

    std::vector<std::filesystem::path> locksOf(int number) const;
    int draw(int below) { return static_cast<int>(m_random() % static_cast<unsigned int>(below)); }
    bool isAnybodyAway() const
    {
        return std::ranges::any_of(m_peers,
            [](const auto& entry) { return entry.second.isAway != 0 && !entry.second.isLate; });
    }
    long stoppedPeers() const
    {
        return std::ranges::count_if(
            m_peers, [](const auto& entry) { return entry.second.stopped != 0; });
    }
    std::string recordOf(int number) const
    {
        return folder.path("record" + std::to_string(number));
    }

    std::map<int, Peer> m_peers;
    SoakEvents m_events;
    std::map<std::string, long> m_done;
    int m_processes = 0; // started so far
    long m_end = 0;
    long m_longestAbsence = 0;
    const long m_seed = fromEnvironment("BUS_SOAK_SEED", std::random_device()() % 1'000'000);
    std::mt19937 m_random{static_cast<unsigned int>(m_seed)};
};

void BusSoakTest::start(int number)
{
    Peer& peer = m_peers[number];
    peer = Peer();
    peer.life.number = number;
    peer.life.process = ++m_processes;
    peer.life.start = now();
    peer.process = std::make_unique<PeerProcess>(std::vector<std::string>{SOAK_PEER,
        std::to_string(number),
        std::to_string(kPeers),
        recordOf(number),
        std::to_string(m_random()),
        std::to_string(peer.life.process)});
    ASSERT_EQ(peer.process->line(), "ready");
    peer.life.ready = now();
}

void BusSoakTest::kill(int number)
{
    ++m_done["kills"];
    Peer& peer = m_peers[number];
    siginfo_t ended = {};
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(peer.process->id()), &ended, kLook), 0);
    peer.life.ending = now();
    peer.process->kill();
    EXPECT_EQ(ended.si_pid, 0) << "a peer has ended by itself: " << peer.process->errors();
    noteEnd(number, true);
}

void BusSoakTest::finish(int number)
{
    Peer& peer = m_peers[number];
    peer.life.ending = now();
    peer.process->tell("end");
    EXPECT_EQ(peer.process->finish(), 0) << peer.process->errors();
    noteEnd(number, false);
}

void BusSoakTest::noteEnd(int number, bool wasKilled)
{
    Peer& peer = m_peers[number];
    peer.process.reset();
    peer.life.end = now();
    peer.life.wasKilled = wasKilled;
    if (peer.stopped != 0)
        m_events.stops[number].push_back({peer.stopped, peer.life.end});
    // The next one makes the files anew, and is ready only then.
    noteAway(number, peer);
    m_events.lives.push_back(peer.life);
}

// For 0.1 to 15 seconds, more often for a short time; but longer than anybody waits for it often
// enough.
void BusSoakTest::stop(int number)
{
    Peer& peer = m_peers[number];
    if (peer.stopped != 0 || stoppedPeers() == 3) // the others are to have somebody to talk to
        return;
    ++m_done["stops"];
    const double share = draw(1001) / 1000.0;
    const double seconds = draw(6) == 0 ? 10 + 5 * share : 0.1 * std::pow(150.0, share);
    peer.stopped = now();
    peer.goesOn = peer.stopped + static_cast<long>(seconds * kSecond);
    EXPECT_EQ(::kill(peer.process->id(), SIGSTOP), 0);
}

void BusSoakTest::goOn(int number)
{
    Peer& peer = m_peers[number];
    if (peer.stopped == 0)
        return;
    EXPECT_EQ(::kill(peer.process->id(), SIGCONT), 0);
    peer.wentOn = now();
    m_events.stops[number].push_back({peer.stopped, peer.wentOn});
    peer.stopped = 0;
}

// To anybody else, half of the time to one who is stopped.
void BusSoakTest::flood(int from)
{
    int target = (from + 1 + draw(kPeers - 1)) % kPeers;
    const bool isToStopped = draw(2) == 0;
    for (const auto& [number, peer] : m_peers)
        if (isToStopped && number != from && peer.stopped != 0)
            target = number;
    ++m_done["floods asked for"];
    m_peers[from].process->tell("flood " + std::to_string(target));
}

// Of the process that lives now; each has a socket beside it.
std::vector<std::filesystem::path> BusSoakTest::locksOf(int number) const
{
    std::vector<std::filesystem::path> locks;
    std::error_code error; // the folder may be gone
    for (const auto& entry : std::filesystem::directory_iterator(folder.path("ports"), error)) {
        pid_t process = 0;
        const bool isLock = entry.path().extension() == ".lock";
        if (isLock && std::ifstream(entry.path()) >> process
            && process == m_peers.at(number).process->id())
            locks.push_back(entry.path());
    }
    return locks;
}

// Some or all files of one peer, or of all, or with their folder.
void BusSoakTest::clean()
{
    ++m_done["cleanings"];
    const int what = draw(6);
    const long start = now();
    const int one = draw(kPeers);
    const int which = what <= 3 ? draw(3) : kBoth;
    for (auto& [number, peer] : m_peers) {
        if (what <= 3 && number != one)
            continue;
        peer.isAway = peer.isAway != 0 ? peer.isAway : start;
        peer.isFound = peer.isFound && which == kLocks;
    }
    if (what <= 3)
        removeFiles(one, which);
    std::error_code error; // the peers make files and folder again meanwhile
    if (what == 4)
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("ports"), error))
            std::filesystem::remove(entry.path(), error);
    if (what == 5)
        std::filesystem::remove_all(folder.path("ports"), error);
}

void BusSoakTest::removeFiles(int number, int which)
{
    for (std::filesystem::path file : locksOf(number)) {
        if (which != kSockets)
            std::filesystem::remove(file);
        file.replace_extension(".sock");
        if (which != kLocks)
            std::filesystem::remove(file);
    }
}

// Those who are away too long, or stopped long enough.
void BusSoakTest::attend()
{
    for (auto& [number, peer] : m_peers) {
        if (peer.stopped != 0 && now() >= peer.goesOn)
            goOn(number);
        if (peer.isAway != 0 && peer.stopped == 0)
            lookForFiles(number, peer);
    }
}

void BusSoakTest::lookForFiles(int number, Peer& peer)
{
    // A second, but on a machine with much else to do.
    constexpr long kLimit = 6 * kSecond;
    const auto locks = locksOf(number);
    const bool isBack =
        locks.size() == kNames && std::ranges::all_of(locks, [](std::filesystem::path file) {
            return std::filesystem::exists(file.replace_extension(".sock"));
        });
    const long time = now();
    const long absence = time - std::max(peer.isAway, peer.wentOn);
    if (absence > kLimit && !peer.isLate) {
        ADD_FAILURE() << "peer " << number << " does not put its files back";
        peer.isLate = true;
    }
    if (isBack) {
        m_longestAbsence = std::max(m_longestAbsence, absence);
        noteAway(number, peer);
    }
}

// Its files are back, or it is gone.
void BusSoakTest::noteAway(int number, Peer& peer)
{
    if (peer.isAway != 0 && !peer.isFound)
        m_events.away[number].push_back({peer.isAway, now()});
    peer.isAway = 0;
    peer.isFound = true;
}

void BusSoakTest::step()
{
    const int number = draw(kPeers);
    const int what = draw(20);
    if (what < 5 && (m_peers[number].stopped == 0 || draw(4) == 0)) {
        kill(number);
        start(number);
    } else if (what < 11) {
        stop(number);
    } else if (what < 15) {
        flood(number);
    } else if (what < 17) {
        clean();
    }
}

void BusSoakTest::soak(std::chrono::seconds time)
{
    for (int i = 0; i < kPeers; ++i)
        start(i);
    m_end = now() + time.count() * kSecond;
    while (now() < m_end && !HasFatalFailure()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(draw(300)));
        attend();
        step();
    }
    for (auto& [number, peer] : m_peers) {
        goOn(number);
        peer.process->tell("no more");
    }
    waitUntilQuiet();
    for (int i = 0; i < kPeers; ++i)
        finish(i);
}

// The longest time-out, of two seconds, has passed without a new line, and all files are back.
void BusSoakTest::waitUntilQuiet()
{
    constexpr std::chrono::seconds kQuiet(4);
    auto since = SteadyClock::now();
    auto size = recordedBytes();
    while (SteadyClock::now() < since + kQuiet || isAnybodyAway()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        attend();
        if (const auto next = recordedBytes(); next != size) {
            size = next;
            since = SteadyClock::now();
        }
    }
}

std::uintmax_t BusSoakTest::recordedBytes() const
{
    std::uintmax_t sum = 0;
    for (int i = 0; i < kPeers; ++i)
        sum += std::filesystem::file_size(recordOf(i));
    return sum;
}

void BusSoakTest::addUp()
{
    SoakBooks books;
    for (int i = 0; i < kPeers; ++i) {
        if (const char* const kept = std::getenv("BUS_SOAK_RECORDS"))
            std::filesystem::copy(
                recordOf(i), kept, std::filesystem::copy_options::overwrite_existing);
        std::ifstream record(recordOf(i));
        books.read(i, record);
    }
    const auto wall = std::chrono::system_clock::now().time_since_epoch();
    m_events.wallClock = std::chrono::nanoseconds(wall).count() - now();
    books.addUp(m_events);
    for (const std::string& fault : books.faults())
        ADD_FAILURE() << fault;
    for (const auto& sums : {m_done, books.sums()})
        for (const auto& [what, count] : sums)
            std::printf("%s: %ld\n", what.c_str(), count);
    std::printf("longest absence of files: %.1f s\n", double(m_longestAbsence) / kSecond);
    EXPECT_GT(books.sums().at("handled"), 100);
}

TEST_F(BusSoakTest, LosesNothingButWithAHolderThatIsKilled)
{
    soak(std::chrono::seconds(fromEnvironment("BUS_SOAK_SECONDS", 5)));
    if (HasFatalFailure())
        return;
    addUp();
    EXPECT_TRUE(Pt::heldLocalPorts().empty());
}

} // namespace
} // namespace test
