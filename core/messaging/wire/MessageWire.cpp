// The text form of messages: header lines, an empty line, and a body of known length.
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/Identity.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

using Message = TevoroTalk::Message;

// More custom headers than any program sends; what follows is not kept, so that a text of many
// short lines costs neither memory nor time beyond its own size.
constexpr int kMaxHeaders = 4096;

// Bytes; longer ones take longer.
constexpr long kUsualHead = 500;

// A later time counts as this one, so that deadlines, times plus time-outs, stay numbers.
constexpr unsigned long long kLatestTime = 1ULL << 53U;

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

// Versions before the mark for custom headers that are called like tags.
bool isUnmarkedVersion(std::string_view version)
{
    return version.empty() || version == "1.0" || version == "2.0";
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
    if (message.target.isEmpty() || message.sender.isEmpty())
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

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As strtoull reads it, which wants a terminated copy.
unsigned long long numberOf(std::string_view value)
{
    while (!value.empty() && isBlank(value.front()))
        value.remove_prefix(1);
    // -1 and 4294967295 are the same number on the wire, so a sign is read and wraps around.
    const bool isNegative = value.starts_with('-');
    if (isNegative || value.starts_with('+'))
        value.remove_prefix(1);
    unsigned long long number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc::result_out_of_range)
        return std::numeric_limits<unsigned long long>::max();
    return isNegative ? 0 - number : number;
}

std::uint32_t number32(std::string_view value)
{
    return static_cast<std::uint32_t>(numberOf(value));
}

} // namespace

// Reads the lines of one message; never past `end`, which need not be terminated.
class TevoroTalkData::WireReader {
public:
    WireReader(Message& message, const char* text, const char* end)
        : m_message(message)
        , m_at(text)
        , m_end(end)
        , m_digestStart(text)
    {
    }

    void readHead()
    {
        while (m_at != m_end && *m_at != '\0') {
            if (*m_at == '\n') {
                ++m_at;
                return;
            }
            const std::string_view name = readUpTo(':');
            const std::string_view value = readUpTo('\n');
            takeLine(name, value);
        }
    }

    void passBody()
    {
        const auto there = static_cast<std::size_t>(m_end - m_at);
        m_body = {m_at, std::min<std::size_t>(m_message.contentLength, there)};
        m_at += m_body.size();
    }
    // The body, valid as long as the text.
    std::string_view body() const { return m_body; }
    // Whether nothing follows the body.
    bool isAtEnd() const { return m_at == m_end; }

    // The digest that the text came with does not match it.
    bool hasWrongDigest() const
    {
        if (m_md5.empty())
            return false;
        const std::string_view checked(
            m_digestStart, static_cast<std::size_t>(m_at - m_digestStart));
        const auto isWrong = [&] { return digestOf(checked).view() != m_md5; };
        // With another salt it may be right.
        return isWrong() && (!lookForSaltAgain() || isWrong());
    }

    const char* skipLineFeeds()
    {
        while (m_at != m_end && *m_at == '\n')
            ++m_at;
        return m_at;
    }

private:
    // The text up to a mark or a NUL; steps over the mark.
    std::string_view readUpTo(char mark)
    {
        const auto left = static_cast<std::size_t>(m_end - m_at);
        const void* const found = std::memchr(m_at, mark, left);
        const char* stop = found != nullptr ? static_cast<const char*>(found) : m_end;
        const auto length = static_cast<std::size_t>(stop - m_at);
        // A NUL ends the line, and in readHead the whole head. Streams have replaced it by then;
        // other callers have not.
        if (const void* const nul = std::memchr(m_at, '\0', length))
            stop = static_cast<const char*>(nul);
        const std::string_view text(m_at, static_cast<std::size_t>(stop - m_at));
        m_at = stop != m_end && *stop == mark ? stop + 1 : stop;
        return text;
    }

    void takeLine(std::string_view name, std::string_view value)
    {
        if (takeVersion(name, value) || takeText(name, value) || takeNumber(name, value)
            || takeDigest(name, value))
            return;
        if (m_stripsPrefix && name.starts_with(kHeaderPrefix))
            name.remove_prefix(std::strlen(kHeaderPrefix));
        if (m_headerCount++ < kMaxHeaders)
            m_message.setHeader(SoString(name).get(), SoString(value).get());
    }

    bool takeVersion(std::string_view name, std::string_view value)
    {
        if (name == "Version") {
            // With the prefix it is never one of the unmarked versions.
            m_message.version = kQKPrefix;
            m_message.version.append(value);
            return true;
        }
        if (name != QK_VERSION)
            return false;
        m_message.version.assign(value);
        // Only a line that says so switches the marks off. A text without a version line counts as
        // 1.0, and its marks are removed all the same.
        if (isUnmarkedVersion(value))
            m_stripsPrefix = false;
        return true;
    }

    bool takeText(std::string_view name, std::string_view value)
    {
        SoString* const field = name == QK_SENDER ? &m_message.sender
            : name == QK_TARGET                   ? &m_message.target
            : name == QK_TYPE                     ? &m_message.type
            : name == QK_RESPONSE_REQUEST         ? &m_message.responseRequest
                                                  : nullptr;
        if (field != nullptr)
            field->assign(value);
        return field != nullptr;
    }

    std::uint32_t* numberField(std::string_view name)
    {
        return name == QK_CONTENT_LENGTH ? &m_message.contentLength
            : name == QK_SERIAL_NUMBER   ? &m_message.serialNumber
            : name == QK_RECEIVED        ? &m_message.received
            : name == QK_RESULT          ? &m_message.result
            : name == QK_ERROR           ? &m_message.error
                                         : nullptr;
    }

    bool takeNumber(std::string_view name, std::string_view value)
    {
        if (std::uint32_t* const field = numberField(name))
            *field = number32(value);
        else if (name == QK_TIMEOUT)
            m_message.timeout = static_cast<std::int32_t>(number32(value));
        else if (name == QK_TIMESTAMP)
            m_message.timestamp = static_cast<std::int64_t>(std::min(numberOf(value), kLatestTime));
        else
            return false;
        return true;
    }

    bool takeDigest(std::string_view name, std::string_view value)
    {
        if (name == QK_DIGEST)
            m_digest = value;
        else if (name != QK_MD5)
            return false;
        // After an older digest line, which nobody checks, the newer one is not checked either.
        else if (!m_digest.empty())
            return true;
        else
            m_md5 = value;
        // The digest covers what follows its own line.
        m_digestStart = m_at;
        return true;
    }

    Message& m_message;
    const char* m_at;
    const char* const m_end;
    const char* m_digestStart;
    std::string_view m_digest;
    std::string_view m_md5;
    std::string_view m_body;
    bool m_stripsPrefix = true;
    int m_headerCount = 0;
};

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
    if (!writeHeadToString(out))
        return false;
    out << body;
    return true;
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
