// One round of the hunt: a browser in some state, one to three downloads at once that end there,
// and what may come in between. A test fixture outside of a test: it has a world of its own.
#pragma once

#include "e2e/hunts/PictureHuntDraw.h"
#include "e2e/support/HandOffFixture.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace e2e::hunt {

// What is drawn of the browser.
enum class BrowserState {
    kNotInstalled,
    kToStart,
    kRunning,
    kBusy, // stands still for a while
    kDiesOverIt, // stands still, and is killed
    kEndsAtOnce,
    kNotExecutable,
    kAnswersError,
    kStartsAndAnswersError,
    kNeverComes, // to be interrupted
};
constexpr std::size_t kBrowserStates = 10;

const char* nameOf(BrowserState state);

class HandOffRound final : public HandOffFixture {
public:
    HandOffRound(std::uint64_t seed, std::uint64_t number);

    // What went wrong, a line each; empty when all is well.
    std::string play();
    BrowserState state() const { return m_state; }

private:
    struct Run {
        fs::path card;
        fs::path target;
        std::unique_ptr<test::ChildProgram> mfx;
        bool isInterrupted = false;
        std::chrono::steady_clock::time_point begun;
    };

    void TestBody() override { }
    void complain(const std::string& what);

    void makeCards();
    void arrangeBrowser();
    void runBrowser(const fs::path& program);
    void startRuns();
    void interfere();
    void interrupt(Run& run);
    void awaitRuns();

    void judge(Run& run);
    void judgePictures(const Run& run, const RunResult& result);
    void judgeBrowser(const Run& run, const RunResult& result);
    void judgeBus();
    bool isShown(const Run& run) const;
    bool hasEveryPicture(const Run& run) const;

    Draw m_draw;
    const BrowserState m_state;
    std::map<std::string, std::string> m_pictures; // by name, on each card
    std::vector<Run> m_runs;
    std::unique_ptr<test::ChildProgram> m_browser; // that ran before
    std::string m_complaints;
};

} // namespace e2e::hunt
