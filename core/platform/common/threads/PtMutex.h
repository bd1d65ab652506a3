#pragma once

#include "platform/common/threads/Lock.h"

#include <memory>

namespace Pt {

// The layer's mutex, an object of the system's own. Not recursive: the thread that holds it and
// locks it again blocks for ever. Any thread may lock; the thread that locked unlocks. Failures of
// the system are thrown as ExSystem, also by the destructor, for which the mutex must be unlocked.
// clang checks what is marked with TEVORO_GUARDED_BY, as for Lock.
class TEVORO_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
public:
    Mutex();
    ~Mutex() noexcept(false);
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() TEVORO_THREAD_ATTRIBUTE(acquire_capability());
    void unlock() TEVORO_THREAD_ATTRIBUTE(release_capability());

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

// Scoped lock of a Mutex.
class TEVORO_THREAD_ATTRIBUTE(scoped_lockable) MutexHeld {
public:
    explicit MutexHeld(Mutex& mutex) TEVORO_THREAD_ATTRIBUTE(acquire_capability(mutex))
        : m_mutex(mutex)
    {
        m_mutex.lock();
    }
    ~MutexHeld() TEVORO_THREAD_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }
    MutexHeld(const MutexHeld&) = delete;
    MutexHeld& operator=(const MutexHeld&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace Pt
