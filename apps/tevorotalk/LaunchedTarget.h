// What became of an application that a message was to start: made right after the message was sent.
#pragma once

#include "messaging/SoString.h"
#include "platform/common/services/ProcessControl.h"
#include "tevorotalk/BusSession.h"

#include <optional>
#include <string>

namespace tevorotalk {

// Where it is installed; empty if it is not.
std::string installedPath(const ScObjects::SoString& target);

// Whether that is opened in the web instead of started.
bool isWebAddress(const std::string& path);

// What hinders a program at that path from being started; empty if nothing is to be seen.
std::string whyNotStartable(const std::string& path);

class LaunchedTarget {
public:
    // `target` as the bus completed it.
    explicit LaunchedTarget(const ScObjects::SoString& target);

    // Whether a program was to be started and could not be. What the web opens is no program, and
    // what runs already is not started.
    bool hasFailedToStart() const;
    const std::string& path() const { return m_path; }

    // Whether the process has ended and nobody has come up in its stead for a while: a program may
    // only be there to start another one.
    bool isGone();
    // What can be said of it to people who wait for an answer: begins with ";", or is empty.
    std::string state() const;

private:
    bool hasEnded() const;

    ScObjects::SoString m_target;
    std::string m_path;
    Pt::ProcessIdentity m_process; // none if it was not started by this process
    std::optional<SteadyTime> m_endedAt;
};

} // namespace tevorotalk
