#include "e2e/support/LiveRun.h"

#include "support/ProgramWords.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace e2e {

namespace {

constexpr int kPage = 4096; // the least that a pipe holds
constexpr int kLimit = 60'000; // milliseconds

} // namespace

LiveRun::LiveRun(std::vector<std::string> words, LiveSettings settings)
{
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::fcntl(ends[1], F_SETPIPE_SZ, kPage);
    m_terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(::grantpt(m_terminal), 0);
    EXPECT_EQ(::unlockpt(m_terminal), 0);
    std::vector<std::string> variables = test::assignments(settings.environment);
    // Nothing is allocated in the child: another thread may hold the heap's lock when it is forked.
    const std::vector<char*> wordPointers = test::pointersTo(words);
    const std::vector<char*> variablePointers = test::pointersTo(variables);
    m_id = ::fork();
    if (m_id == 0)
        become(wordPointers.data(), variablePointers.data(), ends[1], settings);
    ::close(ends[1]);
    m_output = ends[0];
}

LiveRun::~LiveRun()
{
    if (m_id > 0) {
        ::kill(m_id, SIGKILL);
        ::waitpid(m_id, nullptr, 0);
    }
    ::close(m_output);
    ::close(m_terminal);
}

void LiveRun::become(
    char* const* words, char* const* variables, int out, const LiveSettings& settings)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setsid();
    const int terminal = ::open(::ptsname(m_terminal), O_RDWR); // becomes the controlling one
    ::dup2(settings.hasTerminal ? terminal : ::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(terminal, STDERR_FILENO);
    ::close(terminal);
    if (settings.inChild)
        settings.inChild();
    ::execve(words[0], words, variables);
    ::_exit(127);
}

// False at the end.
bool LiveRun::readPiece(std::size_t atMost)
{
    char piece[kPage];
    const ssize_t count = ::read(m_output, piece, std::min(atMost, sizeof piece));
    if (count > 0)
        m_result.out.append(piece, static_cast<std::size_t>(count));
    return count > 0;
}

bool LiveRun::readScreen()
{
    char piece[kPage];
    const ssize_t count = ::read(m_terminal, piece, sizeof piece);
    if (count > 0)
        m_result.err.append(piece, static_cast<std::size_t>(count));
    return count > 0;
}

bool LiveRun::waitForLine(const std::string& words)
{
    for (;;) {
        const std::size_t found = m_result.out.find(words);
        if (found != std::string::npos && m_result.out.find('\n', found) != std::string::npos)
            return true;
        pollfd ready{m_output, POLLIN, 0};
        if (::poll(&ready, 1, kLimit) != 1 || !readPiece(1))
            return false;
    }
}

bool LiveRun::waitForQuestion()
{
    for (;;) {
        if (m_result.err.find("/N] ") != std::string::npos)
            return true;
        pollfd ready[] = {{m_output, POLLIN, 0}, {m_terminal, POLLIN, 0}};
        if (::poll(ready, 2, kLimit) < 1)
            return false;
        if (ready[1].revents & POLLIN)
            readScreen();
        if (ready[0].revents != 0 && !readPiece(kPage))
            return false; // it ended without a question
    }
}

void LiveRun::type(const std::string& answer)
{
    EXPECT_EQ(
        ::write(m_terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
}

void LiveRun::signal(int number) const
{
    ::kill(m_id, number);
}

void LiveRun::stopListening()
{
    ::close(std::exchange(m_output, -1));
}

RunResult LiveRun::finish()
{
    while (m_output >= 0) {
        pollfd ready[] = {{m_output, POLLIN, 0}, {m_terminal, POLLIN, 0}};
        if (::poll(ready, 2, kLimit) < 1) {
            ADD_FAILURE() << "it does not end: " << m_result.out << m_result.err;
            ::kill(m_id, SIGKILL);
        }
        if (ready[1].revents & POLLIN)
            readScreen();
        if (ready[0].revents != 0 && !readPiece(kPage))
            break;
    }
    int status = 0;
    ::waitpid(std::exchange(m_id, -1), &status, 0);
    for (pollfd rest{m_terminal, POLLIN, 0}; ::poll(&rest, 1, 0) == 1 && readScreen();) { }
    m_result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return m_result;
}

} // namespace e2e
