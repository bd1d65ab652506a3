#pragma once

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

namespace test {

// Waits until the condition holds; false when it does not before the limit.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(60))
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// What the system says a thread of the process does: 'S' when it waits for something.
inline char threadState(pid_t process, pid_t thread)
{
    std::ifstream file(
        "/proc/" + std::to_string(process) + "/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    const auto end = text.rfind(')'); // of the thread's name
    return end == std::string::npos || end + 2 >= text.size() ? '?' : text[end + 2];
}

// Whether the process's first thread comes to wait for something.
inline bool isAsleepBefore(pid_t process, std::chrono::milliseconds limit)
{
    return waitUntil([=] { return threadState(process, process) == 'S'; }, limit);
}

} // namespace test
