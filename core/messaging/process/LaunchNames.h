// All fixed words, places and times of launching an application; docs/bus.md describes them.
#pragma once

#include "messaging/SoString.h"

#include <chrono>
#include <cstdint>

namespace ScObjects {

namespace TevoroTalkData {

// Longest texts that launchTarget() takes, in bytes.
inline constexpr std::size_t kMaxLaunchTarget = 256;
inline constexpr std::size_t kMaxLaunchParameters = 65536;

// How long parameters wait for the application that they are for, in seconds.
inline constexpr std::int32_t kLaunchLife = 300;

// The type of the messages that carry parameters, and the key under which they stand in the store
// for pings, followed by a specifier.
inline constexpr const char* kLaunchType = "LaunchParams";
inline constexpr const char* kLaunchKey = "LAUNCHPARAMS:";
// In place of "launchparams": a port whose mere existence says that parameters wait.
inline constexpr const char* kLaunchFlag = "haslaunchparams";

// An option of whoever launches: no parameters are passed on.
inline constexpr const char* kNoParameters = "-noparam";
// An application that takes none in any case.
inline constexpr const char* kTakesNoParameters = "folioview-8.0";

// Whoever else is just starting an application is waited for that long; a start takes milliseconds.
inline constexpr std::chrono::seconds kMaxTurnWait{5};

// A file in an application's folder: an alias of the program that is started in its stead.
inline constexpr const char* kDeveloperApp = "DeveloperApp";

// What a path in the web begins with.
inline constexpr const char* kWebScheme = "https://";

// Waits for parameters: so long for those to this very process, then for those to any copy of the
// application; counted in steps, each of which ends early when something has come.
inline constexpr unsigned int kOwnParametersWait = 10; // seconds
inline constexpr unsigned int kParametersWait = 200; // seconds
inline constexpr std::chrono::seconds kLaunchStep{4};

// The folder that getNextAppInstance() looks in, and the variable of the environment that names
// another one.
inline constexpr const char* kLaunchFolder = "/Library/Application Support/Velmo/Launch";
inline constexpr const char* kLaunchFolderVariable = "TEVOROTALK_LAUNCH_DIR";

// The flag's port of an application, as getLaunchMsgQueueName() names its queue.
SoString launchFlagName(const SoString& specifier);
// The port of one process of an application.
SoString launchPidQueueName(const SoString& specifier, unsigned long processId);

} // namespace TevoroTalkData
} // namespace ScObjects
