#include "platform/platforms/linux/ports/HeldName.h"

#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

bool writeFromStart(const Descriptor& file, std::string_view text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = retryInterrupted([&] {
            return ::pwrite(
                file.get(), text.data() + done, text.size() - done, static_cast<off_t>(done));
        });
        if (written <= 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

HeldName::HeldName(LocalPortFolder folder, std::string_view name)
    : m_folder(std::move(folder))
    , m_name(name)
    , m_stem(localPortStem(name))
    , m_process(::getpid())
{
}

std::optional<HeldName> HeldName::take(LocalPortFolder folder, std::string_view name)
{
    HeldName held(std::move(folder), name);
    if (!held.lock() || !held.describe() || !held.removeStaleSocket())
        return std::nullopt;
    return held;
}

HeldName::~HeldName()
{
    // The files of another holder stay: somebody may have emptied the folder meanwhile.
    if (!m_lock.isOpen() || m_process != ::getpid() || !stillNames())
        return;
    ::unlinkat(m_folder.descriptor(), socketFile().c_str(), 0);
    // The lock file last: as long as it is there and locked, nobody binds a new socket whose file
    // would be removed here.
    ::unlinkat(m_folder.descriptor(), lockFile().c_str(), 0);
}

bool HeldName::lock()
{
    for (;;) {
        // O_NOFOLLOW and O_NONBLOCK: somebody may have put a link or a pipe in its place.
        Descriptor file(retryInterrupted([&] {
            return ::openat(m_folder.descriptor(),
                lockFile().c_str(),
                O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                S_IRUSR | S_IWUSR);
        }));
        if (!file.isOpen()
            || retryInterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0)
            return false;
        m_lock = std::move(file);
        if (stillNames())
            return true;
        // Its holder took it away between the two calls; another may be making it anew.
        m_lock = Descriptor();
    }
}

bool HeldName::stillNames() const
{
    struct stat held = {};
    struct stat named = {};
    return ::fstat(m_lock.get(), &held) == 0
        && ::fstatat(m_folder.descriptor(), lockFile().c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0
        && held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

// For people and for the list of held ports.
bool HeldName::describe() const
{
    const std::string text = std::to_string(m_process) + '\n' + m_name + '\n';
    return ::ftruncate(m_lock.get(), 0) == 0 && writeFromStart(m_lock, text);
}

bool HeldName::removeStaleSocket() const
{
    // Left by a killed holder; bind refuses a path that is there. The lock is ours, so no socket
    // that is in use is removed.
    return ::unlinkat(m_folder.descriptor(), socketFile().c_str(), 0) == 0 || errno == ENOENT;
}

} // namespace Pt
