#include "platform/common/services/ProgramEnvironment.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Pt {

namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

// Readable once an interrupt was noted; -1 where none is noted, or no descriptor was left.
int gInterruptEvent = -1;

// Milliseconds of the steady clock at the first interrupt.
std::atomic<std::int64_t> gInterruptedAt{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "set from a signal handler");

std::int64_t steadyMilliseconds()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now); // may be called from a signal handler
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

// Some senders, such as timeout(1), tell the process and then its whole group: that is one
// interrupt.
bool isRepetition(std::int64_t now)
{
    constexpr std::int64_t kSameInterrupt = 200; // ms
    return now - gInterruptedAt < kSameInterrupt;
}

void onInterrupt(int signal)
{
    // The handler may run between a failed call and the look at its error.
    const int before = errno;
    const std::int64_t now = steadyMilliseconds();
    if (!gInterrupted) {
        gInterruptedAt = now;
    } else if (!isRepetition(now)) {
        std::signal(signal, SIG_DFL);
        ::raise(signal); // ends the program when this handler returns
    }
    gInterrupted = true;
    // A descriptor, as poll can wait for it: the flag alone might be set just before poll begins to
    // wait.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(gInterruptEvent, &one, sizeof one);
    errno = before;
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

void setEnvironmentVariable(const char* name, const std::string& value)
{
    ::setenv(name, value.c_str(), 1);
}

std::uint32_t effectiveUser()
{
    return ::geteuid();
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
    if (gInterruptEvent == -1)
        gInterruptEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    for (const int signal : {SIGHUP, SIGQUIT}) {
        struct sigaction before = {};
        ::sigaction(signal, nullptr, &before);
        // nohup has the first ignored; a program that takes it back would end with the terminal
        // after all.
        if (before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
    // Writing to a closed pipe is then an error of the call, which is told like others.
    std::signal(SIGPIPE, SIG_IGN);
    failBeyondSizeLimit();
}

void failBeyondSizeLimit()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

bool wasInterrupted()
{
    return gInterrupted;
}

bool waitForInput(std::FILE* stream)
{
    // poll() passes over the event's descriptor where it is -1; then we look from time to time.
    constexpr int kGlance = 200; // ms
    pollfd waited[] = {{::fileno(stream), POLLIN, 0}, {gInterruptEvent, POLLIN, 0}};
    while (!gInterrupted) {
        const int ready = ::poll(waited, 2, gInterruptEvent == -1 ? kGlance : -1);
        if (ready > 0 && waited[0].revents != 0)
            return !gInterrupted;
        if (ready == -1 && errno != EINTR)
            return true; // whoever reads is told why
    }
    return false;
}

// Open for the wrong direction: whoever uses it is told that it is closed.
void holdStandardStreams()
{
    // Otherwise the next file that is opened would get the number, and messages would be written
    // into it. The system gives the lowest free number, so going upwards fills each gap in turn.
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
    // A pipe whose reader has left shows this before anything is written.
    const bool isBroken = ::poll(&end, 1, 0) == 1 && (end.revents & POLLERR) != 0;
    return isBroken ? std::make_error_code(std::errc::broken_pipe) : std::error_code();
}

std::size_t raiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    // The soft limit is low for the sake of old programs; raising it needs no privilege.
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

} // namespace Pt
