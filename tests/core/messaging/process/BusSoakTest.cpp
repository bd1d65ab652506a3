// Eight processes that send to each other at random, are killed and come again; afterwards all that
// was sent adds up: handled once and in order, rejected, refused, or lost with a holder that was
// killed; and all that was asked was answered, timed out, or lost in the same way.
//
// Runs for some seconds; BUS_SOAK_SECONDS says for how long instead.
#include "core/messaging/support/MessagingFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "platform/common/ports/LocalPort.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>

namespace test {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int kPeers = 8;
constexpr long kForged = 3;
constexpr long kTimed = 2;
constexpr long kPlain = 0;

long now()
{
    return SteadyClock::now().time_since_epoch().count();
}

// One process between its start and its end.
struct Life {
    int number = 0;
    pid_t process = 0;
    long start = 0;
    long end = 0;
    bool wasKilled = false;
};

struct Sent {
    std::string id;
    int sender = 0;
    pid_t process = 0;
    long count = 0;
    int target = 0;
    long kind = 0;
    long time = 0;
    long deliveryTime = 0;
    bool isDelivered = false;
    bool isRefused = false;
    int handled = 0;
    std::map<std::string, int> answers;
};

class BusSoakTest : public MessagingFixture {
protected:
    struct Peer {
        std::unique_ptr<PeerProcess> process;
        Life life;
    };

    void start(int number)
    {
        Peer& peer = m_peers[number];
        peer.life = {number, 0, now(), 0, false};
        peer.process = std::make_unique<PeerProcess>(std::vector<std::string>{SOAK_PEER,
            std::to_string(number),
            std::to_string(kPeers),
            recordOf(number),
            std::to_string(m_random())});
        peer.life.process = peer.process->id();
        ASSERT_EQ(peer.process->line(), "ready");
    }

    void kill(int number)
    {
        Peer& peer = m_peers[number];
        peer.process->kill();
        peer.process.reset();
        peer.life.end = now();
        peer.life.wasKilled = true;
        m_lives.push_back(peer.life);
    }

    void finish(int number)
    {
        Peer& peer = m_peers[number];
        peer.process->tell("end");
        EXPECT_EQ(peer.process->finish(), 0) << peer.process->errors();
        peer.process.reset();
        peer.life.end = now();
        m_lives.push_back(peer.life);
    }

    std::string recordOf(int number) const
    {
        return folder.path("record" + std::to_string(number));
    }

    void soak(std::chrono::seconds time)
    {
        for (int i = 0; i < kPeers; ++i)
            start(i);
        const auto end = SteadyClock::now() + time;
        while (SteadyClock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(m_random() % 300));
            const int number = static_cast<int>(m_random() % kPeers);
            kill(number);
            start(number);
        }
        for (auto& [number, peer] : m_peers)
            peer.process->tell("no more");
        waitUntilQuiet();
        for (int i = 0; i < kPeers; ++i)
            finish(i);
    }

    // The longest time-out, of two seconds, has passed without a new line.
    void waitUntilQuiet() const
    {
        constexpr std::chrono::seconds kQuiet(4);
        auto since = SteadyClock::now();
        auto size = recordedBytes();
        while (SteadyClock::now() < since + kQuiet) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            if (const auto next = recordedBytes(); next != size) {
                size = next;
                since = SteadyClock::now();
            }
        }
    }

    std::uintmax_t recordedBytes() const
    {
        std::uintmax_t sum = 0;
        for (int i = 0; i < kPeers; ++i)
            sum += std::filesystem::file_size(recordOf(i));
        return sum;
    }

    void readRecords()
    {
        for (int i = 0; i < kPeers; ++i) {
            std::ifstream file(recordOf(i));
            for (std::string line; std::getline(file, line);)
                readLine(i, line);
        }
        for (const auto& [id, times] : m_handled) {
            const auto sent = m_sent.find(id);
            EXPECT_TRUE(sent != m_sent.end()) << id << " was handled and never sent";
            if (sent != m_sent.end())
                sent->second.handled = times;
        }
    }

    void readLine(int number, const std::string& line)
    {
        std::istringstream words(line);
        char step = 0;
        std::string id;
        words >> step >> id;
        if (step == 'S') {
            Sent sent;
            sent.id = id;
            std::replace(id.begin(), id.end(), '.', ' ');
            std::istringstream(id) >> sent.sender >> sent.process >> sent.count;
            words >> sent.target >> sent.kind >> sent.time;
            m_sent[sent.id] = sent;
        } else if (step == 'H') {
            ++m_handled[id];
            m_order[number].push_back(id);
        } else if (step == 'D') {
            m_sent[id].isDelivered = true;
            words >> m_sent[id].deliveryTime;
        } else if (step == 'F') {
            m_sent[id].isRefused = true;
        } else {
            std::string answer;
            words >> answer;
            ++m_sent[id].answers[answer];
        }
    }

    // Whether a process that held the target's name while the message was sent was killed.
    bool wasTargetKilled(const Sent& sent) const
    {
        for (const Life& life : m_lives)
            if (life.number == sent.target && life.wasKilled && sent.time <= life.end
                && sent.deliveryTime >= life.start)
                return true;
        return false;
    }

    bool wasSenderKilled(const Sent& sent) const
    {
        for (const Life& life : m_lives)
            if (life.process == sent.process && life.number == sent.sender)
                return life.wasKilled;
        return true;
    }

    // What is known of a message, for people.
    std::string story(const Sent& sent) const
    {
        std::ostringstream text;
        text << "kind " << sent.kind << " to " << sent.target << " from " << sent.time << " to "
             << sent.deliveryTime << "; lives of the target:";
        for (const Life& life : m_lives)
            if (life.number == sent.target)
                text << " [" << life.process << " " << life.start << " to " << life.end
                     << (life.wasKilled ? " killed]" : "]");
        return text.str();
    }

    void addUp();
    void expectOrder() const;

    std::map<int, Peer> m_peers;
    std::vector<Life> m_lives;
    std::map<std::string, Sent> m_sent;
    std::map<std::string, int> m_handled;
    std::map<int, std::vector<std::string>> m_order;
    std::mt19937 m_random{std::random_device()()};
};

