#include "platform/common/threads/PtSemaphore.h"

#include "core/platform/support/ThreadState.h"
#include "platform/common/services/PtExSystem.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/stat.h>

namespace {

// What the system has under the semaphore's name: its count, -1 when there is none.
int countBehind(const std::string& name)
{
    sem_t* const found = ::sem_open(name.c_str(), 0);
    if (found == SEM_FAILED)
        return -1;
    int count = -1;
    ::sem_getvalue(found, &count);
    ::sem_close(found);
    return count;
}

std::atomic<int> gHandled{0};

void countHandled(int)
{
    ++gHandled;
}

} // namespace

TEST(PtSemaphoreTest, StartsAtZeroWhateverItWasGiven)
{
    const Pt::Semaphore semaphore(5);
    EXPECT_EQ(semaphore.initialCount(), 5);
    EXPECT_EQ(countBehind(semaphore.name()), 0);
}

TEST(PtSemaphoreTest, LetsThroughAsOftenAsItWasPosted)
{
    Pt::Semaphore semaphore;
    semaphore.post();
    semaphore.post();
    EXPECT_EQ(countBehind(semaphore.name()), 2);
    semaphore.wait();
    EXPECT_EQ(countBehind(semaphore.name()), 1);
    semaphore.wait();
    EXPECT_EQ(countBehind(semaphore.name()), 0);
}

TEST(PtSemaphoreTest, WakesTheThreadsThatWait)
{
    Pt::Semaphore semaphore;
    std::atomic<int> through{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            semaphore.wait();
            ++through;
        });
    }
    EXPECT_EQ(through, 0);
    semaphore.post();
    EXPECT_TRUE(test::waitUntil([&] { return through == 1; }));
    semaphore.post();
    semaphore.post();
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(through, 3);
}

// What one thread wrote before it posted is what the other reads behind its wait.
TEST(PtSemaphoreTest, HandsOverWhatWasWrittenBefore)
{
    Pt::Semaphore semaphore;
    int written = 0;
    std::thread writer([&] {
        written = 42;
        semaphore.post();
    });
    semaphore.wait();
    EXPECT_EQ(written, 42);
    writer.join();
}

TEST(PtSemaphoreTest, GoesOnWaitingWhenASignalComes)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = countHandled; // without SA_RESTART
    gHandled = 0;
    ASSERT_EQ(::sigaction(SIGUSR2, &action, &before), 0);
    Pt::Semaphore semaphore;
    std::atomic<pid_t> number{0};
    std::atomic<bool> isThrough{false};
    std::thread waiting([&] {
        number = ::gettid();
        semaphore.wait();
        isThrough = true;
    });
    const auto isAsleep = [&] {
        return number != 0 && test::threadState(::getpid(), number) == 'S';
    };
    EXPECT_TRUE(test::waitUntil(isAsleep));
    ::pthread_kill(waiting.native_handle(), SIGUSR2);
    EXPECT_TRUE(test::waitUntil([] { return gHandled == 1; }));
    EXPECT_TRUE(test::waitUntil([&] { return isThrough || isAsleep(); }));
    EXPECT_FALSE(isThrough);
    semaphore.post();
    waiting.join();
    ::sigaction(SIGUSR2, &before, nullptr);
}

TEST(PtSemaphoreTest, HasANameOfItsOwn)
{
    std::vector<std::unique_ptr<Pt::Semaphore>> many;
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        many.push_back(std::make_unique<Pt::Semaphore>());
        names.insert(many.back()->name());
    }
    EXPECT_EQ(names.size(), 100U);
    EXPECT_THAT(many[0]->name(), testing::HasSubstr('_' + std::to_string(::getpid()) + '_'));
}

TEST(PtSemaphoreTest, IsForEverybodyLessTheMask)
{
    const mode_t before = ::umask(0);
    const Pt::Semaphore semaphore;
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(("/dev/shm/sem." + semaphore.name().substr(1)).c_str(), &status), 0)
        << semaphore.name();
    EXPECT_EQ(status.st_mode & 07777U, 0777U);
}

TEST(PtSemaphoreTest, TakesItsNameWithIt)
{
    std::string name;
    {
        const Pt::Semaphore semaphore;
        name = semaphore.name();
        EXPECT_EQ(countBehind(name), 0);
    }
    EXPECT_EQ(countBehind(name), -1);
}

TEST(PtSemaphoreTest, TellsThatItsNameIsGone)
{
    auto* const semaphore = new Pt::Semaphore;
    ASSERT_EQ(::sem_unlink(semaphore->name().c_str()), 0);
    testing::internal::CaptureStderr();
    int error = 0;
    try {
        delete semaphore;
    } catch (const Pt::ExSystem& failure) {
        error = failure.errorCode();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "sem_unlink: error " + std::to_string(ENOENT) + "\n");
    EXPECT_EQ(error, ENOENT);
}

TEST(PtSemaphoreTest, DoesNotAddAFailureToAnExceptionOnItsWayOut)
{
    testing::internal::CaptureStderr();
    const auto failTwice = [] {
        const Pt::Semaphore semaphore;
        ::sem_unlink(semaphore.name().c_str());
        throw std::runtime_error("first");
    };
    EXPECT_THROW(failTwice(), std::runtime_error);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("sem_unlink"));
}
