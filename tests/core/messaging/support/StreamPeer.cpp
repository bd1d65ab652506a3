// The other process of the tests of streams. Usage: stream_peer NAME. Makes a stream of that name
// or the next that is free, and says its name, or "null". Then it does what each line of its input
// asks for, and ends when that ends:
//
//   send TARGET HEX    sends those bytes ("x" and hexadecimal digits); says "sent" or "not"
//   fill TARGET SIZE   the same with a numbered text of that size
//   read COUNT         waits for as many bytes and says them ("x" and hexadecimal digits)
//   describe COUNT     the same, but says how many there are and their hash
#include "core/platform/support/PortText.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include <poll.h>

namespace {

using ScObjects::InterAppStream;
using ScObjects::SoString;

constexpr int kLong = 60000; // milliseconds

void say(const std::string& line)
{
    std::cout << line << std::endl; // each line is waited for
}

std::string await(InterAppStream& stream, std::size_t count)
{
    std::string text;
    while (text.size() < count) {
        pollfd question = {stream.waitDescriptor(), POLLIN, 0};
        if (!stream.messagePending() && ::poll(&question, 1, kLong) != 1)
            break;
        while (stream.messagePending() && stream.receive()) { }
        text += stream.getMessages().view();
    }
    return text;
}

void send(const InterAppStream& stream, const std::string& target, const std::string& text)
{
    say(stream.send(target.c_str(), SoString(std::string_view(text))) ? "sent" : "not");
}

bool obey(InterAppStream& stream, std::istringstream words)
{
    std::string command;
    std::string target;
    std::string text;
    std::size_t count = 0;
    words >> command;
    if (command == "send" && words >> target >> text)
        send(stream, target, test::bytesOf(text));
    else if (command == "fill" && words >> target >> count)
        send(stream, target, test::numberedText(0, count));
    else if (command == "read" && words >> count)
        say(test::hexOf(await(stream, count)));
    else if (command == "describe" && words >> count)
        say(test::described(await(stream, count)));
    else
        return false;
    return true;
}

} // namespace

int main(int count, char** words)
{
    if (count != 2)
        return 2;
    const std::unique_ptr<InterAppStream> stream(
        ScObjects::TevoroTalkUtils::createNextAvailableInterAppStream(words[1]));
    say(stream ? stream->getSpecifier().get() : "null");
    bool wasObeyed = true;
    for (std::string line; wasObeyed && std::getline(std::cin, line);)
        wasObeyed = stream && obey(*stream, std::istringstream(line));
    return wasObeyed ? 0 : 2;
}
