#include "e2e/hunts/PictureHuntRound.h"

#include "e2e/hunts/PictureHuntBlows.h"
#include "e2e/hunts/PictureHuntJudge.h"
#include "e2e/support/MfxRun.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace e2e::hunt {

namespace {

using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongEnough{90};

} // namespace

Round::Round(std::uint64_t seed, std::uint64_t number, Figures& figures, fs::path convertingProgram)
    : m_seed(seed)
    , m_number(number)
    , m_figures(figures)
    , m_convertingProgram(std::move(convertingProgram))
    , m_draw(seed, number)
{
}

std::vector<std::string> Round::play()
{
    SituationMaker(m_situation, m_draw, m_figures, m_story).make();
    drawBlows();
    m_situation.world.flush();
    const bool hasSecond = m_draw.chance(70);
    run(true);
    if (hasSecond && m_wrongs.empty())
        run(false);
    ++m_figures["rounds"];
    m_figures["pictures"] += m_situation.pictures.size();
    return m_wrongs;
}

void Round::drawBlows()
{
    const std::size_t count = 1 + m_draw.below(2);
    for (std::size_t i = 0; i < count; ++i) {
        if (m_draw.chance(27)) {
            drawFault();
            continue;
        }
        Blow blow = drawBlow();
        if (!blow.strike)
            continue;
        setMoment(blow);
        m_blows.push_back(std::move(blow));
    }
}

Blow Round::drawBlow()
{
    BlowMaker maker(m_situation, m_draw);
    const auto send = [this](int number) {
        return Blow{"signal " + std::to_string(number), {}, {}, 1, [this, number] {
                        m_situation.signals.insert(number);
                        m_programs.front()->signal(number);
                    }};
    };
    switch (m_draw.below(10)) {
    case 0:
        return send(SIGKILL);
    case 1:
        return send(m_draw.oneOf(std::vector<int>{SIGINT, SIGTERM, SIGHUP}));
    case 2:
        return m_draw.chance(50)
            ? Blow{"a second program", {}, {}, 1, [this] { start(false); }}
            : Blow{"the other way round", {}, {}, 1, [this] { startTheOtherWay(); }};
    case 3:
    case 4:
        return maker.addPicture();
    case 5:
        return maker.changePicture();
    case 6:
        return maker.harmCopy();
    case 7:
        return maker.swap();
    default:
        return maker.detach();
    }
}

void Round::setMoment(Blow& blow)
{
    const std::size_t kind = m_draw.below(10);
    if (m_situation.hasTerminal && kind < 7)
        blow.moment = Moment::kQuestion;
    else
        blow.moment = kind < 3 ? Moment::kStart : Moment::kItem;
    blow.delay = Milliseconds(m_draw.below(150));
    blow.items = 1 + m_draw.below(3);
    const std::vector<std::string> moments{" after " + std::to_string(blow.delay.count()) + " ms",
        " at item " + std::to_string(blow.items),
        " at the question"};
    tell("blow: " + blow.story + moments[static_cast<std::size_t>(blow.moment)]);
}

void Round::drawFault()
{
    static const std::vector<std::string> kErrors{
        std::to_string(EIO), std::to_string(ENOSPC), std::to_string(EACCES)};
    const std::size_t range = m_draw.oneOf(std::vector<std::size_t>{20, 100, 300});
    const std::size_t kind = m_draw.below(10);
    m_fault = {{"LD_PRELOAD", FAULT_SHIM},
        {"FAULT_ROOT", m_situation.world.root() / "world"},
        {"FAULT_AT", std::to_string(1 + m_draw.below(range))}};
    if (m_draw.chance(50))
        m_fault["FAULT_ONLY"] = m_draw.oneOf(std::vector<std::string>{"write",
            "fsync",
            "unlink",
            "rename,renameat2,link",
            "open,mkdir",
            "unlink,renameat2,link,rmdir"});
    if (kind >= 8)
        m_fault["FAULT_ONLY"] = kind == 8 ? "write,pwrite" : "write,pwrite,read";
    if (kind < 5)
        m_fault["FAULT_KILL"] = "1";
    else if (kind < 8)
        m_fault["FAULT_ERRNO"] = m_draw.oneOf(kErrors);
    else
        m_fault[kind == 8 ? "FAULT_FLIP" : "FAULT_SHORT"] = "1";
    if (kind < 5)
        m_situation.signals.insert(SIGKILL);
    std::string story = "fault:";
    for (const auto& [name, value] : m_fault)
        story += name == "LD_PRELOAD" ? "" : ' ' + name + '=' + value;
    tell(story);
    ++m_figures[kind < 5 ? "blow kill at a call" : "blow fault"];
}

std::vector<std::string> Round::words() const
{
    const Situation& now = m_situation;
    std::vector<std::string> words{now.converts ? m_convertingProgram.string() : MFX_PROGRAM,
        "download",
        now.card.path,
        "--to",
        now.target.path,
        "--json"};
    if (now.backup)
        words.insert(words.end(), {"--backup", now.backup->path});
    words.insert(words.end(), now.options.begin(), now.options.end());
    return words;
}

Variables Round::variables(bool hasFault) const
{
    const fs::path root = m_situation.world.root();
    Variables variables = plainEnvironment(root);
    variables["CONVERSION_LOG"] = root / "run/conversion";
    if (hasFault)
        variables.insert(m_fault.begin(), m_fault.end());
    return variables;
}

