#include "messaging/Thread.h"

#include "core/messaging/SignalInterruption.h"
#include "messaging/SoString.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using ScObjects::Thread;
using std::chrono::steady_clock;

// Records the steps of its life; each can be made to do something.
class RecordedThread final : public Thread {
public:
    std::function<void()> onInit = [] {};
    std::function<void()> onRun = [] {};

    void runInit() override
    {
        m_steps.emplace_back("init");
        onInit();
    }
    void run() override
    {
        m_steps.emplace_back("run");
        m_wasActive = isActive();
        m_wasCurrent = isCurrent();
        m_handle = getCurrentID();
        onRun();
    }
    void runExit() override
    {
        m_wasActiveAtExit = isActive();
        m_steps.emplace_back("exit");
    }

    // After its end:
    const std::vector<std::string>& steps() const { return m_steps; }
    bool wasActive() const { return m_wasActive; }
    bool wasActiveAtExit() const { return m_wasActiveAtExit; }
    bool wasCurrent() const { return m_wasCurrent; }
    unsigned long handle() const { return m_handle; }

    long runToTheEnd()
    {
        EXPECT_EQ(start(), 0);
        EXPECT_TRUE(waitForRunExit());
        return error();
    }

private:
    std::vector<std::string> m_steps;
    bool m_wasActive = false;
    bool m_wasActiveAtExit = true;
    bool m_wasCurrent = false;
    unsigned long m_handle = 0;
};

using Steps = std::vector<std::string>;

void waitUntilItExists(const Thread& thread)
{
    while (!thread.isActive())
        std::this_thread::yield();
}

std::ptrdiff_t threadsOfThisProcess()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

// With the first thread of a process some runtimes start one of their own, which stays.
std::ptrdiff_t threadsAfterTheFirst()
{
    std::thread([] {}).join();
    std::ptrdiff_t count = threadsOfThisProcess();
    for (int i = 0; i < 100; ++i) { // until the joined one has left the list
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        count = std::min(count, threadsOfThisProcess());
    }
    return count;
}

// An ended thread leaves the system's list a moment after it was joined.
bool countsThreads(std::ptrdiff_t expected)
{
    const auto limit = steady_clock::now() + std::chrono::seconds(20);
    while (threadsOfThisProcess() != expected) {
        if (steady_clock::now() > limit)
            return false;
        std::this_thread::yield();
    }
    return true;
}

// The system gives no threads: none has room for a stack of the size that is asked for.
class NoMoreThreads {
public:
    NoMoreThreads()
    {
        ::pthread_getattr_default_np(&m_before);
        ::pthread_attr_init(&m_impossible);
        EXPECT_EQ(::pthread_attr_setstacksize(&m_impossible, std::size_t{1} << 60), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&m_impossible), 0);
    }
    ~NoMoreThreads()
    {
        ::pthread_setattr_default_np(&m_before);
        ::pthread_attr_destroy(&m_impossible);
        ::pthread_attr_destroy(&m_before);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    pthread_attr_t m_before = {};
    pthread_attr_t m_impossible = {};
};

} // namespace

TEST(ThreadTest, DoesNotRunBeforeItIsStarted)
{
    RecordedThread thread;
    waitUntilItExists(thread);
    EXPECT_EQ(thread.steps(), Steps{});
    EXPECT_EQ(thread.runToTheEnd(), 0);
    EXPECT_EQ(thread.steps(), (Steps{"init", "run", "exit"}));
}

TEST(ThreadTest, IsActiveUntilItsRunHasEnded)
{
    RecordedThread thread;
    EXPECT_EQ(thread.runToTheEnd(), 0);
    EXPECT_TRUE(thread.wasActive());
    EXPECT_FALSE(thread.wasActiveAtExit());
    EXPECT_FALSE(thread.isActive());
}

TEST(ThreadTest, RunsOnAThreadOfItsOwn)
{
    RecordedThread thread;
    EXPECT_FALSE(thread.isCurrent());
    thread.runToTheEnd();
    EXPECT_TRUE(thread.wasCurrent());
    EXPECT_NE(thread.handle(), 0U);
    EXPECT_NE(thread.handle(), Thread::getCurrentID());
}

TEST(ThreadTest, TellsThatItsRunWasOutOfMemory)
{
    RecordedThread thread;
    thread.onRun = [] { throw std::bad_alloc(); };
    EXPECT_EQ(thread.runToTheEnd(), -28);
    EXPECT_EQ(thread.steps(), (Steps{"init", "run", "exit"}));
    EXPECT_FALSE(thread.isActive());
}

TEST(ThreadTest, TellsThatItsRunEndedByAnException)
{
    RecordedThread thread;
    thread.onRun = [] { throw std::runtime_error("no reason"); };
    EXPECT_EQ(thread.runToTheEnd(), -29);
    RecordedThread other;
    other.onRun = [] { throw 5; };
    EXPECT_EQ(other.runToTheEnd(), -29);
}

