#include "e2e/hunts/HandOffHuntRound.h"

#include <array>
#include <thread>

namespace e2e::hunt {

namespace {

using std::chrono::milliseconds;

// Far below what the sink would wait for by itself; with room for a machine that is busy.
constexpr std::chrono::seconds kMaxRun{28};
constexpr milliseconds kPoll{20};

bool waitUntil(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + kMaxRun;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(kPoll);
    }
    return true;
}

bool stands(const std::vector<std::string>& texts, const std::string& words)
{
    return std::ranges::any_of(
        texts, [&](const std::string& text) { return text.find(words) != std::string::npos; });
}

} // namespace

const char* nameOf(BrowserState state)
{
    constexpr std::array<const char*, kBrowserStates> kNames{"not installed",
        "to start",
        "running",
        "busy",
        "dies over it",
        "ends at once",
        "not executable",
        "answers with an error",
        "starts and answers with an error",
        "never comes"};
    return kNames[static_cast<std::size_t>(state)];
}

HandOffRound::HandOffRound(std::uint64_t seed, std::uint64_t number)
    : m_draw(seed, number)
    , m_state(static_cast<BrowserState>(m_draw.below(kBrowserStates)))
{
}

void HandOffRound::complain(const std::string& what)
{
    m_complaints += "  " + what + '\n';
}

std::string HandOffRound::play()
{
    SetUp();
    makeCards();
    arrangeBrowser();
    startRuns();
    interfere();
    awaitRuns();
    for (Run& run : m_runs)
        judge(run);
    TearDown();
    m_browser.reset();
    judgeBus();
    return m_complaints;
}

