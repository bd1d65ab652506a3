// A message as lines of the diagnostics tree.
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/runtime/GrowingText.h"
#include "messaging/wire/InfoNode.h"

#include <cstdio>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

constexpr const char* kUndefined = "undefined";
constexpr long kLabels = 64; // what else a line has, with room to spare

SoString orUndefined(const SoString& text)
{
    return text.isEmpty() ? SoString(kUndefined) : text;
}

SoString numberOrUndefined(std::uint32_t number)
{
    return number == QK_INVALID_MESSAGE_NUMBER ? SoString(kUndefined) : textOf(number);
}

SoString expiryOf(const TevoroTalk::Message& message)
{
    const std::int64_t expiry = message.timestamp + message.timeout;
    // A message without a timeout gets one when it is queued; one that was not queued never
    // expires.
    return message.timeout > 0 && message.timestamp > 0 ? TevoroTalkUtils::getTimeString(&expiry)
                                                        : SoString(kUndefined);
}

// Writes the children of one message.
class Node {
public:
    Node(SoString& out, const SoString& path)
        : m_out(out)
        , m_path(path)
    {
    }

    void leaf(const char* child, const char* label, const SoString& value)
    {
        growFor(m_out, m_path.length() + value.length() + kLabels);
        m_out << m_path << "/" << child << ";0;" << label << ";" << value << ";\n";
    }

    // The terminator of the value is missing; readers take the end of the line for it.
    void request(const SoString& value)
    {
        if (value.isEmpty())
            leaf("request", QK_RESPONSE_REQUEST, kUndefined);
        else
            m_out << m_path << "/request;0;" << QK_RESPONSE_REQUEST << ";" << value << "\n";
    }

    void headers(const TevoroTalk::Header* first)
    {
        // Readers stop at this line, which has no flag: it stands so since the first of them.
        if (first == nullptr) {
            m_out << m_path << "/headers;Headers;(no headers);\n";
            return;
        }
        m_out << m_path << "/headers;1;Headers;;\n";
        for (const auto* header = first; header != nullptr; header = header->next) {
            growFor(m_out,
                m_path.length() + 2 * header->name.length() + header->value.length() + kLabels);
            m_out << m_path << "/headers/" << header->name << ";0;" << header->name << ";"
                  << header->value << ";\n";
        }
    }

    void timestamp(std::int64_t time)
    {
        if (time == 0) // without a flag, as above
            m_out << m_path << "/timestamp;" << QK_TIMESTAMP << ";" << kUndefined << ";\n";
        else
            leaf("timestamp", QK_TIMESTAMP, TevoroTalkUtils::getTimeString(&time));
    }

    void body(const SoString& text)
    {
        if (text.isEmpty()) {
            leaf("body", "Body", "(empty)");
            return;
        }
        m_out << m_path << "/body;1;Body;" << text.length() << " bytes;\n";
        // The first line only: a line feed in a value would begin another line of the tree.
        leaf("body/text", "Text", SoString(text.view().substr(0, text.view().find('\n'))));
    }

private:
    SoString& m_out;
    const SoString& m_path;
};

} // namespace

void TevoroTalk::Message::appendDiagnostics(SoString& out, const SoString& path) const
{
    char number[16];
    std::snprintf(number, sizeof number, "%08lu", static_cast<unsigned long>(serialNumber));
    SoString nodePath(path);
    nodePath << "/msg" << serialNumber;
    out << nodePath << ";1;msg[" << number << "];" << TevoroTalkUtils::getTimeString(&timestamp)
        << ";\n";
    Node node(out, nodePath);
    node.leaf("version", QK_VERSION, version);
    node.leaf("target", QK_TARGET, target);
    node.leaf("sender", QK_SENDER, sender);
    node.leaf("senderid", QK_SENDER_ID, TevoroTalkUtils::getSenderID());
    node.leaf("timeout", QK_TIMEOUT, expiryOf(*this));
    node.leaf("type", QK_TYPE, orUndefined(type));
    node.request(responseRequest);
    node.headers(headers);
    node.timestamp(timestamp);
    node.leaf("serialnumber", QK_SERIAL_NUMBER, textOf(serialNumber));
    node.leaf("received", QK_RECEIVED, numberOrUndefined(received));
    node.leaf("result", QK_RESULT, numberOrUndefined(result));
    node.leaf("error", QK_ERROR, numberOrUndefined(error));
    node.body(body);
}

} // namespace ScObjects
