#include "platform/common/threads/PtThread.h"

#include "core/platform/WideLiteral.h"
#include "core/platform/support/SystemFailure.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/threads/PtSemaphore.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Priority = Pt::Thread::Priority;

class Doing : public Pt::Thread {
public:
    Doing(bool detached, std::function<void()> what, std::atomic<int>* alive = nullptr)
        : Thread(detached)
        , m_what(std::move(what))
        , m_alive(alive)
    {
        if (m_alive)
            ++*m_alive;
    }
    ~Doing() override
    {
        if (m_alive)
            --*m_alive;
    }

protected:
    void start() override { m_what(); }

private:
    std::function<void()> m_what;
    std::atomic<int>* m_alive;
};

// What a thread that does this writes to the log.
std::string logOf(const std::function<void()>& what)
{
    testing::internal::CaptureStderr();
    Doing thread(false, what);
    thread.begin();
    thread.join();
    return testing::internal::GetCapturedStderr();
}

// Of an action that fails in the thread's own source.
int threadFailureOf(const std::function<void()>& action)
{
    return test::failureOf([&] {
        try {
            action();
        } catch (const Pt::ExSystem& failure) {
            EXPECT_THAT(failure.reasons().front().file(), HasSubstr("PtThread.cpp"));
            throw;
        }
    });
}

} // namespace

TEST(PtThreadTest, RunsStartInAThreadOfItsOwn)
{
    Pt::ThreadHandle seen = 0;
    Doing thread(false, [&] { seen = Pt::ThreadSelf(); });
    thread.begin();
    thread.join();
    EXPECT_NE(seen, 0U);
    EXPECT_FALSE(Pt::ThreadCmp(seen, Pt::ThreadSelf()));
    EXPECT_EQ(thread.exitValue(), nullptr);
}

TEST(PtThreadTest, KeepsAJoinableObjectForItsOwner)
{
    std::atomic<int> alive{0};
    {
        Doing thread(
            false, [] {}, &alive);
        thread.begin();
        thread.join();
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(PtThreadTest, DeletesADetachedObjectAtItsEnd)
{
    std::atomic<int> alive{0};
    Pt::Semaphore mayEnd;
    (new Doing(
         true, [&] { mayEnd.wait(); }, &alive))
        ->begin();
    EXPECT_EQ(alive, 1);
    mayEnd.post();
    EXPECT_TRUE(test::waitUntil([&] { return alive == 0; }));
}

TEST(PtThreadTest, DeletesADetachedObjectThatThrewToo)
{
    testing::internal::CaptureStderr();
    std::atomic<int> alive{0};
    (new Doing(
         true, [] { throw std::runtime_error("broken"); }, &alive))
        ->begin();
    EXPECT_TRUE(test::waitUntil([&] { return alive == 0; }));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("broken"));
}

TEST(PtThreadTest, EndsWithALineInTheLogWhenStartThrows)
{
    EXPECT_THAT(logOf([] { throw std::runtime_error("the reason"); }),
        MatchesRegex("Thread [1-9][0-9]* has terminated with exception:\n the reason \n"
                     "For additional information on this message, please visit\n"
                     "our support Web site: .*\n"));
    EXPECT_THAT(logOf([] { throw Pt::ExSystem(ENOENT, Pt::ExWhere::here()); }),
        HasSubstr(std::string("\n ") + std::strerror(ENOENT) + " \n"));
}

TEST(PtThreadDeathTest, IsEndedByWhatIsNoExceptionOfOursNorOfTheLibrary)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_DEATH(logOf([] { throw 42; }), "");
}

TEST(PtThreadTest, TellsTheNewestReasonOfALayeredException)
{
    const auto layered = [] {
        const Pt::Exception cause(
            Pt::ExReason(test::wide(u"cause").c_str(), Pt::ExWhere::here(), 1));
        throw Pt::Exception(
            Pt::ExReason(test::wide(u"newest \u00E4").c_str(), Pt::ExWhere::here(), 1), cause);
    };
    const std::string log = logOf(layered);
    EXPECT_THAT(log, HasSubstr("newest \u00E4"));
    EXPECT_THAT(log, testing::Not(HasSubstr("cause")));
}

TEST(PtThreadTest, KeepsTheValueOfAThreadThatEndsItself)
{
    int value = 0;
    Doing thread(false, [&] { ::pthread_exit(&value); });
    thread.begin();
    thread.join();
    EXPECT_EQ(thread.exitValue(), &value);
}

TEST(PtThreadTest, IsBegunOnceAtATime)
{
    Pt::Semaphore mayEnd;
    int runs = 0;
    Doing thread(false, [&] {
        ++runs;
        mayEnd.wait();
    });
    thread.begin();
    EXPECT_EQ(threadFailureOf([&] { thread.begin(); }), EBUSY);
    mayEnd.post();
    thread.join();
    mayEnd.post();
    thread.begin();
    thread.join();
    EXPECT_EQ(runs, 2);
}

