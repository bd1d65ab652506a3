#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace test {

// Runs question in a child process that has given up root's rights, which pass every access check;
// its answer (0 to 100), or -1 when the child did not get that far.
template <typename Question>
int askedAsOrdinaryUser(Question question)
{
    constexpr unsigned int kNobody = 65534;
    constexpr int kCannotDrop = 101;
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isOrdinary = ::geteuid() != 0
            || (::setgid(kNobody) == 0 && ::setuid(kNobody) == 0 && ::geteuid() == kNobody);
        ::_exit(isOrdinary ? question() : kCannotDrop);
    }
    int status = 0;
    const bool hasExited = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return hasExited && WEXITSTATUS(status) < kCannotDrop ? WEXITSTATUS(status) : -1;
}

} // namespace test