void HandOffRound::makeCards()
{
    for (std::size_t i = 0, count = 1 + m_draw.below(4); i < count; ++i)
        m_pictures["IMG_" + std::to_string(i) + ".JPG"] = m_draw.bytes(1 + m_draw.below(50'000));
    for (std::size_t i = 0, count = 1 + m_draw.below(3); i < count; ++i) {
        Run run;
        run.card = card() / std::to_string(i);
        run.target = data() / ("pictures " + std::to_string(i));
        for (const auto& [name, content] : m_pictures)
            addFileIn(std::to_string(i) + "/DCIM/100MFX", name, content);
        m_runs.push_back(std::move(run));
    }
}

void HandOffRound::arrangeBrowser()
{
    const std::string error = "exec '" TEVOROTALK "' listen tevoro-2.0 --error 7 --seconds 60 >>'"
        + told().string() + "' 2>&1";
    switch (m_state) {
    case BrowserState::kNotInstalled:
        return;
    case BrowserState::kToStart:
        return registerBrowser(noisyBrowser());
    case BrowserState::kRunning:
    case BrowserState::kBusy:
    case BrowserState::kDiesOverIt:
        return runBrowser(noisyBrowser());
    case BrowserState::kEndsAtOnce:
        return registerBrowser(program("sleep 0." + std::to_string(m_draw.below(10)) + "; exit 1"));
    case BrowserState::kNotExecutable:
        registerBrowser(program("exit 1"));
        return fs::permissions(root() / "browser", fs::perms::owner_read);
    case BrowserState::kAnswersError:
        return runBrowser(program(error));
    case BrowserState::kStartsAndAnswersError:
        return registerBrowser(program(error));
    case BrowserState::kNeverComes:
        return registerBrowser(program("exec sleep 60"));
    }
}

void HandOffRound::runBrowser(const fs::path& program)
{
    registerBrowser(program);
    m_browser = start({program.string()});
    const bool isUp = waitUntil([this] {
        const std::string ports = outputOf({TEVOROTALK, "ports"});
        return ports.find("tevoro-2.0\t") != std::string::npos;
    });
    if (!isUp)
        complain("the browser does not come up");
    if (m_state == BrowserState::kBusy || m_state == BrowserState::kDiesOverIt)
        m_browser->signal(SIGSTOP);
}

void HandOffRound::startRuns()
{
    for (Run& run : m_runs) {
        run.begun = std::chrono::steady_clock::now();
        run.mfx = start({MFX_PROGRAM,
            "download",
            run.card.string(),
            "--to",
            run.target.string(),
            "--open",
            "--json"});
    }
}

void HandOffRound::interfere()
{
    for (Run& run : m_runs)
        if (m_state == BrowserState::kNeverComes || m_draw.chance(20))
            interrupt(run);
    if (m_state != BrowserState::kBusy && m_state != BrowserState::kDiesOverIt)
        return;
    std::this_thread::sleep_for(milliseconds(m_draw.below(4000)));
    m_browser->signal(m_state == BrowserState::kBusy ? SIGCONT : SIGKILL);
}

// While it copies, while it waits, or behind its end.
void HandOffRound::interrupt(Run& run)
{
    if (!run.mfx->waitFor("\"source\"", kMaxRun))
        return complain("nothing is told of the card");
    std::this_thread::sleep_for(milliseconds(m_draw.below(3000)));
    run.mfx->signal(m_draw.chance(50) ? SIGINT : SIGTERM);
    run.isInterrupted = true;
}

void HandOffRound::awaitRuns()
{
    for (Run& run : m_runs) {
        const auto left = run.begun + kMaxRun - std::chrono::steady_clock::now();
        if (!run.mfx->waitForEnd(
                std::max(std::chrono::duration_cast<milliseconds>(left), milliseconds(1))))
            complain(
                "a download waits for more than " + std::to_string(kMaxRun.count()) + " seconds");
    }
}

void HandOffRound::judge(Run& run)
{
    if (!run.mfx->waitForEnd(milliseconds(1)))
        return;
    RunResult result;
    result.out = run.mfx->output();
    result.code = run.mfx->code();
    if (result.code != 0 && !(run.isInterrupted && result.code == 130))
        complain("ends with " + std::to_string(result.code));
    if (result.events("summary").size() != 1)
        return complain("not one summary:\n" + result.out);
    const std::string before = m_complaints;
    judgePictures(run, result);
    if (result.code == 0)
        judgeBrowser(run, result);
    if (m_complaints != before)
        complain("it said:\n" + result.out + "the browser was told:\n" + contentOf(told()));
}

// What was not interrupted is whole, and what says that the card may be wiped is, too.
void HandOffRound::judgePictures(const Run& run, const RunResult& result)
{
    const Json summary = result.summary();
    const bool isWhole = hasEveryPicture(run);
    if (result.code == 0 && !isWhole)
        complain("pictures are missing");
    if (summary["saved"] == m_pictures.size() && !isWhole)
        complain("it counts pictures that are missing");
    if (!run.isInterrupted && summary["interrupted"] == true)
        complain("nobody has interrupted");
    if (fs::exists(run.target / ".mfxdownload"))
        complain("a work folder is left");
}

void HandOffRound::judgeBrowser(const Run& run, const RunResult& result)
{
    const std::vector<std::string> said = messages(result);
    const bool saysNot = stands(said, "the result is not shown");
    switch (m_state) {
    case BrowserState::kNotInstalled:
        if (!stands(said, "tevoro is not registered"))
            complain("does not say that there is no browser");
        return;
    case BrowserState::kToStart:
    case BrowserState::kRunning:
    case BrowserState::kBusy:
        if (saysNot || !isShown(run))
            complain("the browser does not show it");
        return;
    case BrowserState::kDiesOverIt: // who comes later may start it anew
        if (!saysNot && !isShown(run))
            complain("neither is it shown, nor does it say so");
        return;
    case BrowserState::kEndsAtOnce:
    case BrowserState::kNeverComes:
        if (!stands(said, "tevoro has ended without an answer"))
            complain("does not say that the browser has ended");
        return;
    case BrowserState::kNotExecutable:
        if (!stands(said, "tevoro cannot be started from"))
            complain("does not say that the browser cannot be started");
        return;
    case BrowserState::kAnswersError:
    case BrowserState::kStartsAndAnswersError:
        if (!stands(said, "tevoro answers with an error"))
            complain("does not say that the browser answers with an error");
        return;
    }
}

// Nobody is left on the bus once all have ended, with or without order.
void HandOffRound::judgeBus()
{
    std::string ports;
    const bool isEmpty = waitUntil([&] {
        ports = outputOf({TEVOROTALK, "ports"});
        return ports.find("tevoro") == std::string::npos && ports.find("mfx") == std::string::npos;
    });
    if (!isEmpty)
        complain("left on the bus:\n" + ports);
}

bool HandOffRound::isShown(const Run& run) const
{
    return contentOf(told()).find(run.target.string() + "\\\"") != std::string::npos;
}

bool HandOffRound::hasEveryPicture(const Run& run) const
{
    return std::ranges::all_of(m_pictures, [&run](const auto& picture) {
        const fs::path path = run.target / picture.first;
        return fs::exists(path) && contentOf(path) == picture.second;
    });
}

} // namespace e2e::hunt
