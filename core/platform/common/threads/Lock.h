#pragma once

#include <mutex>

// A mutex that clang's thread-safety analysis knows: mark what it guards with TEVORO_GUARDED_BY and
// a member with the wrong lock, or none, does not compile. Not recursive. It owns nothing; whoever
// contains it owns it. With other compilers the marks are empty.
#if defined(__clang__)
#define TEVORO_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TEVORO_THREAD_ATTRIBUTE(x)
#endif

#define TEVORO_GUARDED_BY(x) TEVORO_THREAD_ATTRIBUTE(guarded_by(x))
#define TEVORO_REQUIRES(x) TEVORO_THREAD_ATTRIBUTE(requires_capability(x))
#define TEVORO_EXCLUDES(x) TEVORO_THREAD_ATTRIBUTE(locks_excluded(x))

namespace Pt {

class TEVORO_THREAD_ATTRIBUTE(capability("mutex")) Lock {
public:
    void lock() TEVORO_THREAD_ATTRIBUTE(acquire_capability()) { m_mutex.lock(); }
    void unlock() TEVORO_THREAD_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }

    // For a condition variable.
    std::mutex& native() { return m_mutex; }

private:
    std::mutex m_mutex;
};

// Scoped lock of a Lock.
class TEVORO_THREAD_ATTRIBUTE(scoped_lockable) Locked {
public:
    explicit Locked(Lock& lock) TEVORO_THREAD_ATTRIBUTE(acquire_capability(lock))
        : m_lock(lock)
    {
        m_lock.lock();
    }
    ~Locked() TEVORO_THREAD_ATTRIBUTE(release_capability()) { m_lock.unlock(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    Lock& m_lock;
};

} // namespace Pt
