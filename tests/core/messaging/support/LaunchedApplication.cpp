// An application that tests launch. It gets no arguments; the environment says what it is to do:
//
//   LAUNCHED_AS       its name on the bus
//   LAUNCHED_REPORT   a folder, in which it writes a file PROCESS-ID when it is up: its name, and
//                     its launch options
//   LAUNCHED_MODE     "dies": ends at once; "silent": never comes to the bus; "twice": starts
//                     itself a second time first; else it answers scripts:
//     options         its launch options
//     ask NAME        what the store of that application has for whoever is launched under its name
//     quit            ends it
//     other texts     "you said " and the text
//
// Ends after a minute, whatever it does.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkPing.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

constexpr unsigned int kLife = 60; // seconds
constexpr const char* kSecond = "LAUNCHED_SECOND";

std::string setting(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool gMustQuit = false;

SoString waitingAt(const std::string& launcher)
{
    const std::string key = "LAUNCHPARAMS:" + setting("LAUNCHED_AS");
    return TevoroTalk::Thread::ping(launcher.c_str(), key.c_str(), 5, nullptr);
}

class ScriptHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason != kRequest)
            return 0;
        const std::string script(message.body.view());
        SoString answer = "you said ";
        answer << script.c_str();
        if (script == "options")
            answer = TevoroTalk::getLaunchOptions();
        else if (script.starts_with("ask "))
            answer = waitingAt(script.substr(4));
        gMustQuit |= script == "quit";
        if (result != nullptr)
            *result = answer;
        return 0;
    }
};

void report(const std::string& text)
{
    const std::filesystem::path path =
        std::filesystem::path(setting("LAUNCHED_REPORT")) / std::to_string(::getpid());
    const std::filesystem::path part = path.string() + ".part";
    std::ofstream(part) << text;
    std::filesystem::rename(part, path);
}

void startSecond(char** words)
{
    if (std::getenv(kSecond) != nullptr || ::fork() != 0)
        return;
    ::setenv(kSecond, "1", 1);
    ::execv("/proc/self/exe", words);
    ::_exit(127);
}

} // namespace

int main(int, char** words)
{
    const std::string mode = setting("LAUNCHED_MODE");
    if (mode == "dies")
        return 3;
    ::alarm(kLife);
    if (mode == "silent") {
        report("silent\n");
        for (;;)
            ::pause();
    }
    if (mode == "twice")
        startSecond(words);
    TevoroTalk bus(setting("LAUNCHED_AS").c_str(), new ScriptHandler, true, nullptr);
    report(
        bus.getAppName().get() + std::string("\n") + TevoroTalk::getLaunchOptions().get() + "\n");
    while (!gMustQuit && bus.waitForMessage(-1))
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
}
