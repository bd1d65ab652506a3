#include "platform/common/services/ProgramStart.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <csignal>
#include <string_view>

#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#if defined(__SANITIZE_THREAD__)
#define TEVORO_THREAD_SANITIZER 1
#elif defined(__has_feature)
#define TEVORO_THREAD_SANITIZER __has_feature(thread_sanitizer)
#else
#define TEVORO_THREAD_SANITIZER 0
#endif

namespace Pt {

namespace {

constexpr const char* kNothing = "/dev/null";

// What the process in between says.
struct Outcome {
    pid_t process = 0;
    int error = 0;
};

std::error_code errorOf(int number)
{
    return {number, std::system_category()};
}

std::string_view nameOf(std::string_view setting)
{
    return setting.substr(0, setting.find('='));
}

// This process's, with those settings in the place of their like.
std::vector<const char*> environmentWith(const std::vector<std::string>& settings)
{
    std::vector<const char*> all;
    for (char** each = environ; *each; ++each)
        if (std::none_of(settings.begin(), settings.end(), [each](const std::string& setting) {
                return nameOf(setting) == nameOf(*each);
            }))
            all.push_back(*each);
    for (const std::string& setting : settings)
        all.push_back(setting.c_str());
    all.push_back(nullptr);
    return all;
}

// How the program is to be started, written down before there is a process that must not allocate.
class Spawning {
public:
    enum class Search { kNone, kPath };

    Spawning(const std::string& program,
        const std::vector<std::string>& arguments,
        Search search,
        const StartWith& with = {})
        : m_program(program)
        , m_search(search)
        , m_input(with.standardInput)
        , m_environment(environmentWith(with.settings))
    {
        borrowArguments(arguments);
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
    }
    ~Spawning()
    {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_actions);
    }
    Spawning(const Spawning&) = delete;
    Spawning& operator=(const Spawning&) = delete;

    std::error_code prepare()
    {
        sigset_t all;
        sigset_t none;
        ::sigfillset(&all);
        ::sigemptyset(&none);
        for (const int refused :
            {m_input == -1 ? ::posix_spawn_file_actions_addopen(
                 &m_actions, STDIN_FILENO, kNothing, O_RDONLY, 0)
                           : ::posix_spawn_file_actions_adddup2(&m_actions, m_input, STDIN_FILENO),
                ::posix_spawn_file_actions_addopen(
                    &m_actions, STDOUT_FILENO, kNothing, O_WRONLY, 0),
                ::posix_spawn_file_actions_adddup2(&m_actions, STDOUT_FILENO, STDERR_FILENO),
                ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1),
                ::posix_spawnattr_setflags(&m_attributes,
                    POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK),
                ::posix_spawnattr_setsigdefault(&m_attributes, &all),
                ::posix_spawnattr_setsigmask(&m_attributes, &none)})
            if (refused != 0)
                return errorOf(refused);
        return {};
    }

    Outcome run() const
    {
        Outcome outcome;
        const auto spawn = m_search == Search::kPath ? ::posix_spawnp : ::posix_spawn;
        outcome.error = spawn(&outcome.process,
            m_program.c_str(),
            &m_actions,
            &m_attributes,
            m_arguments.data(),
            const_cast<char**>(m_environment.data()));
        return outcome;
    }

private:
    // The program's name, those behind it, and a null pointer.
    void borrowArguments(const std::vector<std::string>& arguments)
    {
        m_arguments.push_back(const_cast<char*>(m_program.c_str()));
        for (const std::string& argument : arguments)
            m_arguments.push_back(const_cast<char*>(argument.c_str()));
        m_arguments.push_back(nullptr);
    }

    const std::string& m_program;
    Search m_search;
    int m_input;
    std::vector<const char*> m_environment; // borrowed; ends with a null pointer
    std::vector<char*> m_arguments;
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

// No handler of this process runs in the one in between.
class BlockedSignals {
public:
    BlockedSignals()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t m_before = {};
};

// A child whose end raises no SIGCHLD, and that no wait for any child of this process finds: it is
// gone before others could know of it. Only what a signal handler may do may be done in it.
pid_t forkUnnoticed()
{
#if TEVORO_THREAD_SANITIZER
    // Its run-time holds locks of its own over a fork; after any other way the child would wait for
    // them for ever.
    return ::fork();
#endif
    return static_cast<pid_t>(::syscall(SYS_clone, 0UL, nullptr, nullptr, nullptr, 0UL));
}

// In the process in between, where no signal breaks a call off: stays until the other side has
// looked at the new process, which keeps its number for so long, even as a zombie.
[[noreturn]] void startAndTell(const Spawning& spawning, int toParent, int ofParent)
{
    ::close(ofParent);
    const Outcome outcome = spawning.run();
    char answer = 0;
    const bool isTold = ::send(toParent, &outcome, sizeof outcome, MSG_NOSIGNAL) != -1;
    const bool isHeard = isTold && ::read(toParent, &answer, 1) != -1;
    ::_exit(isHeard ? 0 : 1);
}

// Its own end of the talk is closed afterwards, which lets the process in between go.
std::optional<ProcessIdentity> learnOutcome(Descriptor talk, std::error_code& error)
{
    Outcome outcome;
    const ssize_t got =
        retryInterrupted([&] { return ::read(talk.get(), &outcome, sizeof outcome); });
    if (got != static_cast<ssize_t>(sizeof outcome)) {
        error = std::make_error_code(std::errc::no_child_process); // it was killed
        return std::nullopt;
    }
    const auto id = static_cast<unsigned long>(outcome.process);
    std::optional<ProcessIdentity> process;
    if (outcome.error == 0)
        process = ProcessIdentity{id, processStartTime(id)};
    error = errorOf(outcome.error);
    const char answer = 0;
    // Whoever was forked meanwhile by another thread may have the same end open; so it is told.
    [[maybe_unused]] const ssize_t told =
        retryInterrupted([&] { return ::send(talk.get(), &answer, 1, MSG_NOSIGNAL); });
    return process;
}

std::optional<ProcessIdentity> start(Spawning& spawning, std::error_code& error)
{
    error = spawning.prepare();
    int ends[2] = {-1, -1};
    if (!error && ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        error = lastError();
    if (error)
        return std::nullopt;
    Descriptor ours(ends[0]);
    Descriptor theirs(ends[1]);
    const BlockedSignals blocked;
    const pid_t between = forkUnnoticed();
    if (between == 0)
        startAndTell(spawning, theirs.get(), ours.get());
    if (between == -1) {
        error = lastError();
        return std::nullopt;
    }
    theirs = Descriptor();
    const auto process = learnOutcome(std::move(ours), error);
    retryInterrupted([between] { return ::waitpid(between, nullptr, __WALL); });
    return process;
}

} // namespace

std::optional<ProcessIdentity> startProgram(
    const std::string& path, const std::vector<std::string>& arguments, std::error_code& error)
{
    return startProgram(path, arguments, {}, error);
}

std::optional<ProcessIdentity> startProgram(const std::string& path,
    const std::vector<std::string>& arguments,
    const StartWith& with,
    std::error_code& error)
{
    Spawning spawning(path, arguments, Spawning::Search::kNone, with);
    return start(spawning, error);
}

std::error_code openWebAddress(const std::string& address)
{
    const std::string opener = "xdg-open";
    const std::vector<std::string> arguments{address};
    Spawning spawning(opener, arguments, Spawning::Search::kPath);
    std::error_code error;
    start(spawning, error);
    return error;
}

} // namespace Pt
