#include "tevoro/ProgramEnd.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace tevoro {

namespace {

using namespace std::chrono_literals;
using commandline::ExitCode;
using testing::ExitedWithCode;

constexpr int kDestroyed = 77;

void leave()
{
    std::fputs("left the bus\n", stderr);
}

// Something that exit() destroys, made as late as a thread may make it.
void makeWhatIsNotToBeDestroyed()
{
    struct Late {
        ~Late() { std::_Exit(kDestroyed); }
    };
    static const Late late;
}

// Like a reader whose disk does not answer.
[[noreturn]] void waitForEver()
{
    for (;;)
        std::this_thread::sleep_for(1h);
}

TEST(ProgramEndTest, EndsWhereSomethingIsHeldUpForEver)
{
    const auto run = [] {
        ProgramEnd end(leave);
        end.begin(ExitCode::kInterrupted);
        waitForEver();
    };
    EXPECT_EXIT(run(), ExitedWithCode(130), "left the bus");
}

TEST(ProgramEndTest, EndsWhereTheBusCannotBeLeft)
{
    const auto run = [] {
        ProgramEnd end(waitForEver);
        end.begin(ExitCode::kInterrupted);
    };
    EXPECT_EXIT(run(), ExitedWithCode(130), "");
}

TEST(ProgramEndTest, DestroysNothingAtAnExit)
{
    const auto run = [] {
        const ProgramEnd end(leave);
        makeWhatIsNotToBeDestroyed();
        std::exit(3);
    };
    EXPECT_EXIT(run(), ExitedWithCode(1), "left the bus");
}

TEST(ProgramEndTest, EndsAtAnExitWhereTheBusCannotBeLeft)
{
    const auto run = [] {
        const ProgramEnd end(waitForEver);
        std::exit(3);
    };
    EXPECT_EXIT(run(), ExitedWithCode(1), "");
}

TEST(ProgramEndTest, LetsTheProgramEndInOrderOnceItIsOver)
{
    const auto run = [] {
        {
            ProgramEnd end(leave);
            end.begin(ExitCode::kDone);
        }
        makeWhatIsNotToBeDestroyed();
        std::this_thread::sleep_for(3s); // nothing ends it
        std::exit(3);
    };
    EXPECT_EXIT(run(), ExitedWithCode(kDestroyed), "left the bus");
}

} // namespace

} // namespace tevoro
