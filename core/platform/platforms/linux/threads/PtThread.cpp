#include "platform/common/threads/PtThread.h"

#include "platform/common/services/CurrentExceptionText.h"
#include "platform/common/services/PtSysLog.h"
#include "platform/common/threads/CurrentThread.h"
#include "platform/platforms/linux/threads/ThreadCall.h"

#include <cerrno>
#include <memory>

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace Pt {

namespace {

constexpr int kPolicy = SCHED_OTHER;

class Attributes {
public:
    explicit Attributes(bool isDetached)
    {
        requireSuccess(::pthread_attr_init(&m_attributes));
        requireSuccess(::pthread_attr_setscope(&m_attributes, PTHREAD_SCOPE_SYSTEM));
        if (isDetached)
            requireSuccess(::pthread_attr_setdetachstate(&m_attributes, PTHREAD_CREATE_DETACHED));
    }
    ~Attributes() { ::pthread_attr_destroy(&m_attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const pthread_attr_t* get() const { return &m_attributes; }

private:
    pthread_attr_t m_attributes = {};
};

} // namespace

std::atomic<int> Thread::ThreadsCreated_{0};
std::atomic<int> Thread::ThreadsDestroyed_{0};
std::atomic<ThreadHandle> Thread::ThreadPrimaryId_{0};
std::atomic<bool> Thread::IsThreadInitialized_{false};

Thread::Thread(bool detached)
    : m_isDetached(detached)
{
    // Objects are counted and not running threads: a detached one deletes itself at its end.
    ++ThreadsCreated_;
}

Thread::~Thread()
{
    // Nobody joined it, and nobody can any more.
    if (m_joinHandle != 0)
        ::pthread_detach(m_joinHandle);
    ++ThreadsDestroyed_;
}

ThreadHandle Thread::handle() const
{
    const Locked locked(m_lock);
    return m_handle;
}

void Thread::begin()
{
    if (m_isDetached) {
        if (handle() != 0)
            throw ExSystem(EBUSY, ExWhere::here());
        create(); // and the thread may have deleted the object
        return;
    }
    const Locked locked(m_lock); // so that the thread itself finds its handle
    if (m_joinHandle != 0)
        throw ExSystem(EBUSY, ExWhere::here());
    m_handle = m_joinHandle = create();
}

ThreadHandle Thread::create()
{
    const Attributes attributes(m_isDetached);
    pthread_t handle = 0;
    requireSuccess(::pthread_create(&handle, attributes.get(), &ThreadStartInternal, this));
    return handle;
}

void Thread::join()
{
    ThreadHandle joined = 0;
    {
        const Locked locked(m_lock);
        joined = m_joinHandle;
        if (ThreadCmp(m_handle, ThreadSelf()) || ThreadCmp(joined, ThreadSelf()))
            throw ExSystem(EDEADLK, ExWhere::here());
        if (joined == 0)
            throw ExSystem(EINVAL, ExWhere::here());
        m_handle = 0; // it may be gone at any time from here on
    }
    // Without the lock: the thread may need it until it has ended.
    requireSuccess(::pthread_join(joined, &m_exitValue));
    const Locked locked(m_lock);
    m_joinHandle = 0;
}

void* Thread::ThreadStartInternal(void* argument)
{
    auto* const thread = static_cast<Thread*>(argument);
    // Also when run() throws: a detached object belongs to its thread.
    const std::unique_ptr<Thread> owner(thread->m_isDetached ? thread : nullptr);
    if (owner) {
        const Locked locked(thread->m_lock);
        thread->m_handle = currentThreadHandle();
    }
    thread->run();
    return nullptr;
}

void Thread::run() noexcept(false)
{
    try {
        {
            const Locked locked(m_lock);
            if (m_priority != Priority::kNormal) // else the thread keeps its creator's policy
                applyPriority(ThreadSelf(), m_priority);
        }
        start();
    } catch (const std::exception&) { // what is neither ours nor of the library is thrown on
        SysLogEvent(kThreadTerminatedEvent, ThreadNumber(), currentExceptionText().c_str());
    }
}

void Thread::priority(Priority priority)
{
    const Locked locked(m_lock);
    m_priority = priority;
    if (m_handle != 0)
        applyPriority(m_handle, priority);
}

void Thread::applyPriority(ThreadHandle handle, Priority priority)
{
    sched_param parameters = {};
    parameters.sched_priority = systemPriority(
        priority, ::sched_get_priority_min(kPolicy), ::sched_get_priority_max(kPolicy));
    requireSuccess(::pthread_setschedparam(handle, kPolicy, &parameters));
}

int Thread::systemPriority(Priority priority, int minimum, int maximum)
{
    const int middle = (maximum - minimum) / 2;
    switch (priority) {
    case Priority::kLowest:
        return minimum;
    case Priority::kBelowNormal:
        return (middle - minimum) / 2;
    case Priority::kHighest:
        return maximum;
    case Priority::kNormal:
        break;
    }
    // With this policy the system has a single priority, so all of these are 0.
    return middle;
}

bool Thread::IsThreadPrimary()
{
    return IsThreadInitialized_ && ThreadCmp(ThreadPrimaryId_, ThreadSelf());
}

bool Thread::IsThreadCountZero()
{
    return ThreadsCreated_ == ThreadsDestroyed_;
}

void ThreadInit()
{
    Thread::ThreadPrimaryId_ = ThreadSelf();
    Thread::IsThreadInitialized_ = true;
}

void ThreadUninit()
{
    Thread::IsThreadInitialized_ = false;
    Thread::ThreadPrimaryId_ = 0;
}

ThreadHandle ThreadSelf()
{
    return currentThreadHandle();
}

bool ThreadCmp(ThreadHandle a, ThreadHandle b)
{
    return ::pthread_equal(a, b) != 0;
}

int ThreadNumber()
{
    return ::gettid();
}

// Always 1, as PtThread.h says: the numbers of workers are computed from it.
int ProcessorCount()
{
    return 1;
}

int ProcessorPageSize()
{
    return static_cast<int>(::sysconf(_SC_PAGESIZE));
}

} // namespace Pt
