#include "platform/common/services/ProgramEnvironment.h"

#include <atomic>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Pt {

namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

void onInterrupt(int)
{
    gInterrupted = true;
}

} // namespace

std::string programFolder()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.parent_path().string();
}

std::optional<std::string> environmentVariable(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

long processId()
{
    return ::getpid();
}

bool isTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

int terminalWidth(std::FILE* stream)
{
    constexpr int kUsual = 80;
    winsize size = {};
    if (::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsual;
    return size.ws_col;
}

void noteInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    // The handler is taken off by its first use, so that a second interrupt ends the program. No
    // SA_RESTART: an interrupt is the answer to a question that waits on the terminal.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    struct sigaction before = {};
    ::sigaction(SIGHUP, nullptr, &before);
    if (before.sa_handler != SIG_IGN)
        ::sigaction(SIGHUP, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool wasInterrupted()
{
    return gInterrupted;
}

// Open for the wrong direction: whoever uses it is told that it is closed.
void holdStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) == -1)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

std::error_code writeObstacle(std::FILE* stream)
{
    const int descriptor = ::fileno(stream);
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags == -1 || (flags & O_ACCMODE) == O_RDONLY)
        return std::make_error_code(std::errc::bad_file_descriptor);
    pollfd end{descriptor, POLLOUT, 0};
    const bool isBroken = ::poll(&end, 1, 0) == 1 && (end.revents & POLLERR) != 0;
    return isBroken ? std::make_error_code(std::errc::broken_pipe) : std::error_code();
}

std::size_t raiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

} // namespace Pt
