#pragma once

#include <array>
#include <cstddef>

#include <signal.h>

namespace test {

// What the platform layer looks at. Whoever starts the tests may ignore or block some of them.
inline constexpr std::array<int, 7> kSignalsOfTheLayer{
    SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGUSR1, SIGPIPE, SIGTERM};

// Gives them their own effect in the process and blocks nothing in the thread. Also for a child
// that is about to become another program.
inline void makeSignalsOrdinary()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (const int each : kSignalsOfTheLayer)
        ::sigaction(each, &action, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

// The same for the life of an object; then all is as it was.
class OrdinarySignals {
public:
    OrdinarySignals()
    {
        for (std::size_t i = 0; i < m_before.size(); ++i)
            ::sigaction(kSignalsOfTheLayer[i], nullptr, &m_before[i]);
        ::pthread_sigmask(SIG_SETMASK, nullptr, &m_mask);
        makeSignalsOrdinary();
    }
    ~OrdinarySignals()
    {
        for (std::size_t i = 0; i < m_before.size(); ++i)
            ::sigaction(kSignalsOfTheLayer[i], &m_before[i], nullptr);
        ::pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
    }
    OrdinarySignals(const OrdinarySignals&) = delete;
    OrdinarySignals& operator=(const OrdinarySignals&) = delete;

private:
    std::array<struct sigaction, kSignalsOfTheLayer.size()> m_before{};
    sigset_t m_mask = {};
};

} // namespace test
