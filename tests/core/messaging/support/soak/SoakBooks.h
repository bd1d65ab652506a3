// The books of the soak: reads what the peers wrote down, and says whether all that was sent adds
// up. What is missing needs a reason that the times bear out: a holder that was killed, a message
// that expired, an answer to somebody who was flooded or whose files were removed. Everything else
// is a fault.
//
// All times are nanoseconds of the steady clock, which is one for all processes of the machine.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

constexpr long kSecond = 1'000'000'000;

// What a peer sends. In the records a number.
enum class SoakKind { kPlain, kAsked, kTimed, kForged, kPing };

struct SoakSpan {
    long from = 0;
    long to = 0;
    bool overlaps(long start, long end) const { return from <= end && start <= to; }
};

// One process between its start and its end.
struct SoakLife {
    int number = 0;
    int process = 0; // its number among all of the soak
    long start = 0;
    long ready = 0;
    long ending = 0; // from here on it may have left
    long end = 0;
    bool wasKilled = false;
};

// What was done to the peers, by their numbers.
struct SoakEvents {
    std::vector<SoakLife> lives; // in the order of their starts
    std::map<int, std::vector<SoakSpan>> stops; // from SIGSTOP to SIGCONT, or to the end
    std::map<int, std::vector<SoakSpan>> away; // from a removal of files until they were back
    long wallClock = 0; // what to add for nanoseconds since 1970
};

class SoakBooks {
public:
    // The record of a peer. For its lines see SoakPeer.cpp.
    void read(int number, std::istream& record);
    void addUp(const SoakEvents& events);

    // After addUp().
    const std::map<std::string, long>& sums() const { return m_sums; }
    const std::vector<std::string>& faults() const { return m_faults; }

private:
    using Process = std::pair<int, int>; // the peer's number, and the process's
    enum Answer { kResult, kError, kTimeout, kProcessed, kPong, kAnswers };
    enum class State { kUnknown, kDelivered, kRefused };

    struct Sent {
        Process sender;
        long count = 0;
        int target = 0;
        SoakKind kind = SoakKind::kPlain;
        int flood = 0; // the number of the sender's flood, or 0
        long time = 0;
        long settled = 0; // when send returned
        State state = State::kUnknown;
        int handled = 0;
        int handler = 0;
        long handledTime = 0;
        std::array<int, kAnswers> answers = {};
        std::array<long, kAnswers> answerTimes = {};
    };
    struct Handled {
        std::string id;
        int number = 0;
        int process = 0;
        long time = 0;
    };
    struct Id {
        Process sender;
        long count = 0;
    };

    static Id parse(const std::string& id);
    Sent* find(const std::string& id);
    Sent& found(const std::string& id);
    void readSent(const std::string& id, std::istream& words);
    void readAnswer(const std::string& id, std::istream& words);

    void linkHandled();
    void noteFloods();
    void checkSender(const std::vector<Sent>& all);
    void check(const Sent& sent, const Sent* next);
    void checkRefused(const Sent& sent);
    void checkHandling(const Sent& sent, const Sent* next);
    void checkMissing(const Sent& sent, const Sent* next);
    void checkAnswers(const Sent& sent);
    void checkFinal(const Sent& sent);
    void checkHandledAnswers(const Sent& sent);
    void checkLateAnswers(const Sent& sent);
    void checkUnhandledAnswers(const Sent& sent);
    void checkExactSums();

    const SoakLife* lifeOf(const Process& process) const;
    bool isSenderWhole(const Sent& sent) const;
    bool wasHeldThroughout(const Sent& sent) const;
    bool wasAway(int number, long from, long to) const;
    bool couldBeLost(const Sent& sent, const Sent* next) const;
    bool couldHaveExpired(const Sent& sent, const Sent* next) const;
    bool wasCutOff(const Sent& sent) const;
    bool wasSlow(const Sent& sent, long from, long to) const;
    bool wasBusy(const Process& process, long from, long to) const;
    bool mayHaveGivenUp(int number, long from, long to) const;
    long reach(int number, long from, long time) const;
    bool isExcused(const Sent& sent, const char* what);
    // The clock of the seconds may be read this much late.
    static constexpr long kClockStep = kSecond / 100;
    long wallSecond(long time) const { return (time + m_events.wallClock) / kSecond; }
    void fault(const Sent& sent, const std::string& what);

    std::map<Process, std::vector<Sent>> m_sent;
    std::vector<Handled> m_handled;
    std::map<Process, std::vector<SoakSpan>> m_pauses;
    std::map<Process, std::vector<SoakSpan>> m_busy; // with a backlog all the while
    std::map<std::pair<int, int>, std::vector<SoakSpan>> m_floods; // by pairs, the smaller first
    SoakEvents m_events;
    std::map<std::string, long> m_sums;
    std::vector<std::string> m_faults;
};

} // namespace test
