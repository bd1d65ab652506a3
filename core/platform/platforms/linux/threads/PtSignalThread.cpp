#include "platform/platforms/linux/threads/PtSignalThread.h"

#include "platform/common/threads/PtSignal.h"
#include "platform/platforms/linux/threads/ThreadCall.h"

#include <cerrno>

#include <unistd.h>

namespace Pt {

namespace {

thread_local bool gIsSignalThread = false;

} // namespace

class PtSignalThread::Handling {
public:
    explicit Handling(PtSignalThread& thread)
        : m_thread(thread)
    {
    }
    ~Handling() { m_thread.endHandling(); }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;

private:
    PtSignalThread& m_thread;
};

PtSignalThread::PtSignalThread(const sigset_t& awaited)
    : Thread(false)
    , m_awaited(awaited)
{
}

bool PtSignalThread::isCurrent()
{
    return gIsSignalThread;
}

void PtSignalThread::start()
{
    gIsSignalThread = true;
    for (;;) {
        int number = 0;
        requireSuccess(::sigwait(&m_awaited, &number));
        // Shut down while waiting: the signal is kept, for the owner to send again.
        if (!beginHandling()) {
            m_undelivered = number;
            return;
        }
        const Handling handling(*this);
        respondTo(number);
    }
}

void PtSignalThread::respondTo(int number)
{
    switch (number) {
    case SIGINT:
    case SIGTERM:
        SignalDeliver(kTerminationRequested);
        break;
    case SIGQUIT:
    case SIGABRT:
        SignalDeliver(kAbnormalEnd);
        break;
    default: // SIGHUP, SIGUSR1: awaited so that they do not end the process
        break;
    }
}

bool PtSignalThread::beginHandling()
{
    const Locked locked(m_lock);
    m_inProgress = !m_isShutDown;
    return m_inProgress;
}

void PtSignalThread::endHandling()
{
    const Locked locked(m_lock);
    m_inProgress = false;
    m_idle.notify_all();
}

void PtSignalThread::forbidHandling()
{
    const Locked locked(m_lock);
    // A handler is never broken off.
    while (m_inProgress)
        m_idle.wait(m_lock);
    m_isShutDown = true;
}

void PtSignalThread::shutDown()
{
    forbidHandling();
    // To this thread alone, so that it is gone with it when another signal wakes the thread first.
    if (const int error = ::pthread_kill(handle(), SIGUSR1); error != ESRCH)
        requireSuccess(error); // else it has ended by a failure, which stands in the log
    join();
    if (m_undelivered != 0 && m_undelivered != SIGUSR1 && m_undelivered != SIGHUP)
        ::kill(::getpid(), m_undelivered);
}

} // namespace Pt
