#include "messaging/process/LaunchParameters.h"

#include "core/messaging/support/BusFixture.h"

#include <future>

#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using ScObjects::InterAppStream;
using ScObjects::SoString;
using ScObjects::TevoroTalkData::receiveLaunchParams;

class LaunchParametersTest : public test::BusFixture {
protected:
    // One that starts; its result, and what it got.
    struct Outcome {
        bool result;
        std::string parameters;
    };

    static Outcome parametersOf(const char* name)
    {
        SoString parameters = "left from before";
        const bool result = ScObjects::TevoroTalkUtils::getLaunchParameters(name, parameters);
        return {result, test::bytes(parameters)};
    }
    static Outcome receivedAt(const char* queue, unsigned int seconds)
    {
        SoString parameters;
        const bool result = receiveLaunchParams(queue, parameters, seconds, 20ms);
        return {result, test::bytes(parameters)};
    }

    // Offers parameters at a port, until somebody has taken them.
    void offer(const std::string& queue, const std::string& body)
    {
        Message message;
        message.target = queue.c_str();
        message.sender = "launcher-1.0";
        message.type = "LaunchParams";
        message.body = body.c_str();
        SoString text;
        ASSERT_TRUE(message.writeToString(text));
        EXPECT_TRUE(waitUntil([&] { return sender.send(queue.c_str(), text); }));
    }
    std::string ownQueue() const { return "launched#" + std::to_string(::getpid()); }

    InterAppStream sender{"launcher-1.0", true};
};

TEST_F(LaunchParametersTest, AreNoneWithoutAFlag)
{
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = parametersOf("launched-2.0");
    EXPECT_TRUE(outcome.result);
    EXPECT_EQ(outcome.parameters, "");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(LaunchParametersTest, AreRefusedToWhoeverHasNoName)
{
    EXPECT_FALSE(parametersOf("").result);
    EXPECT_FALSE(parametersOf(std::string(256, 'a').c_str()).result);
}

TEST_F(LaunchParametersTest, ArriveAtTheQueueOfTheProcess)
{
    const InterAppStream flag("launched-2.0#haslaunchparams", true);
    // Taken, so that a look there would give none.
    const InterAppStream launchQueue("launched-2.0#launchparams", true);
    auto outcome = std::async(std::launch::async, [] { return parametersOf("launched-2.0"); });
    offer(ownQueue(), "-specifier launched-2.0\nand more");
    EXPECT_EQ(outcome.wait_for(2s), std::future_status::ready) << "not at the end of a step";
    const Outcome got = outcome.get();
    EXPECT_TRUE(got.result);
    EXPECT_EQ(got.parameters, "-specifier launched-2.0\nand more");
}

TEST_F(LaunchParametersTest, ArriveAtTheQueueOfTheApplication)
{
    const InterAppStream flag("launched-2.0-en_us#haslaunchparams", true);
    const InterAppStream other(ownQueue().c_str(), true);
    // Who holds the process's own queue ends the search there, with none.
    EXPECT_EQ(parametersOf("Launched_3-2.0-en_US#suffix").parameters, "");
    auto outcome =
        std::async(std::launch::async, [] { return receivedAt("launched-2.0#launchparams", 200); });
    offer("launched-2.0#launchparams", "for any copy");
    EXPECT_EQ(outcome.get().parameters, "for any copy");
}

TEST_F(LaunchParametersTest, ArriveAtTheQueueOfTheApplicationAfterTheTimeForTheProcess)
{
    const InterAppStream flag("launched-2.0#haslaunchparams", true);
    const auto start = std::chrono::steady_clock::now();
    auto outcome = std::async(std::launch::async, [] { return parametersOf("launched-2.0"); });
    const auto isOpen = [&] { return !sender.canOpen("launched-2.0#launchparams", true); };
    while (!isOpen() && std::chrono::steady_clock::now() - start < 20s)
        ScObjects::TevoroTalkUtils::sleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 12s) << "three steps of four seconds";
    offer("launched-2.0#launchparams", "for any copy");
    EXPECT_EQ(outcome.get().parameters, "for any copy");
}

TEST_F(LaunchParametersTest, AreWaitedForInWholeSteps)
{
    const auto timeFor = [](unsigned int seconds) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(receivedAt("launched#1", seconds).result);
        return std::chrono::steady_clock::now() - start;
    };
    EXPECT_GE(timeFor(10), 60ms) << "three steps";
    EXPECT_GE(timeFor(200), 1000ms) << "fifty";
    EXPECT_LT(timeFor(0), 20ms);
}

TEST_F(LaunchParametersTest, AreNoneWhereAnotherHoldsTheQueue)
{
    const InterAppStream holder("launched#1", true);
    const Outcome outcome = receivedAt("launched#1", 10);
    EXPECT_TRUE(outcome.result);
    EXPECT_EQ(outcome.parameters, "");
}

TEST_F(LaunchParametersTest, MayBeEmpty)
{
    auto outcome = std::async(std::launch::async, [] { return receivedAt("launched#1", 200); });
    offer("launched#1", "");
    EXPECT_TRUE(outcome.get().result);
}

TEST_F(LaunchParametersTest, AreWaitedForBehindWhoeverOnlyLooks)
{
    auto outcome = std::async(std::launch::async, [] { return receivedAt("launched#1", 200); });
    EXPECT_TRUE(waitUntil([&] { return !sender.canOpen("launched#1", true); }));
    offer("launched#1", "late");
    EXPECT_EQ(outcome.get().parameters, "late");
}

class LaunchFolderTest : public test::BusFixture {
protected:
    LaunchFolderTest() { environment.set("TEVOROTALK_LAUNCH_DIR", folder.path("launch")); }

    static std::string next(const char* name)
    {
        return test::bytes(ScObjects::TevoroTalkUtils::getNextAppInstance(name));
    }
};

TEST_F(LaunchFolderTest, HasItsPlace)
{
    EXPECT_EQ(ScObjects::TevoroTalkUtils::getLaunchFolderPath(), folder.path("launch").c_str());
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
        none != nullptr ? environment.set("TEVOROTALK_LAUNCH_DIR", none)
                        : environment.unset("TEVOROTALK_LAUNCH_DIR");
        EXPECT_EQ(ScObjects::TevoroTalkUtils::getLaunchFolderPath(),
            "/Library/Application Support/Velmo/Launch");
    }
}

TEST_F(LaunchFolderTest, GivesTheNextInstance)
{
    EXPECT_EQ(next("launched"), "launched");
    folder.write("launch/launched_1", "");
    EXPECT_EQ(next("launched"), "launched") << "the name alone is free";
    folder.write("launch/launched", "");
    EXPECT_EQ(next("launched"), "launched_2");
    folder.write("launch/launched_2", "");
    folder.write("launch/launched_4", "");
    EXPECT_EQ(next("launched"), "launched_3");
}

TEST(LaunchAliasTest, LeadsToItsFile)
{
    using ScObjects::TevoroTalkUtils::createAlias;
    using ScObjects::TevoroTalkUtils::resolveAlias;
    const test::TestFolder folder;
    const std::string file = folder.write("file", "");
    const SoString alias = folder.path("alias").c_str();
    EXPECT_TRUE(createAlias(alias, file.c_str()));
    EXPECT_EQ(resolveAlias(alias), file.c_str());
    EXPECT_FALSE(createAlias(folder.path("missing/alias").c_str(), file.c_str()));
    const SoString tooLong = std::string(1025, 'a').c_str();
    EXPECT_EQ(resolveAlias(tooLong), tooLong);
}

} // namespace
