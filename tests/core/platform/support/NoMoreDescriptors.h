#pragma once

#include "platform/common/ports/LocalPort.h"

#include <sys/resource.h>
#include <unistd.h>

namespace test {

// As many descriptors as are open now, those to spare, and no more.
class NoMoreDescriptors {
public:
    explicit NoMoreDescriptors(rlim_t spare = 0)
    {
        // The sanitizers look at each class of object once, by way of a pipe: at those of errors
        // they must have looked before.
        Pt::isLocalPortFree("nobody's");
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit tight = m_before;
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        tight.rlim_cur = static_cast<rlim_t>(next) + spare;
        ::setrlimit(RLIMIT_NOFILE, &tight);
    }
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit m_before = {};
};

} // namespace test
