// A program in the place of mfx-dng, which does what its name says, as far as it is one of these:
//
//   dies-at-once  never-ready  speaks-first  dies-with-work  hangs  rubbish  ready-again  no-result
//   goes-on       says that it goes on for a second, then that it is done
//   half          fills half a DNG and dies
//   done          says that it is done, with a DNG that nobody looked at
#include "ZQPluginSupport/protocol/WorkMessages.h"
#include "platform/common/files/FileBytes.h"
#include "platform/common/services/WorkerProcess.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using dng::WorkAnswer;

void write(const Pt::ChannelMessage& message)
{
    const std::string bytes = "half a DNG";
    if (Pt::writeAt(message.descriptors.at(1).get(),
            0,
            std::as_bytes(std::span(bytes.data(), bytes.size()))))
        std::abort();
}

void answer(
    const std::string& way, const Pt::DescriptorChannel& talk, const Pt::ChannelMessage& message)
{
    const auto say = [&talk](const std::string& bytes) { return !talk.send(bytes); };
    const std::string done = dng::formatAnswer({WorkAnswer::Kind::kDone});
    if (way == "half" || way == "done")
        write(message);
    if (way == "half" || way == "dies-with-work")
        std::raise(SIGKILL);
    if (way == "hangs")
        ::pause();
    for (int i = 0; way == "goes-on" && i < 20; ++i) {
        say(dng::formatAnswer({WorkAnswer::Kind::kGoesOn}));
        std::this_thread::sleep_for(50ms);
    }
    if (way == "rubbish")
        say("answer:dZ");
    else if (way == "ready-again")
        say(dng::formatAnswer({WorkAnswer::Kind::kReady}));
    else if (way != "no-result")
        say(done);
}

} // namespace

int main(int, char** words)
{
    const std::string way = std::filesystem::path(words[0]).filename().string();
    const Pt::DescriptorChannel talk = Pt::channelToStarter();
    if (way == "dies-at-once")
        return 0;
    while (way == "never-ready")
        ::pause();
    if (way == "speaks-first") {
        if (talk.send(dng::formatAnswer({WorkAnswer::Kind::kDone})))
            return 1;
    } else if (talk.send(dng::formatAnswer({WorkAnswer::Kind::kReady})))
        return 1;
    Pt::ChannelMessage message;
    while (talk.receive(message) == Pt::DescriptorChannel::Heard::kMessage) {
        answer(way, talk, message);
        if (way == "no-result")
            return 0;
    }
    return 0;
}
