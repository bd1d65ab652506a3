#pragma once

#include "platform/common/threads/Lock.h"

#include <atomic>

namespace Pt {

using ThreadHandle = unsigned long;

// A thread of the system. Derive, say in start() what it does, make the object with new or as a
// member, and begin(). A joinable object stays its owner's, who joins before it deletes it; a
// detached one belongs to its thread from begin() on, which deletes it at its end. Nothing that
// start() throws leaves the thread: it ends the thread with a line in the log. The owner's thread
// calls begin() and join(), any thread priority(). Failures of the system are thrown as ExSystem.
class Thread {
public:
    enum class Priority { kLowest = 0, kBelowNormal = 1, kNormal = 2, kHighest = 3 };

    explicit Thread(bool detached);
    // Requires: never begun, joined, or start() has returned.
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

protected:
    virtual void start() = 0;

    // 0 while there is no thread, and once join() waits for it.
    ThreadHandle handle() const;

public:
    // Throws with EBUSY while the object has a thread already. After a failure the object is still
    // the caller's. A detached object may be gone when this returns.
    void begin();

    // Blocks until the thread has ended, and keeps its exit value. Throws with EINVAL when there is
    // nothing to join, and with EDEADLK in the thread itself. It may be begun again then.
    void join();

    // Takes effect at once while the thread runs, else, and once join() waits for its end, when it
    // begins the next time. Throws with ESRCH when it has ended and is not joined. Under the policy
    // of ordinary threads the system knows one priority only.
    void priority(Priority priority);

    // Null unless the thread was ended in another way than by its return.
    void* exitValue() const { return m_exitValue; }

    // Whether the caller is the thread that called ThreadInit; false before that.
    static bool IsThreadPrimary();

    // Whether every Thread object that was made is gone again.
    static bool IsThreadCountZero();

    // The system's number for a priority, between that policy's ends.
    static int systemPriority(Priority priority, int minimum, int maximum);

private:
    friend void ThreadInit();
    friend void ThreadUninit();

    static void* ThreadStartInternal(void* argument);
    ThreadHandle create();
    void run() noexcept(false);
    static void applyPriority(ThreadHandle handle, Priority priority);

    static std::atomic<int> ThreadsCreated_;
    static std::atomic<int> ThreadsDestroyed_;
    static std::atomic<ThreadHandle> ThreadPrimaryId_;
    static std::atomic<bool> IsThreadInitialized_;

    // Held while a handle is used: once join() has returned, the system may give it to another.
    mutable Lock m_lock;
    ThreadHandle m_handle TEVORO_GUARDED_BY(m_lock) = 0;
    ThreadHandle m_joinHandle TEVORO_GUARDED_BY(m_lock) = 0; // 0 when there is nothing to join
    Priority m_priority TEVORO_GUARDED_BY(m_lock) = Priority::kNormal;
    void* m_exitValue = nullptr;
    const bool m_isDetached;
};

// Makes the calling thread the primary one. ThreadUninit leaves the process without one.
void ThreadInit();
void ThreadUninit();

// The caller's handle, never 0, and whether two handles are one thread's.
ThreadHandle ThreadSelf();
bool ThreadCmp(ThreadHandle a, ThreadHandle b);

// What the log calls the calling thread: the system's number for it, as its tools show it.
int ThreadNumber();

// 1 on this platform, whatever the machine has.
int ProcessorCount();

// Bytes of a page of memory.
int ProcessorPageSize();

} // namespace Pt
