#include "platform/platforms/linux/ports/HeldName.h"

#include "platform/platforms/linux/ports/LocalSocket.h"

#include <algorithm>
#include <utility>

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
    if (!held.lock() || held.isHeldElsewhere() || !held.clearSocket() || !held.describe())
        return std::nullopt;
    return held;
}

HeldName::~HeldName()
{
    giveUp();
}

void HeldName::giveUp()
{
    // The files of another holder stay: somebody may have emptied the folder meanwhile.
    if (m_lock.isOpen() && m_process == ::getpid() && hasLock()) {
        if (hasSocket())
            dropSocket();
        // The lock file last: as long as it is there and locked, nobody binds a new socket whose
        // file would be removed here.
        ::unlinkat(m_folder.descriptor(), lockFile().c_str(), 0);
    }
    m_lock = Descriptor();
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
        struct stat status = {};
        if (!file.isOpen()
            || retryInterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0
            || ::fstat(file.get(), &status) != 0)
            return false;
        m_lock = std::move(file);
        m_lockId = {status.st_dev, status.st_ino};
        if (hasLock())
            return true;
        // Its holder took it away between the two calls; another may be making it anew. The folder
        // may be gone as well, and then there is nothing to begin again with.
        m_lock = Descriptor();
        if (!m_folder.isStillThere())
            return false;
    }
}

bool HeldName::hasLock() const
{
    return idOf(lockFile()) == m_lockId;
}

// By the path, not the open folder: that may have been removed and made anew by others.
std::optional<HeldName::FileId> HeldName::idOf(const std::string& file) const
{
    struct stat status = {};
    if (::lstat((m_folder.path() + '/' + file).c_str(), &status) != 0)
        return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

// For people and for the list of held ports.
bool HeldName::describe() const
{
    const std::string text = std::to_string(m_process) + '\n' + m_name + '\n';
    return ::ftruncate(m_lock.get(), 0) == 0 && writeFromStart(m_lock, text);
}

// By a holder that found the places before this one unusable, or this one.
bool HeldName::isHeldElsewhere() const
{
    std::error_code error;
    const std::vector<LocalPortFolder> folders = openLocalPortFolders(error);
    return error || std::ranges::any_of(folders, [&](const LocalPortFolder& folder) {
        std::error_code answer;
        return folder.path() != m_folder.path() && isLocalPortHeld(folder, m_stem, answer);
    });
}

// A killed holder leaves its socket behind, and bind refuses a path that is there. But the lock
// that was had does not say yet that nobody uses it: the file with the holder's own lock may have
// been removed.
bool HeldName::clearSocket() const
{
    std::error_code error;
    const Descriptor living = connectToLocalPort(m_folder, m_stem, error);
    if (living.isOpen() || error == std::errc::resource_unavailable_try_again || isShortage(error))
        return false;
    return ::unlinkat(m_folder.descriptor(), socketFile().c_str(), 0) == 0 || errno == ENOENT;
}

bool HeldName::bind(int socket)
{
    const LocalAddress address = m_folder.addressOf(socketFile());
    if (::bind(socket, address.get(), address.size) != 0)
        return false;
    m_socketId = idOf(socketFile());
    return m_socketId.has_value();
}

// The change of its mode is what is watched for. Binding made the file, too early for those who
// would connect at once.
void HeldName::announce() const
{
    // Whoever watches looks now and then all the same.
    [[maybe_unused]] const int isTold =
        ::fchmodat(m_folder.descriptor(), socketFile().c_str(), S_IRUSR | S_IWUSR, 0);
    // Whoever was started to hold the name is coming no more: it is here.
    ::unlinkat(m_folder.descriptor(), (m_stem + std::string(kStartEnding)).c_str(), 0);
}

bool HeldName::hasSocket() const
{
    return m_socketId && idOf(socketFile()) == m_socketId;
}

void HeldName::dropSocket()
{
    m_socketId.reset();
    ::unlinkat(m_folder.descriptor(), socketFile().c_str(), 0);
}

bool HeldName::keep()
{
    return m_lock.isOpen() && m_process == ::getpid() && (hasLock() || takeAgain())
        && (hasSocket() || clearSocket());
}

// In the folder that the name lay in, whatever the environment says now, or else in the first place
// that can be used.
bool HeldName::takeAgain()
{
    std::error_code error;
    auto folder = LocalPortFolder::openOrMake(m_folder.path(), error);
    if (!folder && !isShortage(error))
        folder = LocalPortFolder::openOrMake(error);
    if (!folder)
        return false;
    // Our own socket may still be there, and is as good under a new lock.
    const bool isSocketThere = folder->path() == m_folder.path() && hasSocket();
    HeldName again(std::move(*folder), m_name);
    if (!again.lock() || (!isSocketThere && !again.clearSocket()) || !again.describe())
        return false;
    if (isSocketThere)
        again.m_socketId = m_socketId;
    std::swap(*this, again);
    return true;
}

} // namespace Pt
