#include "platform/platforms/linux/ports/LocalSocket.h"

#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <atomic>
#include <chrono>

#include <poll.h>
#include <sys/time.h>

namespace Pt {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A wait in the system ends that soon after the process was told to wait no more.
constexpr milliseconds kGlance{100};

std::atomic<bool> gWaitsForNobody{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

Descriptor checked(Descriptor socket, std::error_code& error)
{
    if (isPeerOfThisUser(socket.get())) {
        error.clear();
        return socket;
    }
    error = std::make_error_code(std::errc::permission_denied);
    return {};
}

int connectOnce(int socket, const LocalPortFolder& folder, const std::string& stem)
{
    const LocalAddress address = folder.addressOf(stem + std::string(kSocketEnding));
    return ::connect(socket, address.get(), address.size);
}

// How long a connect on the socket waits from now on; false when the point has passed.
bool limitWait(int socket, SteadyTime deadline)
{
    using std::chrono::microseconds;
    const auto now = steady_clock::now();
    if (endOfWait(deadline) <= now) // none at all would mean for ever
        return false;
    const auto left =
        std::min<microseconds>(std::chrono::ceil<microseconds>(deadline - now), kGlance);
    const timeval limit = {0, left.count()};
    return ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
}

} // namespace

Descriptor makeLocalSocket(int flags)
{
    return Descriptor(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
}

bool isPeerOfThisUser(int socket)
{
    // The user of the other end when it was made: a process that has changed its user since then
    // counts as before.
    ucred peer = {};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
        && peer.uid == ::geteuid();
}

void stopWaitingForOthers()
{
    gWaitsForNobody = true;
}

bool waitsForOthers()
{
    return !gWaitsForNobody;
}

SteadyTime endOfWait(SteadyTime deadline)
{
    return gWaitsForNobody ? SteadyTime::min() : deadline;
}

bool waitFor(int socket, short events, SteadyTime deadline)
{
    for (;;) {
        const auto now = steady_clock::now();
        if (endOfWait(deadline) <= now)
            return false;
        pollfd question = {socket, events, 0};
        const auto left = std::chrono::ceil<milliseconds>(deadline - now);
        const int ready = ::poll(&question, 1, static_cast<int>(std::min(left, kGlance).count()));
        if (ready > 0)
            return true;
        if (ready == -1 && errno != EINTR)
            return false;
    }
}

Descriptor connectToLocalPort(const LocalPortFolder& folder,
    const std::string& stem,
    SteadyTime deadline,
    std::error_code& error)
{
    // A connect that does not wait cannot be polled for: it waits in the system, on the clock.
    Descriptor socket = connectToLocalPort(folder, stem, error);
    if (error != std::errc::resource_unavailable_try_again)
        return socket;
    socket = makeLocalSocket();
    if (!socket.isOpen())
        error = lastError();
    while (socket.isOpen() && limitWait(socket.get(), deadline)) {
        if (connectOnce(socket.get(), folder, stem) == 0)
            return checked(std::move(socket), error);
        error = lastError();
        // A signal, or the limit that was set, ends one wait; the deadline ends all of them.
        if (error != std::errc::interrupted && error != std::errc::resource_unavailable_try_again)
            return {};
    }
    return {};
}

Descriptor connectToLocalPort(
    const LocalPortFolder& folder, const std::string& stem, std::error_code& error)
{
    Descriptor socket = makeLocalSocket(SOCK_NONBLOCK);
    if (!socket.isOpen() || connectOnce(socket.get(), folder, stem) != 0) {
        error = lastError();
        return {};
    }
    // Waiting is for sends to choose, call by call.
    ::fcntl(socket.get(), F_SETFL, 0);
    return checked(std::move(socket), error);
}

bool isHolderMissing(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::connection_refused;
}

bool isLocalPortHeld(const LocalPortFolder& folder, const std::string& stem, std::error_code& error)
{
    connectToLocalPort(folder, stem, error);
    return !isHolderMissing(error);
}

} // namespace Pt
