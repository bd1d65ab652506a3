// The other process of the tests of local ports. Usage: port_peer COMMAND NAME [ARGUMENT ...]; the
// name as "x" and hexadecimal digits. It ends when its standard input ends.
//
//   hold           says "held" or "taken", then what each text is that comes in
//   sit            the same, but never reads a text
//   compete        waits for a line before it does the same as hold
//   ask            asks over and over whether the name is free; at the end says "asked TIMES"
//   send NUMBER SIZE PATIENCE
//                  for each line of input sends a text, the next number each; says "sent" or "not"
//   stream COUNT SIZE
//                  waits for a line, sends as many numbered texts and says "done" or "failed"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using Words = std::vector<std::string>;

constexpr milliseconds kLong{60000};

void say(const std::string& line)
{
    std::cout << line << std::endl; // each line is waited for
}

bool hasInputEnded()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) == 1;
}

bool awaitLine()
{
    std::string line;
    return static_cast<bool>(std::getline(std::cin, line));
}

int hold(const Words& words)
{
    const auto port = Pt::LocalPort::hold(test::bytesOf(words[1]));
    say(port ? "held" : "taken");
    Pt::DescriptorSet waited;
    waited.add(STDIN_FILENO);
    if (port)
        waited.add(port->descriptor());
    while (!hasInputEnded()) {
        waited.wait(kLong);
        if (port)
            port->receive([](char* text, std::size_t size) { say(test::described({text, size})); });
    }
    return 0;
}

int sit(const Words& words)
{
    const auto port = Pt::LocalPort::hold(test::bytesOf(words[1]));
    say(port ? "held" : "taken");
    awaitLine();
    return 0;
}

int compete(const Words& words)
{
    awaitLine();
    return hold(words);
}

int ask(const Words& words)
{
    const std::string name = test::bytesOf(words[1]);
    say("asking");
    long times = 0;
    for (; !hasInputEnded(); ++times)
        Pt::isLocalPortFree(name);
    say("asked " + std::to_string(times));
    return 0;
}

int send(const Words& words)
{
    const std::string name = test::bytesOf(words[1]);
    std::size_t number = std::stoul(words[2]);
    const std::size_t size = std::stoul(words[3]);
    const milliseconds patience(std::stol(words[4]));
    Pt::LocalPortSender sender;
    while (awaitLine())
        say(sender.send(name, test::numberedText(number++, size), patience) ? "sent" : "not");
    return 0;
}

int stream(const Words& words)
{
    const std::string name = test::bytesOf(words[1]);
    const std::size_t count = std::stoul(words[2]);
    const std::size_t size = std::stoul(words[3]);
    awaitLine();
    Pt::LocalPortSender sender;
    bool areSent = true;
    for (std::size_t number = 0; areSent && number < count; ++number)
        areSent = sender.send(name, test::numberedText(number, size), kLong);
    say(areSent ? "done" : "failed");
    awaitLine();
    return 0;
}

int run(const Words& words)
{
    struct Command {
        const char* name;
        std::size_t words;
        int (*run)(const Words&);
    };
    const Command commands[] = {{"hold", 2, hold},
        {"sit", 2, sit},
        {"compete", 2, compete},
        {"ask", 2, ask},
        {"send", 5, send},
        {"stream", 4, stream}};
    for (const Command& command : commands)
        if (!words.empty() && words[0] == command.name && words.size() == command.words)
            return command.run(words);
    std::fputs("port_peer: see its opening comment\n", stderr);
    return 2;
}

} // namespace

int main(int count, char** words)
{
    return run(Words(words + 1, words + count));
}
