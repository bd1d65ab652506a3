// The receiving side of a launch: what was left for a process that starts. Runs on the thread that
// sets the bus up, and may block it for minutes.
#pragma once

#include "messaging/SoString.h"
#include "messaging/process/LaunchNames.h"

namespace ScObjects::TevoroTalkData {

// Holds that name until a message has come, and copies its body to `parameters`. Waits that many
// seconds, counted in steps. False if none has come; true, and no change of `parameters`, if
// another process holds the name.
bool receiveLaunchParams(const SoString& queueName,
    SoString& parameters,
    unsigned int seconds,
    std::chrono::milliseconds step = kLaunchStep);

} // namespace ScObjects::TevoroTalkData
