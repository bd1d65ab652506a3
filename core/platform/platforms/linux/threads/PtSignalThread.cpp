#include "platform/platforms/linux/threads/PtSignalThread.h"

#include "platform/common/threads/PtSignal.h"
#include "platform/platforms/linux/threads/ThreadCall.h"

#include <cerrno>

#include <unistd.h>

namespace Pt {

namespace {

thread_local bool tIsSignalThread = false;

} // namespace

class PtSignalThread::Handling {
public:
    explicit Handling(PtSignalThread& thread)
        : m_thread(thread)
    {
    }
    ~Handling() { m_thread.endHandling(); }
    Handling(Handling const&) = delete;
    Handling& operator=(Handling const&) = delete;

private:
    PtSignalThread& m_thread;
};

PtSignalThread::PtSignalThread(sigset_t const& awaited)
    : Thread(false)
    , m_awaited(awaited)
{
}

bool PtSignalThread::isCurrent()
{
    return tIsSignalThread;
}

void PtSignalThread::start()
{
    tIsSignalThread = true;
    for (;;) {
        int number = 0;
        requireSuccess(::sigwait(&m_awaited, &number));
        if (!beginHandling()) {
            m_undelivered = number;
            return;
        }
        Handling const handling(*this);
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
    Locked const locked(m_lock);
    m_inProgress = !m_isShutDown;
    return m_inProgress;
}

void PtSignalThread::endHandling()
{
    Locked const locked(m_lock);
    m_inProgress = false;
    m_idle.notify_all();
}

void PtSignalThread::shutDown()
{
    {
        Locked const locked(m_lock);
        while (m_inProgress)
            m_idle.wait(m_lock);
        m_isShutDown = true;
    }
    // To this thread alone, so that it is gone with it when another signal wakes the thread first.
    if (int const error = ::pthread_kill(handle(), SIGUSR1); error != ESRCH)
        requireSuccess(error); // else it has ended by a failure, which stands in the log
    join();
    if (m_undelivered != 0 && m_undelivered != SIGUSR1 && m_undelivered != SIGHUP)
        ::kill(::getpid(), m_undelivered);
}

} // namespace Pt
