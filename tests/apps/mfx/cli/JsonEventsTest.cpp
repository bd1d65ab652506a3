#include "mfx/cli/JsonEvents.h"

#include <atomic>
#include <sstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

using namespace std::chrono_literals;
using Json = nlohmann::json;

constexpr ProgressEvent kHalf{500, 1000, 3, 7, ProgressPhase::kBackup, 12'300'000, 9};
constexpr ProgressEvent kWhole{1000, 1000, 7, 7, ProgressPhase::kProve, 0, std::nullopt};

template <typename Action>
std::vector<Json> reportedBy(Action action)
{
    testing::internal::CaptureStdout();
    action();
    std::istringstream lines(testing::internal::GetCapturedStdout());
    std::vector<Json> reported;
    for (std::string line; std::getline(lines, line);)
        reported.push_back(Json::parse(line));
    return reported;
}

TEST(JsonEventsTest, TellsProgressInBytesOfTheCard)
{
    JsonEvents events(Answering::kAsk, 0ms);
    EXPECT_THAT(reportedBy([&events] { events.progress(kHalf); }),
        ElementsAre(Json{{"event", "progress"},
            {"items", 3},
            {"of", 7},
            {"bytes", 500},
            {"of_bytes", 1000},
            {"phase", "backup"},
            {"rate", 12'300'000}}));
}

TEST(JsonEventsTest, HasAWordForEveryPhase)
{
    JsonEvents events(Answering::kAsk, 0ms);
    std::vector<std::string> words;
    for (const ProgressPhase phase : {ProgressPhase::kCopy,
             ProgressPhase::kProve,
             ProgressPhase::kBackup,
             ProgressPhase::kConvert,
             ProgressPhase::kDelete}) {
        ProgressEvent event = kHalf;
        event.phase = phase;
        words.push_back(reportedBy([&] { events.progress(event); }).at(0)["phase"]);
    }
    EXPECT_THAT(words, ElementsAre("copy", "prove", "backup", "convert", "delete"));
}

TEST(JsonEventsTest, HasAWordForEveryKindThatStaysOnTheCard)
{
    DownloadSummary summary;
    summary.passedOver = {{PassedOverKind::kNotHandled, NotHandledReason::kLink, 7, {"a", "b"}},
        {PassedOverKind::kEmptyFile, NotHandledReason::kOther, 1, {"c"}},
        {PassedOverKind::kNotAskedFor, NotHandledReason::kOther, 1, {"d"}}};
    JsonEvents events(Answering::kAsk, 0ms);
    const auto reported = reportedBy([&] { events.summary(summary); });
    EXPECT_EQ(reported.at(0)["passed_over"],
        Json::parse(R"([{"kind":"symbolic link","count":7,"names":["a","b"]},
            {"kind":"empty file","count":1,"names":["c"]},
            {"kind":"not asked for","count":1,"names":["d"]}])"));
}

TEST(JsonEventsTest, TellsNoProgressOfAShortRun)
{
    JsonEvents events(Answering::kAsk, 1h);
    const auto reported = reportedBy([&events] {
        events.source("card", 7, 1000);
        events.progress(kHalf);
        events.progress(kWhole);
    });
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0]["event"], "source");
}

TEST(JsonEventsTest, TellsTheEndOfWhatItBeganToTell)
{
    JsonEvents events(Answering::kAsk, 1h);
    const auto reported = reportedBy([&events] {
        events.progress(kHalf); // long after a source that was never told
        events.progress(kHalf);
        events.progress(kWhole);
    });
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[1]["bytes"], 1000);
}

TEST(JsonEventsTest, KeepsLinesOfTwoThreadsApart)
{
    JsonEvents events(Answering::kAsk, 0ms);
    const auto reported = reportedBy([&events] {
        std::thread other([&events] {
            for (int i = 0; i < 5000; ++i)
                events.progress(kHalf);
        });
        for (int i = 0; i < 5000; ++i)
            events.message("", std::string(50, 'm'));
        other.join();
    });
    EXPECT_EQ(reported.size(), 10000U) << "each line is an object by itself";
}

} // namespace
} // namespace mfx
