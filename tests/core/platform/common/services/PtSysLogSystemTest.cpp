// What reaches the system's log: this program stands in for its calls.

#include "core/platform/WideLiteral.h"
#include "core/platform/support/OrdinarySignals.h"
#include "platform/common/devices/PtIoThread.h"
#include "platform/common/services/PtExPost.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/services/PtPlatformInit.h"
#include "platform/common/services/PtSysLog.h"
#include "platform/common/text/PtUnicode.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

// As <syslog.h> numbers them; that header's functions are defined here.
constexpr int kPid = 1;
constexpr int kConsole = 2;
constexpr int kNoDelay = 8;
constexpr int kDaemon = 3 << 3;

struct Opened {
    const char* name; // the system keeps the pointer
    int options;
    int facility;
};

// What of the layer is there while the log is opened or closed.
struct Surroundings {
    bool isExceptionQueueThere;
    bool isThreadPrimary;
    bool isHangUpBlocked;
    int workers;

    bool operator==(const Surroundings&) const = default;
};

std::optional<Opened> gOpened;
std::string gReplaced; // the name that the log had, as it stands there when another comes
std::vector<Surroundings> gSurroundings;
std::vector<std::pair<int, std::string>> gLogged;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void keep(int priority, const char* format, std::va_list arguments)
{
    char text[2048];
    std::vsnprintf(text, sizeof text, format, arguments);
    gLogged.emplace_back(priority, text);
}
#pragma GCC diagnostic pop

Surroundings surroundings()
{
    const bool wasPosted = Pt::Exception::Post(Pt::ExSystem(EIO, Pt::ExWhere::here())) == 1;
    const std::unique_ptr<Pt::Exception> taken(Pt::Exception::Poll());
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return {wasPosted && taken,
        Pt::Thread::IsThreadPrimary(),
        ::sigismember(&mask, SIGHUP) == 1,
        Pt::IoFileWorkerCount()};
}

} // namespace

extern "C" {

void openlog(const char* name, int options, int facility)
{
    gSurroundings.push_back(surroundings());
    if (gOpened)
        gReplaced = gOpened->name;
    gOpened = {name, options, facility};
}

void closelog()
{
    gSurroundings.push_back(surroundings());
    gOpened.reset();
}

void syslog(int priority, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    keep(priority, format, arguments);
    va_end(arguments);
}

// The same in a build that checks its formats.
void __syslog_chk(int priority, int, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    keep(priority, format, arguments);
    va_end(arguments);
}
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

class PtSysLogSystemTest : public testing::Test {
protected:
    ~PtSysLogSystemTest() override { Pt::SysLogUninit(); }

    static void log(std::uint32_t id, ...)
    {
        Pt::Config config;
        config.usesSystemLog = true;
        std::va_list arguments;
        va_start(arguments, id);
        Pt::SysLogEventWith(config, id, arguments);
        va_end(arguments);
    }
};

} // namespace

TEST_F(PtSysLogSystemTest, OpensTheLogOfDaemonsUnderItsName)
{
    {
        Pt::WideText name = test::wide(u"k\u00FCste");
        Pt::SysLogInit(name.c_str(), nullptr);
        std::fill(name.begin(), name.end(), 'x');
    }
    ASSERT_TRUE(gOpened);
    EXPECT_STREQ(gOpened->name, "k\u00FCste");
    EXPECT_EQ(gOpened->options, kPid | kConsole | kNoDelay);
    EXPECT_EQ(gOpened->facility, kDaemon);
    Pt::SysLogUninit();
    EXPECT_FALSE(gOpened);
}

// Other threads may write under the old name until the new one is known.
TEST_F(PtSysLogSystemTest, KeepsTheOldNameUntilTheLogHasTheNewOne)
{
    const std::string first(100, 'a');
    Pt::SysLogInit(Pt::toUtf16(first).c_str(), nullptr);
    Pt::SysLogInit(Pt::toUtf16(std::string(100, 'b')).c_str(), nullptr);
    EXPECT_EQ(gReplaced, first);
    EXPECT_EQ(gOpened->name, std::string(100, 'b'));
}

// The log comes after the signals and before the workers, and goes the other way round.
TEST_F(PtSysLogSystemTest, StandsInItsPlaceAmongTheServices)
{
    const test::OrdinarySignals ordinary;
    Pt::Config config;
    config.startsFileIo = true;
    gSurroundings.clear();
    Pt::PlatformInit(config);
    EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
    Pt::PlatformUninit();
    const Surroundings expected{true, true, true, 0};
    EXPECT_THAT(gSurroundings, ElementsAre(expected, expected));
    EXPECT_EQ(surroundings(), (Surroundings{false, false, false, 0}));
}

TEST_F(PtSysLogSystemTest, LogsWithTheSeveritysPriority)
{
    gLogged.clear();
    log(1003);
    log(0xE0000FA0, 5, "why");
    log(0x80000BB8);
    EXPECT_THAT(gLogged,
        ElementsAre(Pair(5, "Ruvena Daemon has Shutdown"),
            Pair(3, StartsWith("Thread 5 has terminated with exception:\n why \n")),
            Pair(4, "Message 0x80000BB8 has no text")));
}

TEST_F(PtSysLogSystemTest, LogsTextsThatLookLikeFormatsAsTheyAre)
{
    gLogged.clear();
    log(0xE0000FA2, "100%n%s");
    EXPECT_THAT(gLogged,
        ElementsAre(Pair(3, StartsWith("Exception in I/O completion notification!\n 100%n%s \n"))));
}

// As designed: the event looks at a new configuration.
TEST_F(PtSysLogSystemTest, WritesEventsToStandardErrorWhateverTheLayerWasStartedWith)
{
    gLogged.clear();
    Pt::Config config;
    config.usesSystemLog = true;
    config.applicationName.fill('n'); // full: without a terminator
    Pt::PlatformInit(config);
    ASSERT_TRUE(gOpened);
    EXPECT_EQ(gOpened->name, std::string(Pt::Config::kNameUnits, 'n'));
    testing::internal::CaptureStderr();
    Pt::SysLogEvent(1000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Ruvenat Daemon has Started.\n");
    EXPECT_THAT(gLogged, IsEmpty());
    Pt::PlatformUninit();
    EXPECT_FALSE(gOpened);
}
