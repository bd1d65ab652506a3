// Applications that come up because a message was sent to them.
#include "core/messaging/support/LaunchFixture.h"
#include "core/messaging/support/LaunchRegistry.h"
#include "support/Sanitizers.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using test::LaunchRegistry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string kOptions = "-specifier launched-2.0 -nostartupscreen";

class LaunchedApplicationTest : public test::LaunchFixture {
protected:
    explicit LaunchedApplicationTest(const std::string& path = LAUNCHED_APPLICATION)
    {
        registry = &LaunchRegistry::install({{kLaunched, path}});
        start();
    }
    ~LaunchedApplicationTest() override
    {
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1) << "a child was left";
    }

    // Sends with launching; the result that came within that time.
    std::string resultOf(const std::string& script, unsigned long seconds = 30)
    {
        inbox.clear();
        const auto message = request(kLaunched, script, "Result Error");
        message->serialNumber = Message::getNextSerialNumber(nullptr);
        for (const char* type : {"Result", "Error"})
            delete self->changeHandler(new test::InboxHandler(inbox, type, message->serialNumber));
        self->send(*message, true, seconds, nullptr);
        for (const auto& entry : inbox.entries())
            if (entry.reason == TevoroTalk::MsgHandler::kResult)
                return entry.body;
        return "no result";
    }
    unsigned long process() const { return registry->getProcessID(kLaunched); }

    LaunchRegistry* registry; // the bus's
};

TEST_F(LaunchedApplicationTest, AnswersTheMessageThatLaunchedIt)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(resultOf("hello"), "you said hello");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, test::kIsSanitized ? 3s : 300ms);
    EXPECT_THAT(copies(), ElementsAre(process()));
}

TEST_F(LaunchedApplicationTest, HasItsParametersBeforeItsFirstMessage)
{
    EXPECT_EQ(resultOf("options"), kOptions);
    EXPECT_THAT(reports(), ElementsAre("launched-2.0\n" + kOptions + "\n"));
}

TEST_F(LaunchedApplicationTest, FindsItsParametersInTheStoreOfTheLauncher)
{
    EXPECT_EQ(resultOf("ask self-1.0"), kOptions);
}

TEST_F(LaunchedApplicationTest, LowersTheFlagOnceItIsUp)
{
    EXPECT_EQ(resultOf("hello"), "you said hello");
    EXPECT_TRUE(pumpUntil([] { return isFree("launched-2.0#haslaunchparams"); }));
}

TEST_F(LaunchedApplicationTest, IsLaunchedAgainAfterItsEnd)
{
    EXPECT_EQ(resultOf("hello"), "you said hello");
    const unsigned long first = process();
    EXPECT_EQ(resultOf("quit"), "you said quit");
    EXPECT_TRUE(waitUntil([&] { return copies().empty(); }));
    EXPECT_EQ(resultOf("hello"), "you said hello");
    EXPECT_NE(process(), first);
}

TEST_F(LaunchedApplicationTest, IsLaunchedOnceForManyMessages)
{
    for (const char* text : {"first", "second", "third"})
        EXPECT_FALSE(send(*self, *request(kLaunched, text), true));
    EXPECT_EQ(resultOf("fourth"), "you said fourth");
    EXPECT_THAT(copies(), ElementsAre(process()));
}

TEST_F(LaunchedApplicationTest, GetsItsMessageWithoutAPumpOfTheSender)
{
    EXPECT_FALSE(send(*self, *request(kLaunched, "quit"), true));
    EXPECT_TRUE(isUp());
    EXPECT_THAT(reports(), ElementsAre("launched-2.0\n" + kOptions + "\n"));
    EXPECT_TRUE(waitUntil([&] { return copies().empty(); }));
}

TEST_F(LaunchedApplicationTest, WakesAnEventLoopOfTheSenderWhenItComesUp)
{
    {
        const Paused paused; // only the event loop moves messages
        EXPECT_FALSE(send(*self, *request(kLaunched, "quit"), true));
        while (self->outgoingMessagePending(kLaunched)) {
            ASSERT_TRUE(isReadable(self->waitDescriptor(), kPatience)) << "nothing wakes it";
            TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        }
    }
    EXPECT_TRUE(waitUntil([&] { return copies().empty(); }));
}

TEST_F(LaunchedApplicationTest, IsNotWaitedForLongerThanAskedFor)
{
    environment.set("LAUNCHED_MODE", "silent");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(resultOf("hello", 1), "no result");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_FALSE(isFree("launched-2.0#haslaunchparams")) << "it may still come";
}

TEST_F(LaunchedApplicationTest, IsLaunchedAnewWhenItDiedAtOnce)
{
    environment.set("LAUNCHED_MODE", "dies");
    EXPECT_FALSE(send(*self, *request(kLaunched, "first"), true));
    EXPECT_TRUE(waitUntil([&] { return !TevoroTalk::targetIsRunning(kLaunched); }));
    EXPECT_TRUE(self->outgoingMessagePending(kLaunched)) << "its time is not over";
    environment.set("LAUNCHED_MODE", "answers");
    EXPECT_EQ(resultOf("second"), "you said second");
    EXPECT_THAT(copies(), ElementsAre(process()));
}

TEST_F(LaunchedApplicationTest, MayStartItselfTwice)
{
    environment.set("LAUNCHED_MODE", "twice");
    EXPECT_EQ(resultOf("options"), kOptions);
    // The other copy finds the parameters of any copy, or no flag any more.
    EXPECT_TRUE(isUpWhilePumping(2));
    EXPECT_EQ(copies().size(), 2U);
    EXPECT_THAT(reports(), testing::Contains("launched-2.0\n" + kOptions + "\n"));
}

TEST_F(LaunchedApplicationTest, HasNoDescriptorsOfItsLauncher)
{
    EXPECT_EQ(resultOf("hello"), "you said hello");
    const std::string folderOfOne = "/proc/" + std::to_string(process()) + "/fd";
    for (const auto& each : std::filesystem::directory_iterator(folderOfOne)) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(each.path(), gone).string();
        const int number = std::stoi(each.path().filename().string());
        if (number < 3) {
            EXPECT_EQ(target, "/dev/null") << number;
        }
    }
    EXPECT_EQ(::getsid(static_cast<pid_t>(process())), static_cast<pid_t>(process()));
}

// Another way to fail each.
class LaunchedFromBadPathTest : public LaunchedApplicationTest {
protected:
    LaunchedFromBadPathTest()
        : LaunchedApplicationTest("/nowhere/launched")
    {
    }
};

TEST_F(LaunchedFromBadPathTest, IsAnErrorAtOnce)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(resultOf("hello"), "no result");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    ASSERT_EQ(inbox.size(), 1U);
    EXPECT_EQ(inbox.at(0).reason, TevoroTalk::MsgHandler::kError);
    EXPECT_EQ(inbox.at(0).body, "ERROR: TARGET COULD NOT BE LAUNCHED");
    EXPECT_EQ(inbox.at(0).errorCode, "59");
}

} // namespace
