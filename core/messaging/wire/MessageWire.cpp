// The text form of messages: header lines, an empty line, and a body of known length.
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/Identity.h"
#include "messaging/wire/WireReader.h"

#include <algorithm>
#include <cstring>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

using Message = TevoroTalk::Message;

// Bytes; longer ones take longer.
constexpr long kUsualHead = 500;

constexpr const char* kMessageTags[] = {QK_SENDER,
    QK_SENDER_ID,
    QK_TARGET,
    QK_TIMEOUT,
    QK_TYPE,
    QK_RESPONSE_REQUEST,
    QK_TIMESTAMP,
    QK_CONTENT_LENGTH,
    QK_SERIAL_NUMBER,
    QK_RECEIVED,
    QK_RESULT,
    QK_ERROR,
    QK_ERROR_CODE,
    QK_VERSION};

bool isMessageTag(const SoString& name)
{
    return std::any_of(std::begin(kMessageTags), std::end(kMessageTags), [&name](const char* tag) {
        return name == tag;
    });
}

void appendValue(SoString& out, const SoString& value)
{
    out.append(value.view());
}

template <typename Number>
void appendValue(SoString& out, Number number)
{
    out << number;
}

template <typename Value>
void writeLine(SoString& out, std::string_view name, const Value& value)
{
    out.append(name);
    out.append(std::string_view(":"));
    appendValue(out, value);
    out.append(std::string_view("\n"));
}

void writeNumber(SoString& out, std::string_view name, std::uint32_t number)
{
    if (number != QK_INVALID_MESSAGE_NUMBER)
        writeLine(out, name, number);
}

void writeText(SoString& out, std::string_view name, const SoString& text)
{
    if (!text.isEmpty())
        writeLine(out, name, text);
}

void writeCustomHeaders(SoString& out, const Message& message)
{
    const bool marks = !isUnmarkedVersion(message.version.view());
    for (const TevoroTalk::Header* header = message.headers; header != nullptr;
         header = header->next) {
        if (marks && isMessageTag(header->name))
            out << kHeaderPrefix;
        writeLine(out, header->name.view(), header->value);
    }
}

// All lines up to the empty one, that included, but for the digest.
bool writeHead(const Message& message, SoString& out)
{
    // Half a message is none.
    if (message.target.isEmpty() || message.sender.isEmpty() || !message.isWhole())
        return false;
    writeLine(out, QK_VERSION, message.version);
    writeLine(out, QK_TARGET, message.target);
    writeLine(out, QK_SENDER, message.sender);
    // Not a field of the message: it says which process wrote the text, also when that only passes
    // it on.
    writeLine(out, QK_SENDER_ID, TevoroTalkUtils::getSenderID());
    if (message.timeout != 0)
        writeLine(out, QK_TIMEOUT, message.timeout);
    writeText(out, QK_TYPE, message.type);
    writeText(out, QK_RESPONSE_REQUEST, message.responseRequest);
    writeCustomHeaders(out, message);
    // The time of writing, which the message's own time need not be. The blank after the colon is
    // part of the format.
    out << "Timestamp: " << long{TevoroTalkUtils::getTimeSeconds()} << "\n";
    writeLine(out, QK_SERIAL_NUMBER, message.serialNumber);
    writeNumber(out, QK_RECEIVED, message.received);
    writeNumber(out, QK_RESULT, message.result);
    writeNumber(out, QK_ERROR, message.error);
    writeLine(out, QK_CONTENT_LENGTH, message.body.length());
    out << "\n";
    return true;
}

} // namespace

namespace {

// Bodies from this size on are worth taking over.
constexpr std::size_t kLargeBody = std::size_t{64} * 1024;

// One of the three numbers that an answer carries becomes the serial number, and a type.
void turnIntoType(Message& message, std::uint32_t& answered, const char* word)
{
    if (answered == QK_INVALID_MESSAGE_NUMBER)
        return;
    message.serialNumber = answered;
    answered = QK_INVALID_MESSAGE_NUMBER;
    if (message.type == word)
        return;
    SoString type(word);
    if (message.isUserType())
        type << message.type;
    message.type = type;
}

} // namespace

bool TevoroTalk::Message::writeToString(SoString& out) const
{
    const long before = out.length();
    if (!writeHeadToString(out))
        return false;
    out.reserve(out.length() + body.length());
    out << body;
    if (!out.hasFailed())
        return true;
    out.shrink(before);
    return false;
}

bool TevoroTalk::Message::writeHeadToString(SoString& out) const
{
    // Written aside first: the digest stands in front of what it is computed from.
    SoString head;
    head.reserve(kUsualHead);
    if (!writeHead(*this, head))
        return false;
    if (getCreateDigest())
        writeLine(out, QK_MD5, digestOf(head.view(), body.view()));
    out << head;
    return true;
}

const char* TevoroTalk::Message::readFromString(const char* text)
{
    return readFromString(text, text + std::strlen(text));
}

const char* TevoroTalk::Message::readFromString(const char* text, const char* end)
{
    const ObjectLock lock(*this);
    WireReader reader(*this, text, end);
    readWith(reader);
    body.assign(reader.body());
    return reader.skipLineFeeds();
}

long TevoroTalk::Message::readFrom(SoString& text, long place)
{
    const ObjectLock lock(*this);
    const char* const start = text.get();
    WireReader reader(*this, start + place, start + text.length());
    readWith(reader);
    const std::string_view found = reader.body();
    if (found.size() < kLargeBody || !reader.isAtEnd()) {
        body.assign(found);
        return reader.skipLineFeeds() - start;
    }
    const long end = text.length();
    text.removeFront(found.data() - start);
    body.swap(text);
    text.shrink(0);
    return end;
}

// All but the body.
void TevoroTalk::Message::readWith(WireReader& reader)
{
    // What a text without a version line means.
    version = "1.0";
    if (!target.isEmpty())
        forgetFormerContent();
    digestStatus = "NODIGEST";
    reader.readHead();
    reader.passBody();
    if (getAuthentication())
        digestStatus = reader.hasWrongDigest() ? "REJECTED" : "";
    // A timeout counts from the timestamp, and the time of arrival is the nearest there is to it.
    if (timeout > 0 && timestamp == 0)
        timestamp = TevoroTalkUtils::getTimeSeconds();
    // Only "debug" in lower case is left alone, on purpose; "Debug" is a type of the bus like the
    // others.
    if (type != "debug")
        turnAnswerIntoType();
}

void TevoroTalk::Message::forgetFormerContent()
{
    deleteHeaders();
    m_lacksHeader = false;
    timeout = 0;
    contentLength = 0;
    serialNumber = 0;
    received = result = error = QK_INVALID_MESSAGE_NUMBER;
    for (SoString* text : {&target, &sender, &type, &responseRequest, &body})
        text->shrink(0);
}

void TevoroTalk::Message::turnAnswerIntoType()
{
    // In this order: of several numbers in one text the last one stands.
    turnIntoType(*this, received, QK_RECEIVED);
    turnIntoType(*this, result, QK_RESULT);
    turnIntoType(*this, error, QK_ERROR);
}

} // namespace ScObjects