void Round::start(bool hasFault)
{
    m_programs.push_back(
        std::make_unique<HuntProgram>(words(), variables(hasFault), m_situation.hasTerminal));
}

// What was saved is moved back onto the card: each program takes the other's copies, and may.
void Round::startTheOtherWay()
{
    for (Picture& picture : m_situation.pictures)
        picture.isHarmed = true;
    for (Prior& prior : m_situation.priors)
        prior.isHarmed = true;
    std::vector<std::string> other{MFX_PROGRAM,
        "download",
        m_situation.target.path,
        "--to",
        m_situation.card.path / m_situation.pictures[0].below.parent_path(),
        "--json",
        "--delete-originals"};
    if (!m_situation.hasTerminal)
        other.emplace_back("--yes");
    m_programs.push_back(
        std::make_unique<HuntProgram>(other, variables(false), m_situation.hasTerminal));
}

bool Round::isDue(const Blow& blow, Milliseconds since) const
{
    if (blow.isDone)
        return false;
    switch (blow.moment) {
    case Moment::kStart:
        return since >= blow.delay;
    case Moment::kItem:
        return m_programs.front()->events("item").size() >= blow.items;
    case Moment::kQuestion:
        break;
    }
    return m_programs.front()->asks();
}

// Nothing moves meanwhile. Behind the last item nobody can tell whether the program has looked for
// the last time already.
void Round::strikeWhatIsDue(Milliseconds since)
{
    for (Blow& blow : m_blows) {
        if (!isDue(blow, since))
            continue;
        blow.isDone = true;
        const std::size_t running = m_programs.size();
        bool isInTime = true;
        for (std::size_t i = 0; i < running; ++i)
            isInTime = m_programs[i]->stop() && isInTime;
        const HuntProgram& first = *m_programs.front();
        const auto sources = first.events("source");
        const bool isBehind = !sources.empty()
            && first.events("item").size() >= sources[0].value("items", std::size_t{0});
        const bool isAsked = blow.moment == Moment::kQuestion && !first.events("summary").size();
        if (isInTime && (!isBehind || isAsked)) {
            blow.strike();
            m_situation.sawOtherCard = m_situation.sawOtherCard
                || (sources.empty() && m_situation.lostTheCard
                    && (m_situation.wasSwapped || m_situation.hasInnerDisk));
            ++m_figures["blow " + blow.story.substr(0, blow.story.find(' ', 9))];
            tell("struck: " + blow.story);
        }
        for (std::size_t i = 0; i < running; ++i)
            m_programs[i]->goOn();
    }
}

void Round::follow(const std::vector<std::unique_ptr<HuntProgram>>& programs)
{
    const Clock::time_point begin = Clock::now();
    std::set<HuntProgram*> answered;
    for (bool isRunning = true; isRunning;) {
        isRunning = false;
        for (std::size_t i = 0; i < programs.size(); ++i)
            isRunning = programs[i]->look(Milliseconds(2)) || isRunning;
        const auto since = std::chrono::duration_cast<Milliseconds>(Clock::now() - begin);
        strikeWhatIsDue(since);
        for (const auto& program : programs)
            if (program->asks() && answered.insert(program.get()).second)
                program->answer("y\n");
        if (since > kLongEnough)
            programs.front()->signal(SIGKILL);
    }
}

void Round::run(bool isDisturbed)
{
    const Evidence before(m_situation.world);
    m_ends.clear();
    m_situation.lostTheCard = false;
    m_situation.sawOtherCard = false;
    if (!isDisturbed) {
        m_blows.clear();
        m_situation.signals.clear();
    }
    const Clock::time_point begin = Clock::now();
    start(isDisturbed && !m_fault.empty());
    follow(m_programs);
    for (const auto& program : m_programs) {
        const auto summaries = program->events("summary");
        m_ends.push_back({program->code(), program->out(), program->err(), {}, false});
        if (summaries.size() == 1)
            m_ends.back().summary = summaries.front();
        m_ends.back().isHung = Clock::now() - begin > kLongEnough;
        tell("ended with " + std::to_string(program->code()) + '\n' + program->out()
            + program->err());
        ++m_figures["exit " + std::to_string(program->code())];
        m_figures["may be wiped"] +=
            m_ends.back().summary && m_ends.back().summary->value("card_may_be_wiped", false) ? 1U
                                                                                              : 0U;
    }
    m_programs.clear();
    m_situation.world.restore();
    Judge judge(m_situation, before, m_ends);
    if (!isDisturbed && (m_ends[0].code == 0 || m_ends[0].code == 1) && !m_situation.isDry
        && !m_situation.wasSwapped)
        judge.expectNoLeftovers();
    m_figures["originals deleted"] += judge.deletedOriginals();
    const auto wrongs = judge.judge();
    m_wrongs.insert(m_wrongs.end(), wrongs.begin(), wrongs.end());
}

std::string Round::story() const
{
    std::string text = "HUNT_SEED=" + std::to_string(m_seed)
        + " HUNT_ROUND=" + std::to_string(m_number) + " mfx_hunt\n";
    for (const std::string& wrong : m_wrongs)
        text += "WRONG: " + wrong + '\n';
    for (const std::string& line : m_story)
        text += line + '\n';
    std::string command;
    for (const std::string& word : words())
        command += quoted(word) + ' ';
    return text + command + '\n';
}

} // namespace e2e::hunt
