#include "core/messaging/support/BusFixture.h"
#include "messaging/TevoroTalkPing.h"

#include <unistd.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Writes down what is to be launched.
class NotingRegistry final : public test::TestRegistry {
public:
    using TestRegistry::TestRegistry;

    bool launchTarget(const SoString& specifier,
        const SoString& parameters,
        bool focus,
        ScObjects::TevoroTalkContext* context) override
    {
        launches.push_back(
            test::bytes(specifier) + "|" + test::bytes(parameters) + (focus ? "|focus" : "|"));
        lastContext = context;
        return launchAnswer;
    }
    SoString getApplicationPath(const SoString& specifier, const char* hint) const override
    {
        asked.push_back(test::bytes(specifier) + " by " + (hint != nullptr ? hint : "nobody"));
        return TestRegistry::getApplicationPath(specifier, hint);
    }

    bool launchAnswer = true;
    std::vector<std::string> launches;
    mutable std::vector<std::string> asked;
    ScObjects::TevoroTalkContext* lastContext = nullptr;
};

class LaunchTargetTest : public test::BusFixture {
protected:
    LaunchTargetTest()
    {
        registry.specifiers = {"other-2.0"};
        registry.paths["other-2.0"] = "/opt/other";
        ScObjects::TevoroTalkConnector::set(&registry);
        start();
        pause.emplace();
        registry.asked.clear();
    }
    ~LaunchTargetTest() override { pause.reset(); }

    static bool launch(const std::string& target, const std::string& parameters = {})
    {
        return TevoroTalk::launchTarget(
            target.c_str(), parameters.c_str(), TevoroTalk::kTakeFocus, nullptr);
    }
    static std::string offered(const char* key)
    {
        return test::bytes(TevoroTalk::Thread::getPingValue(key));
    }

    NotingRegistry& registry = *new NotingRegistry; // the bus's
    std::optional<Paused> pause;
};

TEST_F(LaunchTargetTest, AsksTheConnectorWithTheParameters)
{
    EXPECT_TRUE(launch("Other", "-open file"));
    const std::string text = "-specifier other-2.0 -nostartupscreen -open file";
    EXPECT_THAT(registry.launches, ElementsAre("other-2.0|" + text + "|focus"));
    EXPECT_EQ(registry.lastContext, Context::getCurrentContext());
    EXPECT_EQ(offered("LAUNCHPARAMS:other-2.0"), text);
    EXPECT_THAT(queued(*self, "out", "Target"), ElementsAre("other-2.0#launchparams"));
    EXPECT_THAT(queued(*self, "out", "Type"), ElementsAre("LaunchParams"));
    EXPECT_THAT(queued(*self, "out", "Sender"), ElementsAre("self-1.0"));
    EXPECT_THAT(registry.asked, testing::Contains("other-2.0 by self-1.0"));
}

TEST_F(LaunchTargetTest, PassesTheInstanceOn)
{
    EXPECT_TRUE(launch("other_3-2.0#suffix"));
    EXPECT_THAT(registry.launches,
        ElementsAre("other_3-2.0|-specifier other_3-2.0 -nostartupscreen -instance 3|focus"));
    EXPECT_NE(offered("LAUNCHPARAMS:other-2.0"), "");
    EXPECT_THAT(registry.asked, testing::Contains("other_3-2.0 by self-1.0"));
}

TEST_F(LaunchTargetTest, KeepsTheFocus)
{
    EXPECT_TRUE(TevoroTalk::launchTarget("other-2.0", nullptr, TevoroTalk::kKeepFocus, nullptr));
    EXPECT_THAT(registry.launches, ElementsAre("other-2.0|-specifier other-2.0 -nostartupscreen|"));
}

TEST_F(LaunchTargetTest, PassesNoParametersOnToWhoeverShallHaveNone)
{
    EXPECT_TRUE(launch("other-2.0", "-open file -noparam"));
    EXPECT_THAT(registry.launches, ElementsAre("other-2.0||focus"));
    EXPECT_THAT(offered("LAUNCHPARAMS:other-2.0"), HasSubstr("-open file -noparam"));
    EXPECT_THAT(queued(*self, "out", "Target"), ElementsAre("other-2.0#launchparams"));
}

TEST_F(LaunchTargetTest, PassesNoParametersOnToTheApplicationThatTakesNone)
{
    registry.specifiers = {"folioview-8.0", "folioview-9.0"};
    registry.paths = {{"folioview-8.0", "/opt/8"}, {"folioview-9.0", "/opt/9"}};
    EXPECT_TRUE(launch("folioview-8.0", "-open file"));
    EXPECT_TRUE(launch("folioview-9.0"));
    EXPECT_THAT(registry.launches,
        ElementsAre("folioview-8.0||focus",
            "folioview-9.0|-specifier folioview-9.0 -nostartupscreen|focus"));
    EXPECT_THAT(offered("LAUNCHPARAMS:folioview-8.0"), HasSubstr("-open file"));
}

TEST_F(LaunchTargetTest, WithdrawsWhatItOfferedWhenNothingWasLaunched)
{
    registry.launchAnswer = false;
    EXPECT_FALSE(launch("other-2.0"));
    EXPECT_EQ(offered("LAUNCHPARAMS:other-2.0"), "");
    EXPECT_THAT(queued(*self, "out", "Target"), ElementsAre("other-2.0#launchparams"));
}

TEST_F(LaunchTargetTest, RefusesLongTexts)
{
    const std::string longest(65536, 'p');
    EXPECT_TRUE(launch("other-2.0", longest));
    EXPECT_FALSE(launch("other-2.0", longest + "p"));
    EXPECT_FALSE(launch(std::string(255, 'n')));
    EXPECT_THAT(registry.asked, testing::Contains(testing::StartsWith("nnn")));
    registry.asked.clear();
    EXPECT_FALSE(launch(std::string(256, 'n')));
    EXPECT_FALSE(launch(std::string(257, 'n')));
    EXPECT_THAT(registry.asked, IsEmpty()) << "no address has so many bytes";
}

TEST_F(LaunchTargetTest, LaunchesNothingThatRunsInThisProcess)
{
    another("other-2.0");
    EXPECT_FALSE(launch("other-2.0"));
    EXPECT_FALSE(launch("self-1.0"));
    EXPECT_THAT(registry.launches, IsEmpty());
}

TEST_F(LaunchTargetTest, LaunchesNothingThatRuns)
{
    registry.processes["other-2.0"] = static_cast<std::uint32_t>(::getpid());
    EXPECT_TRUE(launch("other-2.0"));
    EXPECT_THAT(registry.launches, IsEmpty());
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
    EXPECT_EQ(offered("LAUNCHPARAMS:other-2.0"), "");
}

TEST_F(LaunchTargetTest, LaunchesNothingThatIsNotInstalled)
{
    EXPECT_FALSE(launch("unknown"));
    EXPECT_FALSE(launch(""));
    EXPECT_FALSE(TevoroTalk::launchTarget(nullptr, "", TevoroTalk::kTakeFocus, nullptr));
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
}

TEST_F(LaunchTargetTest, LaunchesNothingWithoutAMainInstance)
{
    TevoroTalk::set(nullptr, nullptr);
    EXPECT_FALSE(launch("other-2.0"));
    TevoroTalk::set(self, nullptr);
}

TEST(LaunchTargetAloneTest, LaunchesNothingWithoutABus)
{
    EXPECT_FALSE(TevoroTalk::launchTarget("other-2.0", "", TevoroTalk::kTakeFocus, nullptr));
}

} // namespace
