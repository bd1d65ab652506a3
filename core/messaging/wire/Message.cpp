#include "messaging/Message.h"

#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/MessageGlobals.h"

#include <algorithm>
#include <string>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

// The types of the wire format that belong to the bus; docs/wire-format.md lists them.
constexpr const char* kRuntimeTypes[] = {kQuillscriber,
    kDebug,
    kReceive,
    QK_RECEIVED,
    QK_RESULT,
    QK_ERROR,
    kIdleType,
    QK_TIMEOUT,
    kLog,
    kIgnore,
    kProcessed,
    kLaunchedType};

bool isValid(std::uint32_t number)
{
    return number != QK_INVALID_MESSAGE_NUMBER;
}

} // namespace

TevoroTalk::Header::Header(const char* headerName, const char* headerValue)
    : name(headerName)
    , value(headerValue)
{
}

TevoroTalk::Message::Message()
    : type(kQuillscriber)
    , timestamp(TevoroTalkUtils::getTimeSeconds())
    , version(kMessageVersion)
{
}

TevoroTalk::Message::Message(const Message& other)
    : SoLockable(other)
    , target(other.target)
    , sender(other.sender)
    , timeout(other.timeout)
    // A copy is what a handler sees, and handlers are found by the type.
    , type(other.type.isEmpty() ? SoString(kQuillscriber) : other.type)
    , responseRequest(other.responseRequest)
    , timestamp(other.timestamp)
    , contentLength(other.contentLength)
    , serialNumber(other.serialNumber)
    , received(other.received)
    , result(other.result)
    , error(other.error)
    , body(other.body)
    , version(other.version)
    , digestStatus(other.digestStatus)
    , m_lacksHeader(other.m_lacksHeader)
{
    // Each goes to the front, which reverses the order, on purpose: reading does the same, so it is
    // never reliable.
    for (const Header* header = other.headers; header != nullptr; header = header->next)
        addHeader(header->name.view(), header->value.view());
}

TevoroTalk::Message::~Message()
{
    deleteHeaders();
}

void TevoroTalk::Message::deleteHeaders()
{
    while (headers != nullptr) {
        Header* const next = headers->next;
        delete headers;
        headers = next;
    }
}

TevoroTalk::Header* TevoroTalk::Message::findHeader(std::string_view name) const
{
    Header* header = headers;
    while (header != nullptr && header->name.view() != name)
        header = header->next;
    return header;
}

void TevoroTalk::Message::setHeader(const char* name, const char* value)
{
    if (name == nullptr || *name == '\0')
        return;
    Header* const present = findHeader(name);
    const ObjectLock lock(*this);
    if (present != nullptr) {
        present->value = value;
        return;
    }
    addHeader(name, value != nullptr ? value : "");
}

TevoroTalk::Header* TevoroTalk::Message::addHeader(std::string_view name, std::string_view value)
{
    auto* const header = new Header("", "");
    if (header == nullptr) {
        m_lacksHeader = true;
        return nullptr;
    }
    header->name.assign(name);
    header->value.assign(value);
    header->next = headers;
    headers = header;
    return header;
}

void TevoroTalk::Message::setHeader(const char* name, long value)
{
    setHeader(name, std::to_string(value).c_str());
}

void TevoroTalk::Message::setHeader(const char* name, unsigned long value)
{
    setHeader(name, std::to_string(value).c_str());
}

void TevoroTalk::Message::removeHeader(const char* name)
{
    const ObjectLock lock(*this);
    for (Header** link = &headers; *link != nullptr; link = &(*link)->next) {
        if ((*link)->name == name) {
            Header* const gone = *link;
            *link = gone->next;
            delete gone;
            return;
        }
    }
}

SoString TevoroTalk::Message::getUserHeaderValue(const char* name) const
{
    const Header* const header = name != nullptr ? findHeader(name) : nullptr;
    return header != nullptr ? header->value : SoString();
}

bool TevoroTalk::Message::isUserType() const
{
    return std::none_of(std::begin(kRuntimeTypes),
        std::end(kRuntimeTypes),
        [this](const char* word) { return type == word; });
}

bool TevoroTalk::Message::isWhole() const
{
    if (m_lacksHeader)
        return false;
    for (const SoString* text : {&target, &sender, &type, &responseRequest, &version, &body})
        if (text->hasFailed())
            return false;
    for (const Header* header = headers; header != nullptr; header = header->next)
        if (header->name.hasFailed() || header->value.hasFailed())
            return false;
    return true;
}

bool TevoroTalk::Message::isRejected() const
{
    // A message that came without a digest has an empty status. "NODIGEST" means that the digest
    // was not looked at, as authentication was off.
    return digestStatus == "REJECTED" || digestStatus == "NODIGEST";
}

bool TevoroTalk::Message::logToString(const char* label, SoString& out, bool withBody) const
{
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    out.shrink(0);
    const auto line = [&out](const char* word, const SoString& value) {
        out << word << ": " << value << "\n";
    };
    const auto number = [&out](const char* word, std::uint32_t value) {
        if (isValid(value))
            out << word << ": " << value << "\n";
    };
    out << "QK " << label << "------------------\n";
    line(QK_TARGET, target);
    line(QK_SENDER, sender);
    if (!type.isEmpty())
        line(QK_TYPE, type);
    if (!responseRequest.isEmpty())
        line(QK_RESPONSE_REQUEST, responseRequest);
    if (timeout != 0) {
        out << QK_TIMEOUT << ": " << timeout << "\n";
        out << "Deadline: " << long{timestamp + timeout} << "\n";
    }
    out << "Now: " << long{now} << "\n";
    out << QK_SERIAL_NUMBER << ":" << serialNumber << "\n";
    out << "Version:" << version << "\n";
    number(QK_RECEIVED, received);
    number(QK_RESULT, result);
    number(QK_ERROR, error);
    out << QK_CONTENT_LENGTH << ": " << body.length() << "\n";
    if (headers != nullptr)
        out << "Custom Headers:\n";
    for (const Header* header = headers; header != nullptr; header = header->next)
        out << "   " << header->name << ": " << header->value << "\n";
    out << "\n";
    out << (withBody ? body.get() : "<<BODY OMITTED>>") << "\n";
    return true;
}

void TevoroTalk::Message::setAuthentication(bool on)
{
    MessageGlobals::get().setAuthentication(on);
}

bool TevoroTalk::Message::getAuthentication()
{
    return MessageGlobals::get().getAuthentication();
}

void TevoroTalk::Message::setCreateDigest(bool on)
{
    MessageGlobals::get().setCreateDigest(on);
}

bool TevoroTalk::Message::getCreateDigest()
{
    return MessageGlobals::get().getCreateDigest();
}

} // namespace ScObjects
