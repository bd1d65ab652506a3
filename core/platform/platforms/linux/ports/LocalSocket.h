// The sockets of local ports: packets, never inherited by other programs. Any thread.
#pragma once

#include "platform/platforms/linux/ports/LocalPortFolder.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <chrono>
#include <string>
#include <system_error>

namespace Pt {

using SteadyTime = std::chrono::steady_clock::time_point;

// Not open when the system refuses; errno then says why.
Descriptor makeLocalSocket(int flags = 0);

// Whether a process of this user made the other end.
bool isPeerOfThisUser(int socket);

// When a wait up to that point ends: at once after stopWaitingForOthers().
SteadyTime endOfWait(SteadyTime deadline);

// Waits until poll() reports one of those events, or the end of the other side; false when the
// point has passed, or the process waits for nobody any more. Any number of threads may wait on one
// socket.
bool waitFor(int socket, short events, SteadyTime deadline);

// Connected to the port with that stem. Not open, with: no_such_file_or_directory or
// connection_refused when nobody holds it; resource_unavailable_try_again when its queue of
// newcomers was full up to the deadline; permission_denied for a port of another user.
Descriptor connectToLocalPort(const LocalPortFolder& folder,
    const std::string& stem,
    SteadyTime deadline,
    std::error_code& error);

// The same without waiting.
Descriptor connectToLocalPort(
    const LocalPortFolder& folder, const std::string& stem, std::error_code& error);

// Whether a connect failed because nobody holds the port: "no such file" or "connection refused",
// and nothing else. For want of a descriptor, say, an application that runs would be called gone.
bool isHolderMissing(const std::error_code& error);

// Whether somebody holds the port; what hinders the question counts as held.
bool isLocalPortHeld(
    const LocalPortFolder& folder, const std::string& stem, std::error_code& error);

} // namespace Pt
