// Starts applications. The parameters do not go to the program as arguments: they wait as messages
// for the ports that the new process opens (see LaunchParameters.h), and handlers of the main
// instance take away what is left once the process has answered, or when its time is over.
//
// Only class-level operations; any thread may call. Nothing here waits for the new process.
#pragma once

#include "messaging/TevoroTalk.h"
#include "messaging/process/LaunchNames.h"
#include "platform/common/services/ProcessControl.h"

#include <memory>
#include <optional>

namespace ScObjects::TevoroTalkUtils {

class Launcher {
public:
    // Kept as it was asked for: what is started here decides itself whether it comes to the front.
    enum Focus { kTakeFocus = 0, kKeepFocus = 1 };
    enum SearchHint { kByBundlePath = 3 }; // the only one that is served

    // Starts the program at that path, or opens the address in the web with the desktop's program
    // for it; parameters only go to a program, and may be null for none. `pid` receives the
    // process id, 0 without one. False if nothing lies at the path; a program that is there and
    // cannot be started gives true, and what was prepared for it runs out.
    static bool launch(const SoString& specifier,
        const SoString& path,
        const SoString* parameters,
        Focus focus,
        unsigned long* pid);

    // Brings the first process of the program at that path to the front; nothing if there is none.
    static void bringToFront(const SoString& path, SearchHint hint);

    // Whether the process is running; false for 0. One that was started here is not mistaken for a
    // later one that got its number.
    static bool isProcessRunning(unsigned long pid);

    // A process that another one has started for an application that it is about to be; it counts
    // as one that was started here.
    static void adopt(const Pt::ProcessIdentity& process);
    // What was started here last with that id; nothing if none was.
    static std::optional<Pt::ProcessIdentity> startedProcess(unsigned long pid);

    // What waits for an application until it is up, on this main instance: a message with
    // parameters to that port.
    static void queueParameters(TevoroTalk& instance,
        TevoroTalkContext& context,
        const SoString& target,
        const SoString& parameters);

    // The exchange of that number is over; takes one of its handlers away, and what would have told
    // that no answer came.
    static void endWatch(TevoroTalk& instance, const char* handlerType, std::uint32_t serialNumber);
    static void removeOutgoing(TevoroTalk& instance, std::uint32_t serialNumber);

private:
    using Message = TevoroTalk::Message;
    class Preparation;

    static std::unique_ptr<Message> makeMessage(
        const TevoroTalk& instance, TevoroTalkContext& context, const SoString& target);
    static std::unique_ptr<Message> makeParameters(const TevoroTalk& instance,
        TevoroTalkContext& context,
        const SoString& target,
        const SoString& parameters);
    static std::unique_ptr<Message> makeWatcher(
        const TevoroTalk& instance, std::uint32_t serialNumber);
    static void queue(TevoroTalk& instance, std::unique_ptr<Message> message);
    static void watch(TevoroTalk& instance,
        const SoString& key,
        std::uint32_t serialNumber,
        const SoString& flagOf);
};

} // namespace ScObjects::TevoroTalkUtils
