#pragma once

#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/OwnedDescriptor.h"

#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace test {

// As many descriptors as are open now, those to spare, and no more. Those to spare have the highest
// numbers, one after the other.
class NoMoreDescriptors {
public:
    explicit NoMoreDescriptors(rlim_t spare = 0)
    {
        // The sanitizers look at each class of object once, by way of a pipe: at those of errors
        // they must have looked before.
        Pt::isLocalPortFree("nobody's");
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const int end = endOfDescriptors();
        for (int next = duplicate(); next != -1; next = duplicate()) {
            m_fillers.emplace_back(next);
            if (next >= end)
                break;
        }
        rlimit tight = m_before;
        tight.rlim_cur = static_cast<rlim_t>(m_fillers.back().get()) + spare;
        m_fillers.pop_back();
        ::setrlimit(RLIMIT_NOFILE, &tight);
    }
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    static int duplicate() { return ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0); }

    // Above which none is open.
    static int endOfDescriptors()
    {
        constexpr int kMaxCount = 1024;
        int end = 0;
        for (int number = 0; number < kMaxCount; ++number)
            if (::fcntl(number, F_GETFD) != -1)
                end = number + 1;
        return end;
    }

    rlimit m_before = {};
    std::vector<Pt::OwnedDescriptor> m_fillers; // where there were gaps
};

} // namespace test
