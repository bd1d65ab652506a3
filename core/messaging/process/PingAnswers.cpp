// Questions that arrive at the thread of the bus, and their answers; and a question of its own.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/runtime/OutOfMemory.h"

#include <chrono>
#include <cstdlib>
#include <utility>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

// Texts of which questions are left, and their bytes.
constexpr std::size_t kMaxRests = 16;
constexpr long kMaxRestBytes = 8L << 20;

} // namespace

// One text, and a part of what is left of longer ones in turn: other questions, and pumps, wait for
// the end of a round.
void TevoroTalkThread::readPings()
{
    if (m_stream == nullptr)
        return;
    if (!m_rests.empty()) {
        Rest rest = std::move(m_rests.front());
        m_rests.pop_front();
        if (!answerPings(rest.text, rest.at))
            m_rests.push_back(std::move(rest));
    }
    if (!canReadPings() || !m_stream->messagePending() || !m_stream->receive()
        || m_stream->isEmpty())
        return;
    Rest fresh;
    fresh.text = m_stream->getMessages();
    if (!answerPings(fresh.text, fresh.at))
        m_rests.push_back(std::move(fresh));
}

// What is left of one long text keeps no other away; more of them wait in the stream.
bool TevoroTalkThread::canReadPings() const
{
    long bytes = 0;
    for (const Rest& rest : m_rests)
        bytes += rest.text.length() - rest.at;
    return m_rests.size() < 2 || (m_rests.size() < kMaxRests && bytes < kMaxRestBytes);
}

// Those from `at` on, for a moment. Whether none is left.
bool TevoroTalkThread::answerPings(SoString& text, long& at)
{
    constexpr std::chrono::milliseconds kMoment{20};
    const auto deadline = std::chrono::steady_clock::now() + kMoment;
    const long end = text.length();
    while (at != end) {
        TevoroTalk::Message message;
        const long next = message.readFrom(text, at);
        // A text that is no message would be read again and again. Whoever ends the thread does not
        // wait for the rest of a text.
        if (next == at || m_stopRequested)
            return true;
        const long length = next - at;
        at = next;
        if (!message.isWhole()) {
            tellOutOfMemory(length);
            continue;
        }
        message.timestamp = TevoroTalkUtils::getTimeSeconds();
        answerPing(message);
        if (std::chrono::steady_clock::now() >= deadline)
            break;
    }
    return at == end;
}

void TevoroTalkThread::answerPing(TevoroTalk::Message& message)
{
    // Two threads that answer each other's answers would do so for ever.
    if (TevoroTalk::Specifier(message.sender, false).suffix() == "thread")
        return;
    TevoroTalk::MsgHandler* const handler = findHandler(QK_MAIN);
    SoString reply;
    if (handler != nullptr
        && callHandler(*handler, TevoroTalk::MsgHandler::kRequest, message, &reply) == 0
        && !reply.isEmpty())
        sendAnswer(message.sender, reply, message.body);
}

SoString TevoroTalkThread::ping(const SoString& target,
    const SoString& command,
    std::int32_t timeout,
    const SoString* body) const
{
    const InterAppStream* const stream = InterAppStream::get();
    if (stream == nullptr || !stream->isGood())
        return QK_NOINTERAPPSTREAM;
    return TevoroTalkUtils::ping(
        target, true, command, static_cast<std::uint32_t>(std::rand()), timeout, body, nullptr);
}

bool TevoroTalkThread::sendResponse(const TevoroTalk::Message& incoming, const SoString& reply)
{
    SoString body(incoming.body);
    return sendAnswer(incoming.sender, reply, body);
}

// Takes the body, which may be large.
bool TevoroTalkThread::sendAnswer(const SoString& target, const SoString& reply, SoString& body)
{
    const ObjectLock lock(*this);
    TevoroTalk::Message message;
    message.target = target;
    message.sender = getSpecifier();
    message.type = QK_PINGTYPE;
    // Handlers put long answers there; otherwise the question's own body comes back.
    message.body.swap(body);
    // Question and answer stand in the same header.
    message.setHeader(QK_ECHO_REQUEST, reply);
    message.serialNumber = TevoroTalk::Message::getNextSerialNumber(m_context);
    return m_stream != nullptr && sendAnswer(message);
}

// Other questions wait behind an answer for which there is no room: it waits briefly, and only one
// a second does, however many askers do not read.
bool TevoroTalkThread::sendAnswer(const TevoroTalk::Message& message)
{
    using std::chrono::steady_clock;
    constexpr std::chrono::seconds kBetween{1};
    const auto start = steady_clock::now();
    const bool mayWait = start - m_lastSlowAnswer >= kBetween;
    const auto patience = mayWait ? kBriefPatience : std::chrono::milliseconds(0);
    const bool isSent = m_stream->sendMessageUnlessSilent(patience, message);
    if (mayWait && steady_clock::now() - start >= patience)
        m_lastSlowAnswer = start;
    return isSent;
}

} // namespace ScObjects
