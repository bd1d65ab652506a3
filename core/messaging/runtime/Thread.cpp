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
    m_threadId = Pt::currentThreadHandle();
    m_active = true;
    m_data->startMutex->lock();
    const bool isAbandoned = m_data->isAbandoned;
    m_data->startMutex->unlock();
    if (isAbandoned)
        return;
    {
        const ObjectLock lock(*this);
        delete std::exchange(m_data->startMutex, nullptr);
        m_data->begin();
    }
    runGuarded();
    m_active = false;
    runExit();
    const ObjectLock lock(*this);
    m_data->signalEnd();
}

void Thread::runGuarded()
{
    try {
        runInit();
        run();
    } catch (const std::bad_alloc&) {
        m_error = kOutOfMemory;
    } catch (...) {
        m_error = kOtherException;
    }
}

} // namespace ScObjects