TEST(ThreadTest, DoesNotRunWhenItsPreparationThrows)
{
    RecordedThread thread;
    thread.onInit = [] { throw std::bad_alloc(); };
    EXPECT_EQ(thread.runToTheEnd(), -28);
    EXPECT_EQ(thread.steps(), (Steps{"init", "exit"}));
    RecordedThread other;
    other.onInit = [] { throw 5; };
    EXPECT_EQ(other.runToTheEnd(), -29);
    EXPECT_EQ(other.steps(), (Steps{"init", "exit"}));
}

TEST(ThreadTest, TellsThatTheSystemGivesNoThread)
{
    std::unique_ptr<RecordedThread> thread;
    {
        const NoMoreThreads limit;
        thread = std::make_unique<RecordedThread>();
    }
    EXPECT_EQ(thread->error(), 32);
    EXPECT_EQ(thread->start(), 32);
    EXPECT_TRUE(thread->waitForRunExit());
    EXPECT_TRUE(thread->stop());
    EXPECT_FALSE(thread->isActive());
    EXPECT_EQ(thread->steps(), Steps{});
}

TEST(ThreadTest, EndsWithoutARunWhenItWasNeverStarted)
{
    const std::ptrdiff_t before = threadsAfterTheFirst();
    {
        const RecordedThread held;
        waitUntilItExists(held);
        EXPECT_GT(threadsOfThisProcess(), before);
    }
    EXPECT_TRUE(countsThreads(before));
    // At once, too, when the new thread may not even have begun.
    for (int i = 0; i < 50; ++i)
        const RecordedThread held;
    EXPECT_TRUE(countsThreads(before));
}

TEST(ThreadTest, LeavesNoThreadBehind)
{
    const std::ptrdiff_t before = threadsAfterTheFirst();
    for (int i = 0; i < 50; ++i) {
        RecordedThread thread;
        thread.runToTheEnd();
    }
    EXPECT_TRUE(countsThreads(before));
}

TEST(ThreadTest, RunsOnceWhenItIsStartedTwice)
{
    RecordedThread thread;
    EXPECT_EQ(thread.start(), 0);
    EXPECT_EQ(thread.start(), 0);
    thread.waitForRunExit();
    EXPECT_EQ(thread.start(), 0);
    EXPECT_EQ(thread.steps(), (Steps{"init", "run", "exit"}));
}

TEST(ThreadTest, IsStoppedAtAnyTimeWithoutEndingItsRun)
{
    std::atomic<bool> isRunning{false};
    std::atomic<bool> mayEnd{false};
    RecordedThread thread;
    thread.onRun = [&] {
        isRunning = true;
        while (!mayEnd)
            std::this_thread::yield();
    };
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.start(), 0);
    EXPECT_TRUE(thread.stop());
    while (!isRunning)
        std::this_thread::yield();
    EXPECT_TRUE(thread.stop());
    EXPECT_TRUE(thread.isActive());
    mayEnd = true;
    thread.waitForRunExit();
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.error(), 0);
}

TEST(ThreadTest, DoesNotWaitForItself)
{
    RecordedThread thread;
    thread.onRun = [&] { thread.waitForRunExit(); };
    EXPECT_EQ(thread.runToTheEnd(), 0);
}

TEST(ThreadTest, IsWaitedForMoreThanOnce)
{
    RecordedThread thread;
    thread.runToTheEnd();
    EXPECT_TRUE(thread.waitForRunExit());
}

TEST(ThreadTest, CountsItsUsers)
{
    ASSERT_TRUE(Thread::InitTerm::init()) << "something uses threads before the tests do";
    EXPECT_FALSE(Thread::InitTerm::init());
    {
        const ScObjects::SoLock lock;
        EXPECT_FALSE(Thread::InitTerm::exit());
        EXPECT_FALSE(Thread::InitTerm::exit()); // the lock still counts
        EXPECT_FALSE(Thread::InitTerm::init());
    }
    EXPECT_TRUE(Thread::InitTerm::exit());
}

TEST(ThreadTest, TakesTheFirstThreadThatUsesItForTheMainThread)
{
    unsigned long idOfFirst = 1;
    bool wasFirst = false;
    std::thread first([&] {
        wasFirst = Thread::InitTerm::init();
        idOfFirst = Thread::getCurrentID();
    });
    // Of a thread that has ended, another one may have the handle: ask before that.
    first.join();
    EXPECT_TRUE(wasFirst);
    EXPECT_EQ(idOfFirst, 0U);
    EXPECT_NE(Thread::getCurrentID(), 0U);
    EXPECT_TRUE(Thread::InitTerm::exit());

    ASSERT_TRUE(Thread::InitTerm::init());
    EXPECT_EQ(Thread::getCurrentID(), 0U);
    EXPECT_TRUE(Thread::InitTerm::exit());
}

TEST(ThreadTest, SleepsAtLeastAsLongAsItIsTold)
{
    const auto before = steady_clock::now();
    Thread::sleep(30);
    RecordedThread thread;
    thread.wait(30);
    EXPECT_GE(steady_clock::now() - before, std::chrono::milliseconds(60));
}

TEST(ThreadTest, DoesNotResumeASleepThatASignalEnds)
{
    EXPECT_TRUE(test::signalEnds([] { Thread::sleep(60'000); }));
}
