// The browser's place on the bus: holds its name, and hands over the scripts that come. Driven by
// the application's event loop, through the descriptor of its mailbox.
//
// One instance in a process, on the thread of the application, which has to exist already.
#pragma once

#include "messaging/TevoroTalk.h"
#include "tevoro/CommandLine.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tevoro {

class BusLink {
public:
    struct Answer {
        bool ok = false;
        QString text; // the result, or what went wrong
    };
    using ScriptHandler = std::function<Answer(std::string_view script)>; // as it was sent

    // Waits for the parameters of a launch, if any were announced. Throws a CommandError when the
    // bus cannot be used.
    explicit BusLink(const CommandLine& line);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    // Gives up the name; nothing comes any more. The destructor does it, too.
    void leave();

    // From now on scripts go to that handler, from the event loop of this thread.
    void drive(ScriptHandler handler);

    // The name that it got: with a number, when the name was held.
    std::string name() const;
    // Whether another program started this one, to send it a script: nobody has asked for a folder
    // then.
    bool wasLaunched() const { return m_wasLaunched; }

private:
    std::unique_ptr<ScObjects::TevoroTalk> m_bus;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_wasLaunched = false;
};

} // namespace tevoro
