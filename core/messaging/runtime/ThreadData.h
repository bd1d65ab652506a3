// The private part of a Thread: the mutex that holds the new thread back, and the condition that is
// signalled at its end.
#pragma once

#include "messaging/SoHeap.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace ScObjects {

class ThreadData final : public SoHeap {
public:
    ThreadData();
    // Detaches a thread that is still running.
    ~ThreadData() override;
    ThreadData(const ThreadData&) = delete;
    ThreadData& operator=(const ThreadData&) = delete;

    // Destroys what others may wait for. Always true.
    bool stop();
    // Called by the thread itself once it may run; `startMutex` is already deleted.
    void begin();
    void signalEnd();

    std::thread thread;
    std::mutex* startMutex;
    std::recursive_mutex* waitMutex = nullptr;
    std::condition_variable_any* waitCondition = nullptr;
    bool isAbandoned = false; // guarded by startMutex
};

} // namespace ScObjects