void BusSoakTest::addUp()
{
    std::map<std::string, long> counts;
    for (const auto& [id, sent] : m_sent) {
        ++counts["sent"];
        const bool isSenderWhole = !wasSenderKilled(sent);
        const bool isTargetWhole = !wasTargetKilled(sent);
        EXPECT_LE(sent.handled, 1) << id << " was handled twice";
        if (sent.isRefused) {
            ++counts["refused"];
            EXPECT_EQ(sent.handled, 0) << id << " was refused and handled";
            continue;
        }
        if (!sent.isDelivered) {
            ++counts["cut off by a kill of the sender"];
            EXPECT_FALSE(isSenderWhole) << id;
            continue;
        }
        ++counts["delivered"];
        // A second's time-out may be over before the target looks; its sender is told, if it lives.
        const bool hasTimedOut = sent.kind == kTimed && sent.handled == 0
            && (!isSenderWhole || sent.answers.count("timeout") != 0);
        if (sent.kind == kForged) {
            EXPECT_EQ(sent.handled, 0) << id << " was forged and handled";
        } else if (isTargetWhole && !hasTimedOut) {
            EXPECT_EQ(sent.handled, 1) << id << " was lost: " << story(sent);
        }
        counts[sent.kind == kForged ? "rejected"
                : sent.handled == 1 ? "handled"
                : hasTimedOut       ? "timed out"
                                    : "lost with a holder"] += 1;
        if (sent.kind == kPlain || !isSenderWhole)
            continue;
        long answers = 0;
        for (const auto& [answer, times] : sent.answers) {
            answers += times;
            counts["answered: " + answer] += times;
        }
        // A holder that is killed between its result and the end of its work: the time-out follows.
        if (!isTargetWhole && sent.answers.count("result") != 0
            && sent.answers.count("timeout") != 0)
            --answers;
        EXPECT_LE(answers, 1) << id << " was answered twice: " << story(sent);
        if (isTargetWhole || sent.kind == kTimed) {
            EXPECT_EQ(answers, 1) << id << " of kind " << sent.kind
                                  << " was not answered: " << story(sent);
        }
        if (isTargetWhole && sent.kind == kForged) {
            EXPECT_EQ(sent.answers.count("error"), 1u) << id;
        }
    }
    EXPECT_EQ(counts["delivered"],
        counts["handled"] + counts["rejected"] + counts["timed out"]
            + counts["lost with a holder"]);
    EXPECT_EQ(counts["sent"],
        counts["delivered"] + counts["refused"] + counts["cut off by a kill of the sender"]);
    EXPECT_GT(counts["handled"], 100);
    for (const auto& [what, count] : counts)
        std::printf("%s: %ld\n", what.c_str(), count);
    std::printf("lives: %zu\n", m_lives.size());
}

// Messages of one life of a sender come in their order to whoever holds the target's name.
void BusSoakTest::expectOrder() const
{
    for (const auto& [target, ids] : m_order) {
        std::map<pid_t, long> last;
        for (const std::string& id : ids) {
            const Sent& sent = m_sent.at(id);
            EXPECT_LT(last[sent.process], sent.count) << id << " was overtaken";
            last[sent.process] = sent.count;
        }
    }
}

std::chrono::seconds wantedTime(long usual)
{
    const char* const wanted = std::getenv("BUS_SOAK_SECONDS");
    return std::chrono::seconds(wanted != nullptr ? std::atol(wanted) : usual);
}

TEST_F(BusSoakTest, LosesNothingButWithAHolderThatIsKilled)
{
    soak(wantedTime(6));
    if (HasFatalFailure())
        return;
    readRecords();
    addUp();
    expectOrder();
    EXPECT_TRUE(Pt::heldLocalPorts().empty());
}

} // namespace
} // namespace test
