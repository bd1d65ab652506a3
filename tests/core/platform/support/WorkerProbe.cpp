// A program for the tests of workers. It answers each message of its starter:
//
//   say NAME        the value of that environment variable
//   open            which descriptors it has, beside the talk, as numbers
//   write TEXT      writes TEXT into the file that came with the message; "done" or an error
//   grow BYTES      takes so much memory; "done" or "no memory"
//   spin            computes until it is ended
//   end             ends
//   shut            goes behind the fence for files; "done" or an error
#include "platform/common/files/FileBytes.h"
#include "platform/common/services/ProcessFence.h"
#include "platform/common/services/WorkerProcess.h"

#include <cstdlib>
#include <new>
#include <span>
#include <string>
#include <vector>

#include <fcntl.h>

namespace {

std::string openDescriptors(int talk)
{
    std::string numbers;
    for (int number = 3; number < 64; ++number)
        if (number != talk && ::fcntl(number, F_GETFD) != -1)
            numbers += std::to_string(number) + ' ';
    return numbers;
}

std::string textOf(const std::error_code& error)
{
    return error ? error.message() : "done";
}

std::string written(const Pt::ChannelMessage& message, const std::string& text)
{
    return textOf(Pt::writeAt(
        message.descriptors.at(0).get(), 0, std::as_bytes(std::span(text.data(), text.size()))));
}

std::string grown(std::size_t bytes)
try {
    const std::vector<char> memory(bytes, 'x');
    return memory.back() == 'x' ? "done" : "";
} catch (const std::bad_alloc&) {
    return "no memory";
}

std::string answerTo(const Pt::ChannelMessage& message, int talk)
{
    const std::size_t space = message.bytes.find(' ');
    const std::string word = message.bytes.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : message.bytes.substr(space + 1);
    if (word == "say") {
        const char* const value = std::getenv(rest.c_str());
        return value ? value : "nothing";
    }
    if (word == "open")
        return openDescriptors(talk) + '.';
    if (word == "write")
        return written(message, rest);
    if (word == "grow")
        return grown(std::stoul(rest));
    if (word == "shut")
        return textOf(Pt::shutOffSystem(Pt::FenceWork::kFiles));
    while (word == "spin") { }
    return "";
}

} // namespace

int main()
{
    Pt::closeInheritedDescriptors();
    const Pt::DescriptorChannel talk = Pt::channelToStarter();
    Pt::ChannelMessage message;
    while (
        talk.receive(message) == Pt::DescriptorChannel::Heard::kMessage && message.bytes != "end")
        if (talk.send(answerTo(message, talk.descriptor())))
            return 1;
    return 0;
}
