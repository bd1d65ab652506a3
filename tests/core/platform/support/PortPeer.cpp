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
//   answer DESCRIPTORS
//                  with no more descriptors than that, says "held" and sends "answer" to each port
//                  that a text names
//   crowd COUNT TIMES
//                  as many processes at once, each of which holds a port of its own and that many
//                  times sends its name and waits for an answer; says "answered COUNT"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
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

int answer(const Words& words)
{
    const rlim_t most = std::stoul(words[2]);
    const rlimit limit = {most, most};
    const auto port = Pt::LocalPort::hold(test::bytesOf(words[1]));
    Pt::DescriptorSet waited;
    waited.add(STDIN_FILENO);
    waited.add(port->descriptor());
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 1;
    Pt::LocalPortSender sender;
    say("held");
    while (!hasInputEnded()) {
        waited.wait(kLong);
        std::vector<std::string> names;
        port->receive([&](char* text, std::size_t size) { names.emplace_back(text, size); });
        for (const std::string& name : names)
            if (!sender.send(name, "answer", kLong))
                say("not answered " + name);
    }
    return 0;
}

bool isAnswered(const std::string& target, std::size_t times)
{
    const std::string own = target + std::to_string(::getpid());
    const auto port = Pt::LocalPort::hold(own);
    Pt::LocalPortSender sender;
    std::size_t answers = 0;
    for (std::size_t asked = 0; port && asked < times; ++asked) {
        if (!sender.send(target, own, kLong))
            return false;
        while (answers <= asked && port->wait(kLong))
            answers += port->receive([](char*, std::size_t) {});
    }
    return answers == times;
}

int crowd(const Words& words)
{
    const std::string target = test::bytesOf(words[1]);
    int start[2] = {};
    if (::pipe2(start, O_CLOEXEC) != 0)
        return 1;
    std::vector<pid_t> children;
    for (std::size_t i = 0; i < std::stoul(words[2]); ++i) {
        children.push_back(::fork());
        if (children.back() != 0)
            continue;
        char byte = 0;
        ::close(start[1]);
        // The end of the pipe starts all of them.
        const bool isStarted = ::read(start[0], &byte, 1) == 0;
        ::_exit(isStarted && isAnswered(target, std::stoul(words[3])) ? 0 : 1);
    }
    ::close(start[1]);
    int answered = 0;
    for (const pid_t child : children) {
        int status = 1;
        answered += ::waitpid(child, &status, 0) == child && status == 0 ? 1 : 0;
    }
    say("answered " + std::to_string(answered));
    ::close(start[0]);
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
        {"stream", 4, stream},
        {"answer", 3, answer},
        {"crowd", 4, crowd}};
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
