#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace test {

inline constexpr unsigned int kNobody = 65534;

// Runs question in a child process of that user, which only root can start for another; its answer
// (0 to 100), or -1 when the child did not get that far.
template <typename Question>
int askedAsUser(unsigned int user, Question question)
{
    constexpr int kCannotDrop = 101;
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isUser = ::geteuid() == user
            || (::setgid(user) == 0 && ::setuid(user) == 0 && ::geteuid() == user);
        ::_exit(isUser ? question() : kCannotDrop);
    }
    int status = 0;
    const bool hasExited = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return hasExited && WEXITSTATUS(status) < kCannotDrop ? WEXITSTATUS(status) : -1;
}

// The same in one that has given up root's rights, which pass every access check.
template <typename Question>
int askedAsOrdinaryUser(Question question)
{
    return askedAsUser(::geteuid() == 0 ? kNobody : ::geteuid(), question);
}

} // namespace test
