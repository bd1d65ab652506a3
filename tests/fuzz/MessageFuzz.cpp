// Any bytes as messages of the bus: reading stays in the text and goes forward, and a message that
// was read comes through once more, with the digest that its writer gives it.

#include "fuzz/Require.h"
#include "messaging/Message.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <stdlib.h>

using fuzz::require;
using ScObjects::SoString;
using Message = ScObjects::TevoroTalk::Message;
using HeaderLines = std::vector<std::pair<std::string, std::string>>;

namespace {

// Without the line that each writer makes anew.
HeaderLines headersOf(const Message& message)
{
    HeaderLines lines;
    for (const auto* header = message.headers; header != nullptr; header = header->next)
        if (header->name != "Sender-ID")
            lines.emplace_back(header->name.view(), header->value.view());
    return lines;
}

// Whether the name of a custom header comes through: one that a mark hid may be no name of a line.
bool isPlain(std::string_view name)
{
    return name.find('\n') == std::string_view::npos && !name.starts_with("@HDR>")
        && name != "Version" && name != "@QK>MD5" && name != "@QK>Digest";
}

bool isPlain(const Message& message)
{
    const HeaderLines headers = headersOf(message);
    return message.version != "" && message.version != "1.0" && message.version != "2.0"
        && std::all_of(headers.begin(), headers.end(), [](const auto& header) {
               return isPlain(header.first);
           });
}

void requireSame(const Message& one, const Message& other)
{
    require(one.version == other.version && one.target == other.target);
    require(one.sender == other.sender && one.timeout == other.timeout);
    require(one.type == other.type || one.type.isEmpty()); // no line: the type that is there stays
    require(one.responseRequest == other.responseRequest);
    require(one.serialNumber == other.serialNumber && one.received == other.received);
    require(one.result == other.result && one.error == other.error);
    require(one.body.view() == other.body.view());
    HeaderLines headers = headersOf(other);
    std::reverse(headers.begin(), headers.end());
    require(headersOf(one) == headers);
}

void checkOnceMore(const Message& message)
{
    SoString text;
    if (!message.writeToString(text)) {
        require(message.target.isEmpty() || message.sender.isEmpty());
        require(text.isEmpty());
        return;
    }
    Message again;
    const char* const end = text.get() + text.length();
    const char* const rest = again.readFromString(text.get(), end);
    if (!isPlain(message))
        return;
    require(rest == end && !again.isRejected());
    requireSame(message, again);
}

void checkDescriptions(const Message& message)
{
    SoString log;
    require(message.logToString("label", log, true) && log.view().starts_with("QK label---"));
    SoString lines;
    message.appendDiagnostics(lines, "/root");
    require(lines.view().starts_with("/root/msg"));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    ::unsetenv("HOME"); // no identity of the user who runs this
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const char* at = reinterpret_cast<const char*>(data);
    const char* const end = at + size;
    for (;;) {
        Message message;
        const char* const next = message.readFromString(at, end);
        require(next >= at && next <= end);
        require(message.body.length() <= next - at);
        require(message.timestamp >= 0);
        checkDescriptions(message);
        checkOnceMore(message);
        if (next == at || next == end)
            return 0;
        at = next;
    }
}
