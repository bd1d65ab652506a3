#include "platform/common/services/PtPlatformStart.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Six services as the layer has them, the last two on demand, that write down what happens.
class PtPlatformStartTest : public testing::Test {
protected:
    PtPlatformStartTest()
        : m_platform({service("1", always),
            service("2", always),
            service("3", always),
            service("4", always),
            service("5", [](const Pt::Config& config) { return config.startsFileIo; }),
            service("6", [](const Pt::Config& config) { return config.startsSocketIo; })})
    {
    }

    static bool always(const Pt::Config&) { return true; }
    static Pt::Config all()
    {
        Pt::Config config;
        config.startsFileIo = true;
        config.startsSocketIo = true;
        return config;
    }

    // What happened since the last question.
    std::vector<std::string> happened() { return std::exchange(m_happened, {}); }

    std::string m_failing; // as in "+3" or "-2": the start or the stop that throws
    std::vector<std::string> m_happened;
    Pt::PlatformStart m_platform;

private:
    Pt::PlatformService service(
        const std::string& name, std::function<bool(const Pt::Config&)> isWanted)
    {
        return {std::move(isWanted),
            [this, name](const Pt::Config&) { happen("+" + name); },
            [this, name] { happen("-" + name); }};
    }
    void happen(const std::string& what)
    {
        m_happened.push_back(what);
        if (what == m_failing)
            throw std::runtime_error(what);
    }
};

std::string thrownBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "nothing";
}

} // namespace

TEST_F(PtPlatformStartTest, StopsInTheReverseOrder)
{
    m_platform.init(all());
    EXPECT_THAT(happened(), ElementsAre("+1", "+2", "+3", "+4", "+5", "+6"));
    m_platform.uninit();
    EXPECT_THAT(happened(), ElementsAre("-6", "-5", "-4", "-3", "-2", "-1"));
}

TEST_F(PtPlatformStartTest, StopsWhatWasStartedWhenOneThrows)
{
    for (int failing = 1; failing <= 6; ++failing) {
        m_failing = '+' + std::to_string(failing);
        EXPECT_EQ(thrownBy([&] { m_platform.init(all()); }), m_failing);
        std::vector<std::string> expected;
        for (int each = 1; each <= failing; ++each)
            expected.push_back('+' + std::to_string(each));
        for (int each = failing - 1; each >= 1; --each)
            expected.push_back('-' + std::to_string(each));
        EXPECT_EQ(happened(), expected);
        m_platform.uninit();
        EXPECT_THAT(happened(), IsEmpty()) << "the use was counted";
    }
    m_failing.clear();
    m_platform.init(all());
    EXPECT_EQ(happened().size(), 6U);
}

TEST_F(PtPlatformStartTest, StartsOnlyWhatIsAskedFor)
{
    Pt::Config config;
    config.startsSocketIo = true;
    m_platform.init(config);
    EXPECT_THAT(happened(), ElementsAre("+1", "+2", "+3", "+4", "+6"));
    m_platform.init(all());
    EXPECT_THAT(happened(), ElementsAre("+5"));
    m_platform.init(all());
    EXPECT_THAT(happened(), IsEmpty());
    m_platform.uninit();
    m_platform.uninit();
    EXPECT_THAT(happened(), IsEmpty());
    m_platform.uninit();
    EXPECT_THAT(happened(), ElementsAre("-5", "-6", "-4", "-3", "-2", "-1"));
}

TEST_F(PtPlatformStartTest, KeepsWhatRanWhenALaterCallThrows)
{
    m_platform.init(Pt::Config());
    happened();
    m_failing = "+6";
    EXPECT_EQ(thrownBy([&] { m_platform.init(all()); }), "+6");
    EXPECT_THAT(happened(), ElementsAre("+5", "+6", "-5"));
    m_platform.uninit();
    EXPECT_THAT(happened(), ElementsAre("-4", "-3", "-2", "-1"));
}

TEST_F(PtPlatformStartTest, StopsTheRestWhenAStopThrows)
{
    m_platform.init(all());
    happened();
    m_failing = "-5";
    EXPECT_EQ(thrownBy([&] { m_platform.uninit(); }), "-5");
    EXPECT_THAT(happened(), ElementsAre("-6", "-5", "-4", "-3", "-2", "-1"));
    m_platform.uninit();
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(PtPlatformStartTest, TellsWhyAStartFailedAndNotWhyAStopDid)
{
    Pt::PlatformStart platform({
        {always, [](const Pt::Config&) {}, [] { throw std::runtime_error("stop"); }},
        {always, [](const Pt::Config&) { throw std::runtime_error("start"); }, [] {}},
    });
    EXPECT_EQ(thrownBy([&] { platform.init(Pt::Config()); }), "start");
}

TEST_F(PtPlatformStartTest, KeepsTheConfigurationOfTheLatestBeginning)
{
    EXPECT_EQ(m_platform.configuration().thirdCount, 1);
    Pt::Config config;
    for (int round = 5; round < 7; ++round) {
        config.thirdCount = round;
        m_platform.init(config);
        m_platform.uninit();
        EXPECT_EQ(m_platform.configuration().thirdCount, round);
    }
}
