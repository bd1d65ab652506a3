#include "platform/common/ports/StartTurn.h"

#include "platform/platforms/linux/files/SameFile.h"
#include "platform/platforms/linux/ports/LocalPortFolder.h"

#include <array>
#include <charconv>
#include <thread>

#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr std::chrono::milliseconds kPause{5};

bool stillNames(const std::string& path, int file)
{
    struct stat named = {};
    return ::lstat(path.c_str(), &named) == 0 && isSameFile(file, named);
}

} // namespace

StartTurn::StartTurn(std::string_view port, std::chrono::milliseconds limit)
{
    std::error_code error;
    const auto folder = LocalPortFolder::openOrMake(error);
    if (!folder)
        return;
    m_path = folder->path() + '/' + localPortStem(port) + std::string(kStartEnding);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!take(m_path))
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline)
            return;
        else
            std::this_thread::sleep_for(kPause);
    const auto started = read();
    if (started && isProcessRunning(*started))
        m_coming = started;
}

// False with errno: EWOULDBLOCK says that another has it.
bool StartTurn::take(const std::string& path)
{
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    Descriptor file = Descriptor::open(path, kFlags, S_IRUSR | S_IWUSR);
    if (!file.isOpen()
        || retryInterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0)
        return false;
    // Removed between the two calls: the lock is one on nothing.
    if (!stillNames(path, file.get())) {
        errno = EWOULDBLOCK;
        return false;
    }
    m_file = std::move(file);
    return true;
}

// ID START-TIME and a line feed.
std::optional<ProcessIdentity> StartTurn::read() const
{
    std::array<char, 64> text{};
    const ssize_t got =
        retryInterrupted([&] { return ::pread(m_file.get(), text.data(), text.size(), 0); });
    const char* const end = text.data() + std::max<ssize_t>(got, 0);
    ProcessIdentity process;
    const auto id = std::from_chars(text.data(), end, process.id);
    if (id.ec != std::errc() || id.ptr == end || *id.ptr != ' ')
        return std::nullopt;
    const auto time = std::from_chars(id.ptr + 1, end, process.startTime);
    const bool isWhole = time.ec == std::errc() && time.ptr != end && *time.ptr == '\n';
    return isWhole ? std::optional(process) : std::nullopt;
}

void StartTurn::note(const ProcessIdentity& started)
{
    if (!isHad())
        return;
    const std::string text =
        std::to_string(started.id) + ' ' + std::to_string(started.startTime) + '\n';
    const bool isWritten = ::ftruncate(m_file.get(), 0) == 0
        && ::pwrite(m_file.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    if (isWritten)
        m_coming = started;
}

// Word of nobody is none. The port's holder has removed the file already if it was fast.
StartTurn::~StartTurn()
{
    if (isHad() && !m_coming && stillNames(m_path, m_file.get()))
        ::unlink(m_path.c_str());
}

} // namespace Pt
