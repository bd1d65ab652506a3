#include "support/ChildProgram.h"

#include "support/ProgramWords.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using Clock = std::chrono::steady_clock;

// In the child, between fork and exec: nothing here allocates.
[[noreturn]] void become(char* const* words, int output, pid_t parent)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127); // it died before it was watched
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    ::execv(words[0], words);
    const char* const reason = std::strerror(errno);
    if (::write(STDERR_FILENO, reason, std::strlen(reason)) < 0)
        ::_exit(126);
    ::_exit(127);
}

int millisecondsUntil(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<long>(left.count(), 0));
}

} // namespace

ChildProgram::ChildProgram(std::vector<std::string> command)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe: " + std::string(std::strerror(errno)));
    const std::vector<char*> words = pointersTo(command);
    const pid_t parent = ::getpid();
    m_id = ::fork();
    if (m_id == 0)
        become(words.data(), ends[1], parent);
    const int error = errno;
    ::close(ends[1]);
    m_source = ends[0];
    if (m_id > 0)
        return;
    ::close(m_source);
    throw std::runtime_error("fork: " + std::string(std::strerror(error)));
}

ChildProgram::~ChildProgram()
{
    signal(SIGKILL);
    reap();
    ::close(m_source);
}

void ChildProgram::signal(int number) const
{
    if (!m_isReaped)
        ::kill(m_id, number);
}

void ChildProgram::reap()
{
    while (!m_isReaped && ::waitpid(m_id, &m_status, 0) < 0 && errno == EINTR) { }
    m_isReaped = true;
}

// False at the end of the output and at the deadline.
bool ChildProgram::readMore(Clock::time_point deadline)
{
    pollfd polled{m_source, POLLIN, 0};
    if (::poll(&polled, 1, millisecondsUntil(deadline)) == 0)
        return false;
    char piece[4096];
    const ssize_t count = ::read(m_source, piece, sizeof piece);
    if (count > 0)
        m_output.append(piece, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

bool ChildProgram::waitFor(const std::string& words, std::chrono::milliseconds limit)
{
    const Clock::time_point deadline = Clock::now() + limit;
    while (m_output.find(words) == std::string::npos)
        if (!readMore(deadline))
            return false;
    return true;
}

// Its output ends when it does; the status is there a moment later.
bool ChildProgram::waitForEnd(std::chrono::milliseconds limit)
{
    const Clock::time_point deadline = Clock::now() + limit;
    while (readMore(deadline)) { }
    if (!m_isReaped && Clock::now() >= deadline)
        return false;
    reap();
    return true;
}

int ChildProgram::code() const
{
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -WTERMSIG(m_status);
}

} // namespace test
