#pragma once

#include <atomic>
#include <chrono>
#include <thread>

#include <pthread.h>
#include <signal.h>

namespace test {

// Whether a signal ends `sleep`, which by itself takes a minute. The signal comes again and again,
// as the first one may come before the sleep begins.
template <typename Sleep>
bool signalEnds(Sleep sleep)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, &before);

    std::atomic<bool> hasEnded{false};
    const auto start = std::chrono::steady_clock::now();
    std::thread sleeper([&] {
        sleep();
        hasEnded = true;
    });
    const pthread_t handle = sleeper.native_handle();
    while (!hasEnded) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ::pthread_kill(handle, SIGUSR1);
    }
    sleeper.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(45);
}

} // namespace test
