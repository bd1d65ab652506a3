#include "platform/common/ports/StartTurn.h"

#include "core/platform/support/PortFixture.h"

#include <csignal>
#include <optional>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Pt::ProcessIdentity;
using Pt::StartTurn;

class StartTurnTest : public test::PortFixture {
protected:
    static ProcessIdentity self()
    {
        const auto id = static_cast<unsigned long>(::getpid());
        return {id, Pt::processStartTime(id)};
    }
    // The file of a turn lies there as long as it says something.
    static bool isWordLeft()
    {
        const std::filesystem::directory_iterator files(Pt::localPortFolder());
        return std::any_of(begin(files), end(files), [](const auto& file) {
            return file.path().extension() == ".start";
        });
    }
};

TEST_F(StartTurnTest, TellsTheNextOneWhoIsComing)
{
    {
        StartTurn first("app", 0s);
        EXPECT_TRUE(first.isHad());
        EXPECT_FALSE(first.coming());
        first.note(self());
    }
    EXPECT_EQ(StartTurn("app", 0s).coming(), self());
    EXPECT_FALSE(StartTurn("another", 0s).coming());
}

TEST_F(StartTurnTest, IsHadByOneAtATime)
{
    std::optional<StartTurn> first(std::in_place, "app", 0s);
    EXPECT_FALSE(StartTurn("app", 20ms).isHad());
    EXPECT_TRUE(StartTurn("another", 0s).isHad());
    first.reset();
    EXPECT_TRUE(StartTurn("app", 0s).isHad());
}

TEST_F(StartTurnTest, EndsWithTheProcess)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const StartTurn turn("app", 0s);
        ::raise(SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(StartTurn("app", 0s).isHad());
}

TEST_F(StartTurnTest, KnowsNobodyWhoHasEnded)
{
    StartTurn("app", 0s).note({self().id, self().startTime + 1}); // a later one has its number
    EXPECT_FALSE(StartTurn("app", 0s).coming());
    EXPECT_FALSE(isWordLeft());
}

TEST_F(StartTurnTest, KnowsNobodyOnceThePortIsHeld)
{
    StartTurn("app", 0s).note(self());
    EXPECT_TRUE(isWordLeft());
    const auto port = Pt::LocalPort::hold("app");
    EXPECT_FALSE(isWordLeft());
    EXPECT_FALSE(StartTurn("app", 0s).coming());
}

TEST_F(StartTurnTest, LeavesNothingWhereNothingWasStarted)
{
    EXPECT_TRUE(StartTurn("app", 0s).isHad());
    EXPECT_FALSE(isWordLeft());
}

TEST_F(StartTurnTest, BelievesNoWordThatItHasNotWritten)
{
    StartTurn("app", 0s).note(self());
    std::string file;
    for (const auto& each : std::filesystem::directory_iterator(Pt::localPortFolder()))
        if (each.path().extension() == ".start")
            file = each.path().string();
    const std::string id = std::to_string(self().id);
    const std::string whole = id + ' ' + std::to_string(self().startTime) + '\n';
    for (const std::string& text : {std::string(),
             id,
             id + ' ',
             whole.substr(0, whole.size() - 1),
             "x" + whole,
             std::string(100, '1')}) {
        std::ofstream(file) << text;
        EXPECT_FALSE(StartTurn("app", 0s).coming()) << text;
        std::ofstream(file) << "";
    }
    std::ofstream(file) << whole;
    EXPECT_EQ(StartTurn("app", 0s).coming(), self());
}

TEST_F(StartTurnTest, GoesOnWithoutATurnWhereNothingCanBeWritten)
{
    environment.set("TEVOROTALK_PORT_DIR", "/nowhere/ports");
    StartTurn turn("app", 0s);
    EXPECT_FALSE(turn.isHad());
    EXPECT_FALSE(turn.coming());
    turn.note(self());
    EXPECT_FALSE(turn.coming());
}

} // namespace
