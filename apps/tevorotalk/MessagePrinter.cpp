#include "tevorotalk/MessagePrinter.h"

#include "commandline/JsonLine.h"
#include "messaging/MsgHandler.h"

namespace tevorotalk {

using commandline::Json;
using ScObjects::TevoroTalk;

namespace {

// Handlers get answers as scripts, told apart by the reason.
const char* typeOf(const TevoroTalk::Message& message, int reason)
{
    switch (reason) {
    case TevoroTalk::MsgHandler::kReceived:
        return "Received";
    case TevoroTalk::MsgHandler::kResult:
        return "Result";
    case TevoroTalk::MsgHandler::kError:
        return "Error";
    default:
        return message.type.get();
    }
}

Json headersOf(const TevoroTalk::Message& message)
{
    Json headers = Json::object();
    for (const auto* header = message.headers; header != nullptr; header = header->next)
        headers[jsonText(header->name)] = jsonText(header->value);
    return headers;
}

} // namespace

std::string jsonText(const ScObjects::SoString& text)
{
    return Pt::displayName(text.view());
}

void printMessage(const TevoroTalk::Message& message, int reason, bool json)
{
    if (json) {
        commandline::printJson({{"target", jsonText(message.target)},
            {"sender", jsonText(message.sender)},
            {"type", jsonText(typeOf(message, reason))},
            {"reason", reason},
            {"serial", message.serialNumber},
            {"timeout", message.timeout},
            {"request", jsonText(message.responseRequest)},
            {"headers", headersOf(message)},
            {"body", jsonText(message.body)}});
        return;
    }
    std::string line(message.sender.view());
    line += std::string(" ") + typeOf(message, reason) + " #" + std::to_string(message.serialNumber)
        + ": ";
    line += message.body.view();
    commandline::printLine(Pt::terminalText(line));
    // Whoever reads through a pipe sees each message when it comes.
    std::fflush(stdout);
}

} // namespace tevorotalk
