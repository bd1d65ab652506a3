// The other process of the tests of mutexes and signals, which may not survive them. Usage:
// platform_peer COMMAND [ARGUMENT]
//
//   lock-twice          locks a mutex, says "locked", and locks it again
//   signals FLAG        starts the platform layer ("config"), or the signals alone, with console
//                       signals ("console"; "exit-signals" with SignalUninit for its exit) or
//                       without ("plain"), or both, with PlatformUninit for its exit ("exit"); says
//                       "ready" and then does what each line of input says; at its end it ends
//                       with status 7:
//     none|accepting|refusing|throwing    has such a handler, which says what it is asked; for
//                                       "exit" it then waits until "end" is under way
//     stop                              ends the signals
//     end                               ends the layer
//     ping                              nothing
//                       and says "done" for each
#include "core/platform/support/ThreadState.h"
#include "platform/common/services/PtPlatformInit.h"
#include "platform/common/threads/PtMutex.h"
#include "platform/common/threads/PtSignal.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int kCameToItsEnd = 7;

std::atomic<bool> gIsEndAwaited{false};
std::atomic<bool> gIsEnding{false};

void say(const std::string& line)
{
    std::cout << line << std::endl; // each line is waited for
}

int lockTwice()
{
    Pt::Mutex mutex;
    const Pt::MutexHeld held(mutex);
    say("locked");
    std::mem_fn (&Pt::Mutex::lock)(mutex); // unseen by the compiler, which knows better
    say("locked twice");
    return kCameToItsEnd;
}

class Answering final : public Pt::Signal {
public:
    explicit Answering(std::string how)
        : m_how(std::move(how))
    {
    }

    bool terminationRequested() override { return answer("termination"); }
    bool abnormalEnd() override { return answer("abnormal end"); }

private:
    bool answer(const char* asked)
    {
        say(asked);
        if (m_how == "throwing")
            throw std::runtime_error("a broken handler in thread " + std::to_string(::gettid()));
        if (gIsEndAwaited) {
            test::waitUntil(
                [] { return gIsEnding && test::threadState(::getpid(), ::getpid()) == 'S'; });
        }
        return m_how == "accepting";
    }

    const std::string m_how;
};

void start(const std::string& how)
{
    Pt::Config config;
    config.handlesConsoleSignals = how != "plain";
    if (how != "config")
        Pt::SignalInitWith(config);
    if (how == "config" || how == "exit")
        Pt::PlatformInit(config);
    if (how == "exit-signals")
        std::atexit([] { Pt::SignalUninit(); });
    if (how == "exit") {
        gIsEndAwaited = true;
        std::atexit([] { Pt::PlatformUninit(); });
    }
}

void end()
{
    gIsEnding = true;
    Pt::PlatformUninit();
}

int answerSignals(const std::string& how)
{
    static Answering accepting("accepting");
    static Answering refusing("refusing");
    static Answering throwing("throwing");
    start(how);
    say("ready");
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "none")
            Pt::Signal::EstablishHandler(nullptr, nullptr);
        else if (line == "accepting")
            Pt::Signal::EstablishHandler(&accepting, nullptr);
        else if (line == "refusing")
            Pt::Signal::EstablishHandler(&refusing, nullptr);
        else if (line == "throwing")
            Pt::Signal::EstablishHandler(&throwing, nullptr);
        else if (line == "stop")
            Pt::SignalUninit();
        else if (line == "end")
            end();
        say("done");
    }
    return kCameToItsEnd;
}

} // namespace

int main(int count, char** words)
{
    const std::string command = count > 1 ? words[1] : "";
    if (command == "lock-twice")
        return lockTwice();
    if (command == "signals" && count > 2)
        return answerSignals(words[2]);
    return 2;
}
