#include "e2e/hunts/PictureHuntProgram.h"

#include <cerrno>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace e2e::hunt {

namespace {

using Clock = std::chrono::steady_clock;

struct Ends {
    int read = -1;
    int write = -1;
};

Ends makePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    return {ends[0], ends[1]};
}

Ends makeTerminal()
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
        throw std::runtime_error("posix_openpt");
    const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave < 0)
        throw std::runtime_error("ptsname");
    return {master, slave};
}

struct Standard {
    int in;
    int out;
    int err;
};

// In the child, between fork and exec.
[[noreturn]] void become(char* const* words, char* const* variables, Standard standard)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(standard.in, STDIN_FILENO);
    ::dup2(standard.out, STDOUT_FILENO);
    ::dup2(standard.err, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    ::execve(words[0], words, variables);
    ::_exit(127);
}

} // namespace

HuntProgram::HuntProgram(
    std::vector<std::string> words, const Variables& variables, bool hasTerminal)
{
    const Ends out = makePipe();
    const Ends err = hasTerminal ? makeTerminal() : makePipe();
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    std::vector<std::string> environment = test::assignments(variables);
    const std::vector<char*> argv = test::pointersTo(words);
    const std::vector<char*> envp = test::pointersTo(environment);
    m_id = ::fork();
    if (m_id == 0)
        become(argv.data(), envp.data(), {hasTerminal ? err.write : nothing, out.write, err.write});
    for (const int end : {out.write, err.write, nothing})
        ::close(end);
    m_outSource = out.read;
    m_errSource = err.read;
    m_terminal = hasTerminal ? err.read : -1;
}

HuntProgram::~HuntProgram()
{
    signal(SIGKILL);
    if (!m_hasEnded)
        ::waitpid(m_id, &m_status, 0);
    for (const int source : {m_outSource, m_errSource})
        if (source >= 0)
            ::close(source);
}

void HuntProgram::signal(int number) const
{
    if (!m_hasEnded)
        ::kill(m_id, number);
}

// A terminal whose other end is closed fails with EIO.
bool HuntProgram::readSome(int& source, std::string& text)
{
    char piece[65536];
    const ssize_t count = ::read(source, piece, sizeof piece);
    if (count > 0) {
        text.append(piece, static_cast<std::size_t>(count));
        return true;
    }
    if (count < 0 && errno == EINTR)
        return true;
    ::close(source);
    if (source == m_terminal)
        m_terminal = -1;
    source = -1;
    return false;
}

void HuntProgram::reap()
{
    while (::waitpid(m_id, &m_status, 0) < 0 && errno == EINTR) { }
    m_hasEnded = true;
}

bool HuntProgram::look(std::chrono::milliseconds time)
{
    if (m_hasEnded)
        return false;
    pollfd polled[2] = {{m_outSource, POLLIN, 0}, {m_errSource, POLLIN, 0}};
    const int ready = ::poll(polled, 2, static_cast<int>(time.count()));
    if (ready > 0 && polled[0].revents != 0)
        readSome(m_outSource, m_out);
    if (ready > 0 && polled[1].revents != 0)
        readSome(m_errSource, m_err);
    if (m_outSource < 0 && m_errSource < 0)
        reap();
    return !m_hasEnded;
}

int HuntProgram::code() const
{
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -WTERMSIG(m_status);
}

std::vector<nlohmann::json> HuntProgram::events(const std::string& kind) const
{
    std::vector<nlohmann::json> found;
    std::istringstream lines(m_out);
    for (std::string line; std::getline(lines, line);) {
        const auto event = nlohmann::json::parse(line, nullptr, false);
        if (event.is_object() && event.value("event", "") == kind)
            found.push_back(event);
    }
    return found;
}

void HuntProgram::answer(const std::string& line)
{
    if (m_terminal >= 0 && ::write(m_terminal, line.data(), line.size()) < 0)
        m_err += "(the answer did not arrive)";
}

bool HuntProgram::stop()
{
    signal(SIGSTOP);
    int status = 0;
    if (m_hasEnded || ::waitpid(m_id, &status, WUNTRACED) != m_id)
        return false;
    if (WIFSTOPPED(status)) {
        readWhatIsThere();
        return true;
    }
    m_status = status;
    m_hasEnded = true;
    while (m_outSource >= 0 && readSome(m_outSource, m_out)) { }
    while (m_errSource >= 0 && readSome(m_errSource, m_err)) { }
    return false;
}

void HuntProgram::readWhatIsThere()
{
    pollfd polled{m_outSource, POLLIN, 0};
    while (m_outSource >= 0 && ::poll(&polled, 1, 0) > 0 && readSome(m_outSource, m_out)) { }
}

} // namespace e2e::hunt
