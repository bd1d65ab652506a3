// The locks of the bus. All are recursive: the thread that holds one may take it again, and must
// release it as often. Objects that several threads use derive from SoLockable; their public
// operations hold an ObjectLock. Members that the lock guards are marked
// TEVOROTALK_GUARDED_BY(this), so that clang refuses a use without it.
#pragma once

#include "messaging/SoHeap.h"

#include <mutex>

namespace ScObjects {

class TEVOROTALK_THREAD_ATTRIBUTE(capability("mutex")) TEVOROTALK_API SoLock : public SoHeap {
public:
    SoLock();
    // Requires: nobody holds it.
    ~SoLock() override;
    SoLock(const SoLock&) = delete;
    SoLock& operator=(const SoLock&) = delete;

    // Blocks while another thread holds it.
    void acquire() TEVOROTALK_THREAD_ATTRIBUTE(acquire_capability()) { m_mutex.lock(); }
    void release() TEVOROTALK_THREAD_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

class TEVOROTALK_THREAD_ATTRIBUTE(capability("mutex")) TEVOROTALK_API SoLockable : public SoHeap {
public:
    SoLockable() = default;
    // A copy has a lock of its own.
    SoLockable(const SoLockable& other)
        : SoHeap(other)
    {
    }
    SoLockable& operator=(const SoLockable&) { return *this; }

    // To the analysis the object itself is the lock; how it is kept is not looked into.
    void lock() const TEVOROTALK_THREAD_ATTRIBUTE(acquire_capability())
        TEVOROTALK_THREAD_ATTRIBUTE(no_thread_safety_analysis)
    {
        m_lock.acquire();
    }
    void unlock() const TEVOROTALK_THREAD_ATTRIBUTE(release_capability())
        TEVOROTALK_THREAD_ATTRIBUTE(no_thread_safety_analysis)
    {
        m_lock.release();
    }

private:
    mutable SoLock m_lock;
};

// Scoped lock of an object.
class TEVOROTALK_THREAD_ATTRIBUTE(scoped_lockable) TEVOROTALK_API ObjectLock final : public SoHeap {
public:
    explicit ObjectLock(const SoLockable& object)
        TEVOROTALK_THREAD_ATTRIBUTE(acquire_capability(object))
        : m_object(object)
    {
        m_object.lock();
    }
    ~ObjectLock() override TEVOROTALK_THREAD_ATTRIBUTE(release_capability()) { m_object.unlock(); }
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;

private:
    const SoLockable& m_object;
};

} // namespace ScObjects
