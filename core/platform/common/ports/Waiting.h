// What a thread waits on: a flag that another thread raises, a point in time, and any number of
// descriptors at once. Each can itself be waited on by its descriptor (poll, epoll, an event loop),
// which belongs to the object: do not read or close it. Any thread may call. The constructors throw
// std::system_error when the process has no descriptors left.
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

// Readable from a point of the wall clock on, until it is set anew or cleared. The wall clock, as
// deadlines of messages are points of it; a clock that is set moves them.
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

    // A descriptor that is in the set is not added twice. Closing it takes it out. Throws
    // std::system_error.
    void add(int descriptor);
    void remove(int descriptor) noexcept;

    // True when one of them is readable, at the latest after `limit`; a negative limit waits for
    // ever. Signals do not end the wait.
    bool wait(std::chrono::milliseconds limit) const { return waitForOne(limit) != -1; }
    // The same, and which one it is; -1 for none.
    int waitForOne(std::chrono::milliseconds limit) const;
    int descriptor() const { return m_descriptor.get(); }

private:
    OwnedDescriptor m_descriptor;
};

} // namespace Pt