TEST(PtThreadTest, JoinsOnlyWhatIsThere)
{
    Doing thread(false, [] {});
    EXPECT_EQ(threadFailureOf([&] { thread.join(); }), EINVAL);
    thread.begin();
    thread.join();
    EXPECT_EQ(threadFailureOf([&] { thread.join(); }), EINVAL);
}

TEST(PtThreadTest, DoesNotJoinItself)
{
    int error = 0;
    Pt::Semaphore isBegun;
    std::optional<Doing> thread;
    thread.emplace(false, [&] {
        isBegun.wait();
        error = threadFailureOf([&] { thread->join(); });
    });
    thread->begin();
    isBegun.post();
    thread->join();
    EXPECT_EQ(error, EDEADLK);
}

// The thread checker tells of a thread that nobody has taken leave of.
TEST(PtThreadTest, LeavesNothingWhenAnEndedThreadIsNotJoined)
{
    std::atomic<int> alive{0};
    pid_t number = 0;
    Pt::Semaphore hasRun;
    auto thread = std::make_unique<Doing>(
        false,
        [&] {
            number = ::gettid();
            hasRun.post();
        },
        &alive);
    thread->begin();
    hasRun.wait();
    EXPECT_TRUE(test::waitUntil([&] { return test::threadState(::getpid(), number) == '?'; }));
    thread.reset();
    EXPECT_EQ(alive, 0);
}

TEST(PtThreadTest, NumbersPrioritiesBetweenTheEndsOfThePolicy)
{
    struct {
        Priority priority;
        int minimum;
        int maximum;
        int expected;
    } const rows[] = {
        {Priority::kLowest, 0, 0, 0},
        {Priority::kHighest, 0, 0, 0},
        {Priority::kLowest, 15, 47, 15},
        {Priority::kBelowNormal, 15, 47, 0}, // (16 - 15) / 2
        {Priority::kNormal, 15, 47, 16},
        {Priority::kHighest, 15, 47, 47},
        {Priority::kBelowNormal, 1, 99, 24},
        {Priority::kNormal, 1, 99, 49},
        {Priority::kBelowNormal, 5, 6, -2}, // toward zero
        {static_cast<Priority>(7), 1, 99, 49},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Pt::Thread::systemPriority(row.priority, row.minimum, row.maximum), row.expected);
}

TEST(PtThreadTest, HasNoPriorityToChangeBetweenItsEndAndItsJoin)
{
    std::atomic<pid_t> number{0};
    Doing thread(false, [&] { number = Pt::ThreadNumber(); });
    thread.begin();
    EXPECT_TRUE(test::waitUntil(
        [&] { return number != 0 && test::threadState(::getpid(), number) == '?'; }));
    EXPECT_EQ(threadFailureOf([&] { thread.priority(Priority::kHighest); }), ESRCH);
    thread.join();
    EXPECT_EQ(threadFailureOf([&] { thread.priority(Priority::kNormal); }), 0);
}

TEST(PtThreadTest, DoesNotJoinItselfWhileItsOwnerWaitsForIt)
{
    int joinError = 0;
    int beginError = 0;
    std::optional<Doing> thread;
    const pid_t owner = ::gettid();
    std::atomic<bool> isJoining{false};
    thread.emplace(false, [&] {
        EXPECT_TRUE(test::waitUntil(
            [&] { return isJoining && test::threadState(::getpid(), owner) == 'S'; }));
        joinError = threadFailureOf([&] { thread->join(); });
        beginError = threadFailureOf([&] { thread->begin(); });
    });
    thread->begin();
    isJoining = true;
    thread->join();
    EXPECT_EQ(joinError, EDEADLK);
    EXPECT_EQ(beginError, EBUSY);
}

TEST(PtThreadTest, CountsItsObjects)
{
    ASSERT_TRUE(Pt::Thread::IsThreadCountZero());
    {
        Doing thread(false, [] {});
        EXPECT_FALSE(Pt::Thread::IsThreadCountZero());
        thread.begin();
        thread.join();
        EXPECT_FALSE(Pt::Thread::IsThreadCountZero());
    }
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
}

TEST(PtThreadTest, KnowsThePrimaryThread)
{
    EXPECT_FALSE(Pt::Thread::IsThreadPrimary());
    Pt::ThreadInit();
    EXPECT_TRUE(Pt::Thread::IsThreadPrimary());
    bool isPrimaryThere = true;
    std::thread([&] { isPrimaryThere = Pt::Thread::IsThreadPrimary(); }).join();
    EXPECT_FALSE(isPrimaryThere);
    Pt::ThreadUninit();
    EXPECT_FALSE(Pt::Thread::IsThreadPrimary());
}

TEST(PtThreadTest, KnowsTheProcessor)
{
    EXPECT_EQ(Pt::ProcessorCount(), 1);
    EXPECT_EQ(Pt::ProcessorPageSize(), ::getpagesize());
}
