// This process on the bus, for as long as the object lives: under a name of its own, or under the
// one that it is given.
#pragma once

#include "commandline/ExitCode.h"
#include "messaging/BusWords.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace tevorotalk {

using SteadyTime = std::chrono::steady_clock::time_point;

// The name of this command: tevorotalk_PROCESS-1.0.
std::string ownName();

// Says that the process that holds the target's name was stopped, and which it is; empty when it
// was not.
std::string whyStuck(const std::string& target);

// Whether the store of applications can be asked; and what to say where it cannot.
bool hasRegistry();
inline constexpr const char* kNoRegistry =
    "the registry of applications cannot be read: its library, velmo_caps, is missing, or others "
    "could have written it";

// Refuses a line feed: it would end the header line that the text goes into, and begin another.
void requireOneLine(const std::string& text);

// Thrown when a signal ends the command.
class Interrupted : public std::exception { };

class BusSession {
public:
    // Throws a CommandError when the name is held, or the bus cannot be used.
    explicit BusSession(const std::string& name);
    ~BusSession();
    BusSession(const BusSession&) = delete;
    BusSession& operator=(const BusSession&) = delete;

    ScObjects::TevoroTalk& instance() { return *m_instance; }
    std::string name() const;

    // Returns once others can ask this process questions, which is some milliseconds after its
    // start. Throws a CommandError when they never will, or the next senders would not be let in.
    void waitUntilReachable() const;

    // Asks the bus's thread of the target: see TevoroTalk::Thread::ping. Throws Interrupted.
    ScObjects::SoString ask(const std::string& target,
        const std::string& command,
        std::int32_t seconds,
        const std::string& body = {}) const;

    // Works off what is there, and waits for more until the time is over, a signal ends it, or a
    // round of work was done.
    void pumpOnce(std::optional<SteadyTime> deadline);
    // The same with one message at most; those behind it stay where they are.
    void takeOne(std::optional<SteadyTime> deadline);

private:
    void pause(std::optional<SteadyTime> deadline) const;
    void endQuestion() const;
    void end();
    void watchForInterrupt(const std::stop_token& stop);

    std::unique_ptr<ScObjects::TevoroTalk> m_instance;
    // No send of ours waits on after a signal; which thread the signal finds is open.
    std::mutex m_watchLock;
    std::condition_variable_any m_watchEnd;
    std::jthread m_watch;
};

// How a command ends after that answer of a ping, or that word that says why there is none.
commandline::ExitCode exitCodeForAnswer(const ScObjects::SoString& answer);

// Whether nobody holds the port of that suffix of the target; its own port for none.
bool isPortFree(const std::string& target, const char* suffix);

// What stands before every name of the bus in the name of its port.
inline constexpr std::string_view kPortPrefix = ScObjects::TevoroTalkData::kPortPrefix;

// The point in time that many seconds from now; nothing for no limit.
std::optional<SteadyTime> deadlineAfter(std::optional<unsigned long> seconds);
bool hasPassed(std::optional<SteadyTime> deadline);

} // namespace tevorotalk
