#include "platform/common/ports/PortWatch.h"

#include "platform/platforms/linux/ports/LocalPortFolder.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <array>

#include <poll.h>
#include <sys/inotify.h>

namespace Pt {

PortWatch::PortWatch()
    : m_descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    std::error_code error;
    for (const LocalPortFolder& folder : openLocalPortFolders(error))
        // Not the making of the socket's file, which nobody listens at yet: see HeldName::announce.
        ::inotify_add_watch(m_descriptor.get(), folder.path().c_str(), IN_ATTRIB | IN_ONLYDIR);
}

void PortWatch::clear() const noexcept
{
    // What happened is not looked at: each change is a reason to try again.
    std::array<char, 4096> events{};
    while (retryInterrupted([&] {
        return ::read(m_descriptor.get(), events.data(), events.size());
    }) > 0) { }
}

void PortWatch::wait(std::chrono::milliseconds limit) const
{
    // Without a descriptor this is a sleep.
    waitFor(m_descriptor.get(), POLLIN, std::chrono::steady_clock::now() + limit);
}

} // namespace Pt
