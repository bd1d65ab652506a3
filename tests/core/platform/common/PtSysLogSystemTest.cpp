// What reaches the system's log: this program stands in for its calls.

#include "core/platform/WideLiteral.h"
#include "platform/common/PtPlatformInit.h"
#include "platform/common/PtSysLog.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
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
    char const* name; // the system keeps the pointer
    int options;
    int facility;
};

std::optional<Opened> g_opened;
std::vector<std::pair<int, std::string>> g_logged;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void keep(int priority, char const* format, std::va_list arguments)
{
    char text[2048];
    std::vsnprintf(text, sizeof text, format, arguments);
    g_logged.emplace_back(priority, text);
}
#pragma GCC diagnostic pop

} // namespace

extern "C" {

void openlog(char const* name, int options, int facility)
{
    g_opened = {name, options, facility};
}

void closelog()
{
    g_opened.reset();
}

void syslog(int priority, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    keep(priority, format, arguments);
    va_end(arguments);
}

// The same in a build that checks its formats.
void __syslog_chk(int priority, int, char const* format, ...)
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
    ASSERT_TRUE(g_opened);
    EXPECT_STREQ(g_opened->name, "k\u00FCste");
    EXPECT_EQ(g_opened->options, kPid | kConsole | kNoDelay);
    EXPECT_EQ(g_opened->facility, kDaemon);
    Pt::SysLogUninit();
    EXPECT_FALSE(g_opened);
}

TEST_F(PtSysLogSystemTest, LogsWithTheSeveritysPriority)
{
    log(1003);
    log(0xE0000FA0, 5, "why");
    log(0x80000BB8);
    EXPECT_THAT(g_logged,
        ElementsAre(Pair(5, "Ruvena Daemon has Shutdown"),
            Pair(3, StartsWith("Thread 5 has terminated with exception:\n why \n")),
            Pair(4, "Message 0x80000BB8 has no text")));
}

TEST_F(PtSysLogSystemTest, LogsTextsThatLookLikeFormatsAsTheyAre)
{
    g_logged.clear();
    log(0xE0000FA2, "100%n%s");
    EXPECT_THAT(g_logged,
        ElementsAre(Pair(3, StartsWith("Exception in I/O completion notification!\n 100%n%s \n"))));
}

// As designed: the event looks at a new configuration.
TEST_F(PtSysLogSystemTest, WritesEventsToStandardErrorWhateverTheLayerWasStartedWith)
{
    g_logged.clear();
    Pt::Config config;
    config.usesSystemLog = true;
    config.applicationName.fill('n'); // full: without a terminator
    Pt::PlatformInit(config);
    ASSERT_TRUE(g_opened);
    EXPECT_EQ(g_opened->name, std::string(Pt::Config::kNameUnits, 'n'));
    testing::internal::CaptureStderr();
    Pt::SysLogEvent(1000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Ruvenat Daemon has Started.\n");
    EXPECT_THAT(g_logged, IsEmpty());
    Pt::PlatformUninit();
    EXPECT_FALSE(g_opened);
}
