// Things that a thread can wait on: a flag that another thread raises, a point in time, and a set
// of descriptors. Each has a descriptor of its own for poll, epoll or an event loop, which belongs
// to the object: do not read or close it. Any thread may call. The constructors throw
// std::system_error if the process has no descriptors left.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <chrono>
#include <memory>

namespace Pt {

// Up or down; readable while it is up.
class WaitableFlag {
public:
    WaitableFlag();

    void raise() noexcept;
    void lower() noexcept;
    int descriptor() const { return m_descriptor.get(); }

private:
    OwnedDescriptor m_descriptor;
};

// Readable from a point of the wall clock on, until it is set again or cleared. Uses the wall clock
// because deadlines of messages do; setting the clock moves them.
class WallTimer {
public:
    WallTimer();

    void set(long long wallSeconds) noexcept;
    void clear() noexcept;
    int descriptor() const { return m_descriptor.get(); }

private:
    OwnedDescriptor m_descriptor;
};

// A set of borrowed descriptors; itself readable while one of them is.
class DescriptorSet {
public:
    DescriptorSet();

    // Adding a descriptor twice has no effect. Closing it removes it. Throws std::system_error.
    void add(int descriptor);
    void remove(int descriptor) noexcept;

    // Waits until one of them is readable: true, or false after the timeout. A negative limit waits
    // for ever. Signals do not end the wait.
    bool wait(std::chrono::milliseconds limit) const { return waitForOne(limit) != -1; }
    // The same; returns the descriptor, -1 after the timeout.
    int waitForOne(std::chrono::milliseconds limit) const;
    int descriptor() const { return m_descriptor.get(); }

private:
    OwnedDescriptor m_descriptor;
};

} // namespace Pt
