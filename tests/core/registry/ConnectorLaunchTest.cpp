// How a connector starts what its records tell of.
#include "core/messaging/support/LaunchFixture.h"
#include "core/messaging/support/LaunchRegistry.h"
#include "messaging/process/Launcher.h"

#include <unistd.h>

namespace {

using ScObjects::SoString;
using test::LaunchRegistry;
using testing::ElementsAre;
using testing::IsEmpty;

class ConnectorLaunchTest : public test::LaunchFixture {
protected:
    LaunchRegistry& install(const std::string& path = LAUNCHED_APPLICATION)
    {
        registry = &LaunchRegistry::install({{kLaunched, path}});
        return *registry;
    }
    bool launch(const char* specifier = kLaunched, const char* parameters = "") const
    {
        return registry->launchTarget(specifier, parameters, true, nullptr);
    }

    // A link, so that the program has a folder of its own.
    std::string linked(const std::string& name, const std::string& target) const
    {
        std::filesystem::create_symlink(target, folder.path(name));
        return folder.path(name);
    }

    LaunchRegistry* registry = nullptr; // the bus's
};

TEST_F(ConnectorLaunchTest, StartsTheProgramAndNotesItsProcess)
{
    install();
    EXPECT_TRUE(launch());
    EXPECT_TRUE(isUp());
    EXPECT_THAT(copies(), ElementsAre(registry->getProcessID(kLaunched)));
}

TEST_F(ConnectorLaunchTest, KnowsWhatItHasStartedAsRunning)
{
    install();
    start();
    environment.set("LAUNCHED_MODE", "silent");
    EXPECT_FALSE(TevoroTalk::targetIsRunning(kLaunched));
    EXPECT_TRUE(launch());
    EXPECT_TRUE(TevoroTalk::targetIsRunning(kLaunched));
    ::kill(static_cast<pid_t>(registry->getProcessID(kLaunched)), SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return !TevoroTalk::targetIsRunning(kLaunched); }));
}

TEST_F(ConnectorLaunchTest, StartsNothingWithoutARecord)
{
    install();
    EXPECT_FALSE(launch("other-2.0"));
    install("");
    EXPECT_FALSE(launch()) << "without a path";
    install().hasLists = false;
    EXPECT_FALSE(launch()) << "without a list";
}

TEST_F(ConnectorLaunchTest, ForgetsTheProcessWhenNothingWasStarted)
{
    install(folder.path("gone"));
    registry->setProcessID(kLaunched, 77);
    EXPECT_FALSE(launch());
    EXPECT_EQ(registry->getProcessID(kLaunched), 0U);
    install(folder.path());
    registry->setProcessID(kLaunched, 77);
    EXPECT_TRUE(launch()) << "something lies there, and was tried";
    EXPECT_EQ(registry->getProcessID(kLaunched), 0U);
}

TEST_F(ConnectorLaunchTest, PassesParametersOnlyIfThereAreAny)
{
    start();
    install();
    const Paused paused;
    EXPECT_TRUE(launch(kLaunched, ""));
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
    EXPECT_TRUE(launch(kLaunched, "-specifier launched-2.0"));
    EXPECT_EQ(queued(*self, "out", "Target").size(), 3U);
}

TEST_F(ConnectorLaunchTest, AddsARecordForACopyWithANumber)
{
    install();
    EXPECT_TRUE(launch("launched_3-2.0"));
    ASSERT_EQ(registry->getNumberOfRegisteredApplications(), 2);
    EXPECT_EQ(registry->getApplicationSpecifier(1), "launched_3-2.0");
    EXPECT_EQ(registry->getApplicationPath("launched_3-2.0", nullptr), LAUNCHED_APPLICATION);
    EXPECT_EQ(registry->getProcessID(kLaunched), 0U);
    EXPECT_THAT(copies(), ElementsAre(registry->getProcessID("launched_3-2.0")));
}

TEST_F(ConnectorLaunchTest, UsesTheRecordOfACopyThatIsThere)
{
    install();
    EXPECT_TRUE(launch("launched_3-2.0"));
    const std::uint32_t first = registry->getProcessID("launched_3-2.0");
    EXPECT_TRUE(launch("launched_3-2.0"));
    EXPECT_EQ(registry->getNumberOfRegisteredApplications(), 2);
    EXPECT_NE(registry->getProcessID("launched_3-2.0"), first);
}

TEST_F(ConnectorLaunchTest, StartsTheDevelopersBuildBesideTheProgram)
{
    install(folder.write("installed", "no program"));
    linked("DeveloperApp", linked("build", LAUNCHED_APPLICATION));
    EXPECT_TRUE(launch());
    EXPECT_TRUE(isUp());
    EXPECT_EQ(copies().size(), 1U);
}

TEST_F(ConnectorLaunchTest, StartsNoBuildThatSomebodyElseHasNamed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files to somebody else";
    install(linked("installed", LAUNCHED_APPLICATION));
    linked("DeveloperApp", folder.write("theirs", "no program"));
    ASSERT_EQ(::lchown(folder.path("DeveloperApp").c_str(), 65534, 65534), 0);
    EXPECT_TRUE(launch());
    EXPECT_TRUE(isUp());
}

TEST_F(ConnectorLaunchTest, StartsNoBuildThatSomebodyElseCouldExchange)
{
    std::filesystem::create_directory(folder.path("open"));
    install(linked("installed", LAUNCHED_APPLICATION));
    linked("DeveloperApp", folder.write("open/theirs", "no program"));
    std::filesystem::permissions(folder.path("open"), std::filesystem::perms::all);
    EXPECT_TRUE(launch());
    EXPECT_TRUE(isUp());
}

TEST_F(ConnectorLaunchTest, StartsTheProgramItselfWhereTheDevelopersBuildIsMissing)
{
    install(linked("installed", LAUNCHED_APPLICATION));
    linked("DeveloperApp", folder.path("nowhere"));
    EXPECT_TRUE(launch());
    EXPECT_TRUE(isUp());
}

TEST_F(ConnectorLaunchTest, BringsToTheFrontOnlyWhatItKnows)
{
    install();
    start();
    EXPECT_TRUE(TevoroTalk::bringToFront(kLaunched, nullptr));
    EXPECT_FALSE(TevoroTalk::bringToFront("other-2.0", nullptr));
}

} // namespace
