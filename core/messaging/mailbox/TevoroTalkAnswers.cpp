// How answers are made: the result, an error, and the other words that a message asks for.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"

#include <cstring>
#include <optional>

namespace ScObjects {

using namespace TevoroTalkData;
using TevoroTalkUtils::logMessage;

namespace {

using Message = TevoroTalk::Message;

bool asksFor(const Message& message, const char* word)
{
    return std::strstr(message.responseRequest, word) != nullptr;
}

void fillErrorAnswer(Message& answer, const Message& question, const char* text, long code)
{
    answer.error = question.serialNumber;
    answer.body = text;
    answer.setHeader(QK_ERROR_CODE, code);
}

} // namespace

bool TevoroTalk::sendResponse(const Message& message, const char* word, Message* reply) const
{
    if (!asksFor(message, word))
        return false;
    std::optional<Message> bare;
    Message& answer = reply != nullptr ? *reply : bare.emplace();
    answer.target = message.sender;
    // As the asker called it, so that it recognises the answer.
    answer.sender = message.target.isEmpty() ? getAppName() : message.target;
    answer.responseRequest = "";
    answer.timeout = 0;
    if (message.version.isEmpty()) {
        TevoroTalkContext* const context = getContext();
        answer.type = message.type;
        answer.serialNumber =
            context != nullptr ? context->getNextSerialNumber() : message.serialNumber;
    } else {
        answer.serialNumber = message.serialNumber;
        answer.type = word;
        if (answer.isUserType())
            answer.type << message.type;
    }
    return sendFrom(answer, false, 0, nullptr, Kind::kAnswer);
}

bool TevoroTalk::sendError(
    const Message& message, const char* text, long code, unsigned long waitSeconds) const
{
    if (asksFor(message, QK_ERROR)) {
        Message answer;
        fillErrorAnswer(answer, message, text, code);
        sendResponse(message, QK_ERROR, &answer);
    }
    // The error answer is in the own queue now; the caller's handler gets it before send returns.
    if (waitSeconds != 0 && m_data->findHandler(QK_ERROR, message.serialNumber) != nullptr)
        waitForResponse(message, waitSeconds);
    logMessage(text, message, false);
    return false;
}

bool TevoroTalk::sendResult(const Message& message, const SoString& result) const
{
    if (!asksFor(message, QK_RESULT))
        return false;
    // A copy of the request: a result carries its custom headers.
    Message answer(message);
    answer.result = message.serialNumber;
    answer.body = result;
    return sendResponse(message, QK_RESULT, &answer);
}

} // namespace ScObjects
