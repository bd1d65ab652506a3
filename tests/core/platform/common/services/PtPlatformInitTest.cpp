#include "platform/common/services/PtPlatformInit.h"

#include "core/platform/WideLiteral.h"
#include "core/platform/support/OrdinarySignals.h"
#include "platform/common/devices/PtIoThread.h"
#include "platform/common/services/PtExPost.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/services/PtPlatformStart.h"
#include "platform/common/services/PtSysLog.h"
#include "platform/common/text/PtUcs.h"
#include "platform/common/threads/PtSignal.h"
#include "support/TestFolder.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using test::wide;

namespace {

bool isHangUpBlocked()
{
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return ::sigismember(&mask, SIGHUP) == 1;
}

bool isExceptionQueueThere()
{
    const bool wasPosted = Pt::Exception::Post(Pt::ExSystem(EIO, Pt::ExWhere::here())) == 1;
    const std::unique_ptr<Pt::Exception> taken(Pt::Exception::Poll());
    return wasPosted && taken;
}

Pt::Config withFileIo()
{
    Pt::Config config;
    config.startsFileIo = true;
    return config;
}

Pt::Config named(const char16_t* name)
{
    Pt::Config config;
    ptucscpy(config.applicationName.data(), wide(name).c_str());
    return config;
}

// Nothing of the layer is left at the end.
class PtPlatformInitTest : public testing::Test {
protected:
    ~PtPlatformInitTest() override
    {
        EXPECT_FALSE(isExceptionQueueThere());
        EXPECT_FALSE(Pt::Thread::IsThreadPrimary());
        EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
        EXPECT_FALSE(isHangUpBlocked());
        EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
        EXPECT_EQ(test::openDescriptors(), m_descriptors);
    }

private:
    const test::OrdinarySignals m_ordinary;
    const std::ptrdiff_t m_descriptors = test::openDescriptors();
};

} // namespace

TEST_F(PtPlatformInitTest, HasTheseDefaults)
{
    const Pt::Config config;
    EXPECT_EQ(config.applicationName, Pt::Config::Name{});
    EXPECT_EQ(config.secondName, Pt::Config::Name{});
    EXPECT_EQ(config.fileWorkers, 2);
    EXPECT_EQ(config.socketWorkers, 2);
    EXPECT_EQ(config.thirdCount, 1);
    EXPECT_EQ(config.fourthCount, 4);
    EXPECT_TRUE(config.firstFlag);
    EXPECT_FALSE(config.startsFileIo);
    EXPECT_FALSE(config.startsSocketIo);
    EXPECT_FALSE(config.fourthFlag);
    EXPECT_FALSE(config.handlesConsoleSignals);
    EXPECT_FALSE(config.usesSystemLog);
}

// Each of them may use those before it, and is stopped before they are.
TEST_F(PtPlatformInitTest, KnowsTheServicesInTheOrderOfTheirStart)
{
    using Stop = void (*)();
    std::vector<Stop> stops;
    for (const Pt::PlatformService& service : Pt::platformServices()) {
        ASSERT_NE(service.stop.target<Stop>(), nullptr);
        stops.push_back(*service.stop.target<Stop>());
    }
    EXPECT_EQ(stops,
        (std::vector<Stop>{Pt::ExceptionUninit,
            Pt::ThreadUninit,
            Pt::SignalUninit,
            Pt::SysLogUninit,
            Pt::IoFileUninit,
            Pt::IoSocketUninit}));
}

TEST_F(PtPlatformInitTest, StartsTheServices)
{
    Pt::PlatformInit(Pt::Config());
    EXPECT_TRUE(isExceptionQueueThere());
    EXPECT_TRUE(Pt::Thread::IsThreadPrimary());
    EXPECT_TRUE(isHangUpBlocked());
    EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
    Pt::PlatformUninit();
}

TEST_F(PtPlatformInitTest, StartsFileIoThatASecondCallAsksForAndCountsBoth)
{
    Pt::PlatformInit(Pt::Config());
    Pt::PlatformInit(withFileIo());
    EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
    Pt::PlatformUninit();
    EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
    EXPECT_TRUE(isExceptionQueueThere());
    Pt::PlatformUninit();
}

TEST_F(PtPlatformInitTest, StartsAsManyWorkersAsItIsTold)
{
    Pt::Config config = withFileIo();
    config.fileWorkers = 5;
    config.startsSocketIo = true;
    Pt::PlatformInit(config);
    EXPECT_EQ(Pt::IoFileWorkerCount(), 5);
    Pt::PlatformUninit();
}

TEST_F(PtPlatformInitTest, KeepsTheFirstConfiguration)
{
    Pt::Config first = named(u"first");
    first.fourthFlag = true;
    first.handlesConsoleSignals = true;
    Pt::PlatformInit(first);
    Pt::PlatformInit(named(u"second"));
    first.thirdCount = 9;
    const Pt::Config kept = Pt::ConfigInfo();
    EXPECT_EQ(wide(u"first"), kept.applicationName.data());
    EXPECT_TRUE(kept.fourthFlag);
    EXPECT_TRUE(kept.handlesConsoleSignals);
    EXPECT_EQ(kept.thirdCount, 1);
    Pt::PlatformUninit();
    Pt::PlatformUninit();
}

TEST_F(PtPlatformInitTest, DoesNothingAtAnEndWithoutABeginning)
{
    Pt::PlatformUninit();
    Pt::PlatformInit(Pt::Config());
    EXPECT_TRUE(isExceptionQueueThere());
    Pt::PlatformUninit();
    Pt::PlatformUninit();
}

TEST_F(PtPlatformInitTest, CanBeStartedAgainAndAgain)
{
    for (int round = 0; round < 50; ++round) {
        Pt::PlatformInit(withFileIo());
        EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
        Pt::PlatformUninit();
    }
}

// The main thread's use is the first and the last one, as the signals' mask is its own.
TEST_F(PtPlatformInitTest, IsUsedFromManyThreads)
{
    Pt::PlatformInit(Pt::Config());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                Pt::PlatformInit(withFileIo());
                EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
                EXPECT_EQ(Pt::ConfigInfo().fileWorkers, 2);
                Pt::PlatformUninit();
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    Pt::PlatformUninit();
}
