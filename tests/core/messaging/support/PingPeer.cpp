// An application on the bus in a process of its own. Usage: ping_peer NAME. Says its name once its
// ports are open, then does what the lines of its input say, one line of output for each, until the
// input ends. While it waits for a line its main thread does nothing at all.
//
//   pump COUNT MILLISECONDS       pumps that often, at that pace
//   serve                         pumps until the next line comes; says nothing
//   value KEY VALUE SECONDS       sets a value of the ping store; 0 for no time-out
//   ping TARGET COMMAND SECONDS   the reply
//   storm TARGET COUNT            asks for KEY0 to KEY9 in turn; the number of right answers
//   log TEXT                      logs a text
//   send TARGET TEXT              sends a message
//   fork                          lets a child process end with the bus up; its exit status
//   memory                        the most that it ever had of memory, in kilobytes
//   limit MEGABYTES               takes no more address space than that beside what it has
//   exit                          ends at once, with the bus up; says nothing
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/TevoroTalkThread.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>

#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkThread;
using ScObjects::TevoroTalkUtils::sleep;

class QuietHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int, TevoroTalk::Message&, SoString*) override { return 0; }
};

bool readLine(std::string& line)
{
    line.clear();
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1) {
        if (byte == '\n')
            return true;
        line += byte;
    }
    return false;
}

std::string pump(std::istream& words)
{
    unsigned int count = 0;
    unsigned int pace = 0;
    for (words >> count >> pace; count > 0; --count) {
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        sleep(pace);
    }
    return "pumped";
}

void serve(const TevoroTalk& bus)
{
    pollfd questions[] = {{STDIN_FILENO, POLLIN, 0}, {bus.waitDescriptor(), POLLIN, 0}};
    for (; questions[0].revents == 0; ::poll(questions, 2, -1))
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
}

std::string value(std::istream& words)
{
    std::string key;
    std::string text;
    std::int32_t seconds = 0;
    words >> key >> text >> seconds;
    TevoroTalk::Thread::setPingValue(key.c_str(), text.c_str());
    TevoroTalkThread::getMainThread()->setTimeout(key.c_str(), seconds);
    return "set";
}

std::string ping(std::istream& words)
{
    std::string target;
    std::string command;
    std::int32_t seconds = 0;
    words >> target >> command >> seconds;
    return TevoroTalk::Thread::ping(target.c_str(), command.c_str(), seconds, nullptr).get();
}

std::string storm(std::istream& words)
{
    constexpr std::int32_t kSeconds = 30;
    std::string target;
    int count = 0;
    words >> target >> count;
    int right = 0;
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i % 10);
        const SoString answer =
            TevoroTalk::Thread::ping(target.c_str(), ("KEY" + number).c_str(), kSeconds, nullptr);
        right += answer == ("value" + number).c_str() ? 1 : 0;
    }
    return std::to_string(right);
}

std::string log(std::istream& words)
{
    std::string text;
    words >> text;
    ScObjects::TevoroTalkUtils::logText(text.c_str());
    return "logged";
}

std::string send(const TevoroTalk& bus, std::istream& words)
{
    std::string target;
    std::string text;
    words >> target >> text;
    TevoroTalk::Message message;
    message.target = target.c_str();
    message.body = text.c_str();
    return bus.send(message, false, 0, nullptr) ? "sent" : "failed";
}

// Kilobytes, by the name that the system gives.
long kilobytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::atol(line.c_str() + name.size() + 1);
    return -1;
}

std::string memory(std::istream&)
{
    return std::to_string(kilobytes("VmHWM"));
}

std::string limit(std::istream& words)
{
    rlim_t megabytes = 0;
    words >> megabytes;
    rlimit both = {};
    both.rlim_cur = both.rlim_max =
        (static_cast<rlim_t>(kilobytes("VmSize")) << 10U) + (megabytes << 20U);
    return ::setrlimit(RLIMIT_AS, &both) == 0 ? "limited" : "not";
}

void say(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void waitForThread()
{
    while (TevoroTalkThread::getMainThread()->getSpecifier().isEmpty())
        sleep(1);
}

std::string forkChild(std::istream&)
{
    const pid_t child = ::fork();
    if (child == 0)
        std::exit(0);
    int status = -1;
    ::waitpid(child, &status, 0);
    return std::to_string(status);
}

} // namespace

int main(int count, char** words)
{
    if (count != 2)
        return 2;
    TevoroTalk bus(words[1], new QuietHandler, true, nullptr);
    if (TevoroTalkThread::getMainThread() == nullptr)
        return 3;
    waitForThread();
    say(bus.getAppName().get());
    const std::map<std::string, std::function<std::string(std::istream&)>> commands = {
        {"pump", pump},
        {"value", value},
        {"ping", ping},
        {"storm", storm},
        {"limit", limit},
        {"log", log},
        {"fork", forkChild},
        {"memory", memory},
        {"send", [&bus](std::istream& rest) { return send(bus, rest); }},
    };
    for (std::string line; readLine(line);) {
        std::istringstream rest(line);
        std::string command;
        rest >> command;
        if (command == "exit")
            std::exit(0);
        if (command == "serve")
            serve(bus);
        else
            say(commands.at(command)(rest));
    }
    return 0;
}
