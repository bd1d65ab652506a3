#include "platform/platforms/linux/PtSignalThread.h"

#include "platform/common/PtSignal.h"
#include "platform/platforms/linux/ThreadCall.h"

#include <unistd.h>

namespace Pt {

namespace {

thread_local bool tIsSignalThread = false;

} // namespace

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
        respondTo(number);
        endHandling();
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
    requireSuccess(::pthread_kill(handle(), SIGUSR1));
    join();
    if (m_undelivered != SIGUSR1 && m_undelivered != SIGHUP)
        ::kill(::getpid(), m_undelivered);
}

} // namespace Pt
