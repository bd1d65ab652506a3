// What priorities the system is asked for: this program stands in for the calls.

#include "core/platform/support/ThreadState.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/threads/PtSemaphore.h"
#include "platform/common/threads/PtThread.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Priority = Pt::Thread::Priority;

constexpr int kMinimum = 15;
constexpr int kMaximum = 47;

struct Asked {
    Pt::ThreadHandle thread;
    int policy;
    int priority;
};

std::mutex gLock;
std::vector<Asked> gAsked;
int gError = 0; // what the system answers
std::function<void()> gMeanwhile; // done while it is asked

std::vector<Asked> asked()
{
    const std::lock_guard locked(gLock);
    return std::exchange(gAsked, {});
}

std::vector<int> askedPriorities()
{
    std::vector<int> numbers;
    for (const Asked& each : asked())
        numbers.push_back(each.priority);
    return numbers;
}

// Runs until it may end.
class Lasting final : public Pt::Thread {
public:
    Lasting()
        : Thread(false)
    {
    }
    ~Lasting() noexcept override = default;

    // Waits for its first step.
    void beginAndRun()
    {
        begin();
        m_runs.wait();
    }
    void end() { m_mayEnd.post(); }

    std::atomic<pid_t> number{0};
    Pt::ThreadHandle seen = 0;

protected:
    void start() override
    {
        seen = Pt::ThreadSelf();
        number = Pt::ThreadNumber();
        m_runs.post();
        m_mayEnd.wait();
    }

private:
    Pt::Semaphore m_runs;
    Pt::Semaphore m_mayEnd;
};

class PtThreadPriorityTest : public testing::Test {
protected:
    ~PtThreadPriorityTest() override
    {
        gError = 0;
        gMeanwhile = {};
        asked();
    }
};

bool isAsleep(pid_t number)
{
    return number != 0 && test::threadState(::getpid(), number) == 'S';
}

} // namespace

extern "C" int sched_get_priority_min(int) noexcept
{
    return kMinimum;
}

extern "C" int sched_get_priority_max(int) noexcept
{
    return kMaximum;
}

extern "C" int pthread_setschedparam(
    pthread_t thread, int policy, const sched_param* parameters) noexcept
{
    {
        const std::lock_guard locked(gLock);
        gAsked.push_back({thread, policy, parameters->sched_priority});
    }
    if (gMeanwhile)
        gMeanwhile();
    return gError;
}

TEST_F(PtThreadPriorityTest, IsAskedForByTheThreadThatBegins)
{
    Lasting thread;
    thread.priority(Priority::kHighest);
    EXPECT_THAT(asked(), IsEmpty());
    thread.beginAndRun();
    const std::vector<Asked> all = asked();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].thread, thread.seen);
    EXPECT_EQ(all[0].policy, SCHED_OTHER);
    EXPECT_EQ(all[0].priority, kMaximum);
    thread.end();
    thread.join();
}

TEST_F(PtThreadPriorityTest, IsTheCreatorsUnlessAnotherIsWanted)
{
    Lasting thread;
    thread.beginAndRun();
    EXPECT_THAT(asked(), IsEmpty());
    thread.end();
    thread.join();
}

TEST_F(PtThreadPriorityTest, IsChangedWhileTheThreadRuns)
{
    Lasting thread;
    thread.beginAndRun();
    for (int each = 0; each < 4; ++each)
        thread.priority(static_cast<Priority>(each));
    const std::vector<Asked> all = asked();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[3].thread, thread.seen);
    EXPECT_EQ(all[3].policy, SCHED_OTHER);
    for (int each = 0; each < 4; ++each)
        EXPECT_EQ(all[static_cast<std::size_t>(each)].priority,
            Pt::Thread::systemPriority(static_cast<Priority>(each), kMinimum, kMaximum));
    thread.end();
    thread.join();
}

TEST_F(PtThreadPriorityTest, IsKeptForTheNextTimeOnceTheThreadIsJoined)
{
    Lasting thread;
    thread.beginAndRun();
    thread.end();
    thread.join();
    thread.priority(Priority::kLowest);
    EXPECT_THAT(asked(), IsEmpty());
    thread.beginAndRun();
    EXPECT_THAT(askedPriorities(), ElementsAre(kMinimum));
    thread.end();
    thread.join();
}

TEST_F(PtThreadPriorityTest, ThrowsWhatTheSystemAnswers)
{
    Lasting thread;
    thread.beginAndRun();
    gError = ESRCH;
    int error = 0;
    try {
        thread.priority(Priority::kLowest);
    } catch (const Pt::ExSystem& failure) {
        error = failure.errorCode();
    }
    EXPECT_EQ(error, ESRCH);
    thread.end();
    thread.join();
}

// The handle may be gone at any time then.
TEST_F(PtThreadPriorityTest, LeavesAThreadAloneThatIsBeingJoined)
{
    Lasting thread;
    thread.beginAndRun();
    std::atomic<pid_t> number{0};
    std::thread joining([&] {
        number = ::gettid();
        thread.join();
    });
    EXPECT_TRUE(test::waitUntil([&] { return isAsleep(number); }));
    thread.priority(Priority::kHighest);
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THROW(thread.begin(), Pt::ExSystem);
    thread.end();
    joining.join();
}

TEST_F(PtThreadPriorityTest, HoldsAJoinUpUntilItIsSet)
{
    Lasting thread;
    thread.beginAndRun();
    std::thread joining;
    std::atomic<bool> isJoined{false};
    gMeanwhile = [&] {
        thread.end();
        EXPECT_TRUE(
            test::waitUntil([&] { return test::threadState(::getpid(), thread.number) == '?'; }));
        std::atomic<pid_t> number{0};
        joining = std::thread([&] {
            number = ::gettid();
            thread.join();
            isJoined = true;
        });
        EXPECT_TRUE(test::waitUntil([&] { return isJoined || isAsleep(number); }));
        EXPECT_FALSE(isJoined);
    };
    thread.priority(Priority::kHighest);
    joining.join();
    EXPECT_TRUE(isJoined);
}
