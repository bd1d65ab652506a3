#include "platform/common/services/PtSysLog.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// As the build was configured, formats' % doubled.
const std::string kAddress = TEST_SUPPORT_FORMAT;

struct Found {
    const char* text;
    int priority;
};

Found lookUp(std::uint32_t id)
{
    int priority = -1;
    const char* const text = Pt::LookupMessage(id, &priority);
    return {text, priority};
}

// What an event leaves on standard error.
template <typename... Arguments>
std::string written(std::uint32_t id, Arguments... arguments)
{
    testing::internal::CaptureStderr();
    Pt::SysLogEvent(id, arguments...);
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(PtSysLogTest, KnowsItsMessagesLetterByLetter)
{
    struct {
        std::uint32_t id;
        int priority;
        std::string text;
    } const rows[] = {
        {1000, 5, "Ruvenat Daemon has Started."},
        {1001, 5, "Ruvena Daemon has been Paused"},
        {1002, 5, "Ruvena Daemon has Continued"},
        {1003, 5, "Ruvena Daemon has Shutdown"},
        {0xE0000FA0,
            3,
            "Thread %d has terminated with exception:\n %s \nFor additional information on this "
            "message, please visit\nour support Web site: "
                + kAddress + "\n"},
        {0xE0000FA1,
            3,
            "Internal Exception in I/O Library when Issuing a I/O new request.\n %s \nFor "
            "additional information on this message, pleasevisit our support Web site "
                + kAddress + "\n"},
        {0xE0000FA2,
            3,
            "Exception in I/O completion notification!\n %s \nFor additional information on this "
            "message, please visit our supportWeb site "
                + kAddress},
        {0xE0000FA3,
            3,
            "Exception accepting a socket!\n %s \nFor additional information on this message, "
            "please visit our supportWeb site "
                + kAddress},
    };
    for (const auto& row : rows) {
        const Found found = lookUp(row.id);
        ASSERT_NE(found.text, nullptr) << row.id;
        EXPECT_EQ(found.text, row.text);
        EXPECT_EQ(found.priority, row.priority) << row.id;
    }
}

TEST(PtSysLogTest, FindsTheMessageOfABrokenCompletion)
{
    int priority = -1;
    const char* const text = Pt::LookupMessage(0xE0000FA2, &priority);
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(std::string(text).starts_with("Exception in I/O completion notification!\n %s \n"));
    EXPECT_EQ(priority, 3);
}

TEST(PtSysLogTest, HasNoTextForOtherNumbersAndStillAPriority)
{
    struct {
        std::uint32_t id;
        int priority;
    } const rows[] = {{0, 5},
        {999, 5},
        {1004, 5},
        {0xFFFF, 5},
        {0x400007D0, 6},
        {0x400007D1, 6},
        {0x80000BB8, 4},
        {0x80000BB7, 4},
        {0xC0000F9F, 3},
        {0xE0000FA4, 3},
        {0xFFFFFFFF, 3}};
    for (const auto& row : rows) {
        EXPECT_EQ(lookUp(row.id).text, nullptr) << row.id;
        EXPECT_EQ(lookUp(row.id).priority, row.priority) << row.id;
    }
}

TEST(PtSysLogTest, LooksAtSeverityAndLowHalfOnly)
{
    EXPECT_EQ(lookUp(0xC0000FA2).text, lookUp(0xE0000FA2).text);
    EXPECT_EQ(lookUp(0x3FFF03E8).text, lookUp(1000).text);
}

TEST(PtSysLogTest, WritesToStandardError)
{
    EXPECT_EQ(written(1000), "Ruvenat Daemon has Started.\n");
    const std::string thread = written(0xE0000FA0, 17, "a reason");
    EXPECT_EQ(thread.find("Thread 17 has terminated with exception:\n a reason \nFor"), 0U);
    EXPECT_EQ(thread.back(), '\n');
    EXPECT_NE(thread[thread.size() - 2], '\n');
}

TEST(PtSysLogTest, CutsWhatIsTooLong)
{
    const std::string endless(100000, 'x');
    const std::string text = written(0xE0000FA2, endless.c_str());
    EXPECT_EQ(text.size(), 1024U); // a terminator less, a line feed more
    EXPECT_EQ(text.find("Exception in I/O completion notification!\n xxx"), 0U);
}

TEST(PtSysLogTest, TakesTextsThatLookLikeFormatsAsTheyAre)
{
    EXPECT_NE(written(0xE0000FA2, "100%s %n").find("\n 100%s %n \n"), std::string::npos);
}

TEST(PtSysLogTest, TellsANumberThatHasNoText)
{
    EXPECT_EQ(written(0xE0001234), "Message 0xE0001234 has no text\n");
}
