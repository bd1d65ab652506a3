#include "messaging/Thread.h"

#include "messaging/runtime/ThreadData.h"
#include "platform/common/threads/CurrentThread.h"

#include <chrono>
#include <new>
#include <system_error>
#include <utility>

namespace ScObjects {

namespace {

constexpr long kNoThread = 32;
constexpr long kOutOfMemory = -28;
constexpr long kOtherException = -29;

constinit std::atomic<long> gUsers{0};
constinit std::atomic<unsigned long> gMainThreadID{0};

} // namespace

bool Thread::InitTerm::init()
{
    if (gUsers.fetch_add(1) != 0)
        return false;
    gMainThreadID = Pt::currentThreadHandle();
    return true;
}

bool Thread::InitTerm::exit()
{
    return gUsers.fetch_sub(1) == 1;
}

Thread::Thread()
    : m_data(new ThreadData)
{
    InitTerm::init();
    try {
        // Held until start(): the new thread waits at it, and never calls run() of an object that
        // is still under construction.
        m_data->startMutex->lock();
        m_data->thread = std::thread([this] { go(); });
    } catch (const std::exception&) {
        m_data->startMutex->unlock();
        delete std::exchange(m_data->startMutex, nullptr);
        m_error = kNoThread;
    }
}

Thread::~Thread()
{
    if (m_data->startMutex != nullptr && m_data->thread.joinable() && !m_started) {
        m_data->isAbandoned = true;
        m_data->startMutex->unlock();
        // The thread sees that it was abandoned and ends without a run, so it can be waited for.
        m_data->thread.join();
    }
    delete m_data;
    InitTerm::exit();
}

long Thread::start()
{
    if (m_error != 0)
        return m_error;
    if (!std::exchange(m_started, true))
        m_data->startMutex->unlock();
    return 0;
}

bool Thread::stop()
{
    const ObjectLock lock(*this);
    return m_data->stop();
}

void Thread::wait(unsigned int milliseconds)
{
    sleep(milliseconds);
}

bool Thread::waitForRunExit()
{
    // A thread that waits for itself would wait for ever.
    if (m_data->thread.joinable() && !isCurrent())
        m_data->thread.join();
    return true;
}

void Thread::runInit() { }

void Thread::runExit() { }

bool Thread::isCurrent() const
{
    return m_threadId == Pt::currentThreadHandle();
}

void Thread::sleep(unsigned int milliseconds)
{
    Pt::sleepOnce(std::chrono::milliseconds(milliseconds));
}

unsigned long Thread::getCurrentID()
{
    const unsigned long id = Pt::currentThreadHandle();
    return id == gMainThreadID ? 0 : id;
}

void Thread::go()
{
    // Before the thread waits: isCurrent() may be asked from now on.
    m_threadId = Pt::currentThreadHandle();
    m_active = true;
    m_data->startMutex->lock();
    // Read under the mutex that guards it.
    const bool isAbandoned = m_data->isAbandoned;
    m_data->startMutex->unlock();
    if (isAbandoned)
        return;
    {
        const ObjectLock lock(*this);
        // Nobody waits here any more: start() came first, and is done only once.
        delete std::exchange(m_data->startMutex, nullptr);
        m_data->begin();
    }
    runGuarded();
    m_active = false;
    runExit();
    const ObjectLock lock(*this);
    // Last, so that whoever is woken finds a thread that is through with its run.
    m_data->signalEnd();
}

void Thread::runGuarded()
{
    try {
        runInit();
        run();
        // An exception must not leave a thread; the codes are those of error().
    } catch (const std::bad_alloc&) {
        m_error = kOutOfMemory;
    } catch (...) {
        m_error = kOtherException;
    }
}

} // namespace ScObjects
