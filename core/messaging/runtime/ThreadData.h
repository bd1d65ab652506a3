// What a Thread keeps beside itself: the mutex that holds the new thread back, and the condition
// that it signals at its end.
#pragma once

#include "messaging/SoHeap.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace ScObjects {

class ThreadData final : public SoHeap {
public:
    ThreadData();
    // Ends a thread that was held back to this moment, without a run; lets a running one go.
    ~ThreadData() override;
    ThreadData(const ThreadData&) = delete;
    ThreadData& operator=(const ThreadData&) = delete;

    // Tears down what others may wait for. Always true.
    bool stop();
    // Called by the thread itself once it may run; `startMutex` is gone then.
    void begin();
    void signalEnd();

    std::thread thread;
    std::mutex* startMutex;
    std::recursive_mutex* waitMutex = nullptr;
    std::condition_variable_any* waitCondition = nullptr;
    bool isAbandoned = false; // guarded by startMutex
};

} // namespace ScObjects
