#include "platform/common/files/FolderWatch.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <array>
#include <cstring>

#include <sys/inotify.h>

namespace Pt {

namespace {

// Not IN_MODIFY: a file that is being written says so once it is closed.
constexpr std::uint32_t kChanges = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO
    | IN_DELETE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kEnds = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

} // namespace

FolderWatch::FolderWatch(const std::string& folder)
    : m_descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , m_watching(
          ::inotify_add_watch(m_descriptor.get(), folder.c_str(), kChanges | IN_ONLYDIR) >= 0)
{
}

bool FolderWatch::takeChanges() noexcept
{
    bool changed = false;
    alignas(inotify_event) std::array<char, 16384> events{};
    for (;;) {
        const ssize_t got = retryInterrupted(
            [&] { return ::read(m_descriptor.get(), events.data(), events.size()); });
        if (got <= 0)
            return changed;
        changed = true; // a queue that has overflowed says so by an event as well
        for (ssize_t at = 0; at < got;) {
            inotify_event event{};
            std::memcpy(&event, events.data() + at, sizeof event);
            if ((event.mask & kEnds) != 0)
                m_watching = false;
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
}

} // namespace Pt
