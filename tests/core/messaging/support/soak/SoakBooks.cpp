#include "core/messaging/support/soak/SoakBooks.h"

#include <algorithm>
#include <sstream>

namespace test {

namespace {

// An answer that finds no room is given up after ten seconds.
constexpr long kPatience = 10 * kSecond;
constexpr long kAnswerTime = kPatience + 2 * kSecond;

} // namespace

SoakBooks::Id SoakBooks::parse(const std::string& id)
{
    Id result;
    char dot = 0;
    std::istringstream(id) >> result.sender.first >> dot >> result.sender.second >> dot
        >> result.count;
    return result;
}

// Null when it was never sent.
SoakBooks::Sent* SoakBooks::find(const std::string& id)
{
    const Id parts = parse(id);
    const auto sender = m_sent.find(parts.sender);
    if (sender == m_sent.end() || parts.count < 1
        || static_cast<std::size_t>(parts.count) > sender->second.size())
        return nullptr;
    return &sender->second[static_cast<std::size_t>(parts.count - 1)];
}

// A step of a message that was never sent goes to a message that adds up in no way.
SoakBooks::Sent& SoakBooks::found(const std::string& id)
{
    static Sent gNobodys;
    Sent* const sent = find(id);
    if (sent == nullptr)
        m_faults.push_back(id + " has a step and was never sent");
    return sent != nullptr ? *sent : gNobodys;
}

void SoakBooks::read(int number, std::istream& record)
{
    for (std::string line; std::getline(record, line);) {
        std::istringstream words(line);
        char step = 0;
        std::string id;
        words >> step >> id;
        if (step == 'S') {
            readSent(id, words);
        } else if (step == 'D' || step == 'F') {
            Sent& sent = found(id);
            sent.state = step == 'D' ? State::kDelivered : State::kRefused;
            words >> sent.settled;
        } else if (step == 'H') {
            Handled handled{id, number, 0, 0};
            words >> handled.process >> handled.time;
            m_handled.push_back(handled);
        } else if (step == 'A') {
            readAnswer(id, words);
        } else if (step == 'P' || step == 'B') {
            SoakSpan span;
            words >> span.from >> span.to;
            (step == 'P' ? m_pauses : m_busy)[{number, std::stoi(id)}].push_back(span);
        }
    }
}

void SoakBooks::readSent(const std::string& id, std::istream& words)
{
    Sent sent;
    const Id parts = parse(id);
    sent.sender = parts.sender;
    sent.count = parts.count;
    int kind = 0;
    words >> sent.target >> kind >> sent.flood >> sent.time;
    sent.kind = static_cast<SoakKind>(kind);
    std::vector<Sent>& all = m_sent[sent.sender];
    all.push_back(sent);
    if (static_cast<std::size_t>(sent.count) != all.size())
        m_faults.push_back(id + " is not the next of its sender");
}

void SoakBooks::readAnswer(const std::string& id, std::istream& words)
{
    static const std::map<std::string, Answer> gAnswers = {{"result", kResult},
        {"error", kError},
        {"timeout", kTimeout},
        {"processed", kProcessed},
        {"ping", kPong}};
    std::string word;
    long time = 0;
    words >> word >> time;
    const Answer answer = gAnswers.at(word);
    Sent& sent = found(id);
    ++sent.answers[answer];
    sent.answerTimes[answer] = time;
    ++m_sums["answered: " + word];
}

void SoakBooks::addUp(const SoakEvents& events)
{
    m_events = events;
    linkHandled();
    noteFloods();
    for (const auto& [sender, all] : m_sent)
        checkSender(all);
    checkExactSums();
}

// Each to what was sent. Messages of one life of a sender come in their order to whoever holds the
// target's name.
void SoakBooks::linkHandled()
{
    std::map<std::pair<int, Process>, long> last;
    for (const Handled& handled : m_handled) {
        Sent& sent = found(handled.id);
        ++sent.handled;
        sent.handler = handled.process;
        sent.handledTime = handled.time;
        if (sent.target != handled.number)
            fault(sent, "was handled by another one");
        long& before = last[{handled.number, sent.sender}];
        if (before > sent.count)
            fault(sent, "was overtaken");
        before = sent.count;
    }
}

// From the first message of each until the last sign of any, and as long as one answer may wait.
void SoakBooks::noteFloods()
{
    std::map<std::pair<Process, int>, std::pair<int, SoakSpan>> floods;
    for (const auto& [sender, all] : m_sent)
        for (const Sent& sent : all) {
            if (sent.flood == 0)
                continue;
            auto& [target, span] = floods[{sender, sent.flood}];
            target = sent.target;
            span.from = span.from == 0 ? sent.time : span.from;
            span.to = std::max({span.to, sent.settled, sent.handledTime});
            span.to = std::max(span.to, *std::ranges::max_element(sent.answerTimes));
        }
    for (const auto& [flood, window] : floods) {
        const auto& [target, span] = window;
        const SoakSpan whole = {span.from, reach(target, span.to, kAnswerTime)};
        m_floods[std::minmax(flood.first.first, target)].push_back(whole);
    }
    m_sums["floods"] = static_cast<long>(floods.size());
}

// From the last one on: what the target handled later says what it had before.
void SoakBooks::checkSender(const std::vector<Sent>& all)
{
    std::map<int, const Sent*> next;
    std::for_each(all.rbegin(), all.rend(), [&](const Sent& sent) {
        check(sent, next[sent.target]);
        if (sent.handled != 0)
            next[sent.target] = &sent;
    });
}

void SoakBooks::check(const Sent& sent, const Sent* next)
{
    ++m_sums["sent"];
    if (sent.handled > 1)
        fault(sent, "was handled twice");
    if (sent.state == State::kRefused) {
        checkRefused(sent);
    } else if (sent.state == State::kUnknown) {
        ++m_sums["cut off by a kill of the sender"];
        if (isSenderWhole(sent))
            fault(sent, "was neither delivered nor refused");
    } else {
        ++m_sums["delivered"];
        checkHandling(sent, next);
        checkAnswers(sent);
    }
}

// For a reason: nobody held the name, or did not read for as long as a send waits.
void SoakBooks::checkRefused(const Sent& sent)
{
    ++m_sums["refused"];
    if (sent.handled != 0)
        fault(sent, "was refused and handled");
    const auto waited = sent.settled - sent.time;
    if (!wasHeldThroughout(sent))
        ++m_sums["refused: nobody held the name"];
    else if (waited >= kPatience - kSecond / 10)
        ++m_sums["refused: not read"];
    else if (wasAway(sent.target, sent.time, sent.settled))
        ++m_sums["refused: the files were gone"];
    else
        fault(sent, "was refused without a reason");
}

void SoakBooks::checkHandling(const Sent& sent, const Sent* next)
{
    const bool isHandled = sent.handled != 0;
    if (sent.kind == SoakKind::kForged || sent.kind == SoakKind::kPing) {
        ++m_sums[sent.kind == SoakKind::kForged ? "rejected" : "pings"];
        if (isHandled)
            fault(sent, "is no script and was handled");
    } else if (isHandled) {
        ++m_sums["handled"];
    } else {
        checkMissing(sent, next);
    }
}

void SoakBooks::checkMissing(const Sent& sent, const Sent* next)
{
    if (couldHaveExpired(sent, next))
        ++m_sums["timed out"];
    else if (couldBeLost(sent, next))
        ++m_sums["lost with a holder"];
    else
        fault(sent, "was lost");
}

void SoakBooks::checkAnswers(const Sent& sent)
{
    for (const int times : sent.answers)
        if (times > 1)
            fault(sent, "has the same answer twice");
    if (sent.kind == SoakKind::kPing && sent.answers[kPong] == 0)
        ++m_sums["pings without an answer"];
    const bool isAsked = sent.kind != SoakKind::kPlain && sent.kind != SoakKind::kPing;
    if (!isAsked || !isSenderWhole(sent))
        return;
    checkFinal(sent);
    if (sent.handled != 0)
        checkHandledAnswers(sent);
    else
        checkUnhandledAnswers(sent);
}

// Which answers can be at all.
void SoakBooks::checkFinal(const Sent& sent)
{
    if ((sent.answers[kError] != 0) && sent.kind != SoakKind::kForged)
        fault(sent, "has an error");
    if (sent.answers[kTimeout] != 0) {
        if (sent.kind != SoakKind::kTimed)
            fault(sent, "timed out without a time");
        if (wallSecond(sent.answerTimes[kTimeout]) <= wallSecond(sent.time - kClockStep))
            fault(sent, "timed out before its time");
    }
}

void SoakBooks::checkHandledAnswers(const Sent& sent)
{
    if (sent.answers[kTimeout] != 0) {
        checkLateAnswers(sent);
        return;
    }
    if (sent.answers[kResult] == 0 && !isExcused(sent, "result"))
        fault(sent, "has no result");
    if (sent.answers[kResult] != 0 && sent.answers[kProcessed] == 0
        && !isExcused(sent, "completion"))
        fault(sent, "has no completion");
}

// The time ran out between the handling, or the result, and what ends the exchange.
void SoakBooks::checkLateAnswers(const Sent& sent)
{
    if (sent.answers[kProcessed] != 0)
        fault(sent, "timed out after its completion, or was completed after it");
    const bool hasResult = sent.answers[kResult] != 0;
    const long from = hasResult ? sent.answerTimes[kResult] : sent.handledTime;
    if (wasSlow(sent, from, sent.answerTimes[kTimeout]))
        ++m_sums[hasResult ? "completed too late" : "answered too late"];
    else if (!isExcused(sent, hasResult ? "completion" : "result"))
        fault(sent, "timed out although it was handled in time");
}

void SoakBooks::checkUnhandledAnswers(const Sent& sent)
{
    const bool isRejected = sent.kind == SoakKind::kForged; // its completion may be all that came
    if (sent.answers[kResult] != 0 || (sent.answers[kProcessed] != 0 && !isRejected))
        fault(sent, "was not handled and is completed");
    if (sent.kind == SoakKind::kTimed && sent.answers[kTimeout] == 0)
        fault(sent, "neither timed out nor was handled");
    if (sent.kind == SoakKind::kForged && sent.answers[kError] == 0 && !couldBeLost(sent, nullptr)
        && !isExcused(sent, "error"))
        fault(sent, "was rejected without an error");
}

// Each message is in one sum.
void SoakBooks::checkExactSums()
{
    const auto sum = [this](std::initializer_list<const char*> names) {
        long total = 0;
        for (const char* name : names)
            total += m_sums[name];
        return total;
    };
    const bool isWhole =
        m_sums["sent"] == sum({"delivered", "refused", "cut off by a kill of the sender"})
        && m_sums["delivered"]
            == sum({"handled", "rejected", "pings", "timed out", "lost with a holder"});
    if (!isWhole)
        m_faults.push_back("the sums do not add up");
}

void SoakBooks::fault(const Sent& sent, const std::string& what)
{
    std::ostringstream text;
    text << sent.sender.first << '.' << sent.sender.second << '.' << sent.count << " of kind "
         << static_cast<int>(sent.kind) << " to " << sent.target << ' ' << what << ": sent "
         << sent.time << " to " << sent.settled << ", flood " << sent.flood << ", handled by "
         << sent.handler << " at " << sent.handledTime << ", answers (result, error, timeout, "
         << "processed)";
    for (int answer = kResult; answer < kPong; ++answer)
        text << ' ' << sent.answerTimes[static_cast<std::size_t>(answer)];
    for (const SoakLife& life : m_events.lives)
        if (life.number == sent.target)
            text << " [" << life.process << ' ' << life.start << " to " << life.end
                 << (life.wasKilled ? " killed]" : "]");
    m_faults.push_back(text.str());
}

} // namespace test
