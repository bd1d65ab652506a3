// What becomes of the layer when the system starts no thread.

#include "core/platform/support/OrdinarySignals.h"
#include "platform/common/devices/PtIoThread.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/services/PtPlatformInit.h"
#include "platform/common/threads/PtSemaphore.h"
#include "platform/common/threads/PtSignal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

// Threads get stacks that do not fit into any address space: each is refused.
class NoThreads {
public:
    NoThreads()
    {
        EXPECT_EQ(::pthread_getattr_default_np(&m_before), 0);
        pthread_attr_t huge;
        ::pthread_attr_init(&huge);
        EXPECT_EQ(::pthread_attr_setstacksize(&huge, std::size_t(1) << 50U), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
        ::pthread_attr_destroy(&huge);
    }
    ~NoThreads()
    {
        EXPECT_EQ(::pthread_setattr_default_np(&m_before), 0);
        ::pthread_attr_destroy(&m_before);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_before;
};

class Posting final : public Pt::Thread {
public:
    Posting(bool detached, Pt::Semaphore& semaphore)
        : Thread(detached)
        , m_semaphore(semaphore)
    {
    }

protected:
    void start() override { m_semaphore.post(); }

private:
    Pt::Semaphore& m_semaphore;
};

int refusalOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Pt::ExSystem& failure) {
        // The place of the call itself, not of what checks its result.
        const std::string_view file = failure.reasons().front().file();
        EXPECT_TRUE(file.ends_with("PtThread.cpp")) << file;
        return failure.errorCode();
    }
    return 0;
}

bool isBlocked(int number)
{
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return ::sigismember(&mask, number) == 1;
}

} // namespace

TEST(PtThreadRefusedTest, LeavesTheObjectToItsOwnerWhoMayTryAgain)
{
    Pt::Semaphore semaphore;
    Posting joinable(false, semaphore);
    auto detached = std::make_unique<Posting>(true, semaphore);
    {
        const NoThreads none;
        EXPECT_EQ(refusalOf([&] { joinable.begin(); }), EAGAIN);
        EXPECT_EQ(refusalOf([&] { detached->begin(); }), EAGAIN);
        EXPECT_EQ(refusalOf([&] { joinable.join(); }), EINVAL);
    }
    joinable.begin();
    joinable.join();
    semaphore.wait();
}

TEST(PtThreadRefusedTest, LeavesTheSignalsAsTheyWere)
{
    const test::OrdinarySignals ordinary;
    {
        const NoThreads none;
        EXPECT_EQ(refusalOf([] { Pt::SignalInit(); }), EAGAIN);
        EXPECT_FALSE(isBlocked(SIGHUP));
        EXPECT_FALSE(isBlocked(SIGPIPE));
    }
    Pt::SignalInit();
    EXPECT_TRUE(isBlocked(SIGHUP));
    Pt::SignalUninit();
}

TEST(PtThreadRefusedTest, LeavesNoWorkers)
{
    {
        const NoThreads none;
        EXPECT_EQ(refusalOf([] { Pt::IoFileInit(2); }), EAGAIN);
        EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
    }
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
    Pt::IoFileInit(2);
    EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
    Pt::IoFileUninit();
}

TEST(PtThreadRefusedTest, LeavesNothingOfTheLayer)
{
    {
        const NoThreads none;
        EXPECT_EQ(refusalOf([] { Pt::PlatformInit(Pt::Config()); }), EAGAIN);
    }
    EXPECT_EQ(Pt::Exception::Post(Pt::ExSystem(EIO, Pt::ExWhere::here())), 0);
    EXPECT_FALSE(Pt::Thread::IsThreadPrimary());
    Pt::PlatformInit(Pt::Config());
    {
        const NoThreads none;
        Pt::Config config;
        config.startsFileIo = true;
        EXPECT_EQ(refusalOf([&] { Pt::PlatformInit(config); }), EAGAIN);
    }
    EXPECT_TRUE(Pt::Thread::IsThreadPrimary()) << "the first use was ended, too";
    Pt::PlatformUninit();
    EXPECT_FALSE(Pt::Thread::IsThreadPrimary()) << "the refused use was counted";
}
