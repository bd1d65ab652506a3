#include "platform/common/ports/Waiting.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

namespace Pt {

namespace {

int required(int result, const char* what)
{
    if (result == -1)
        throw std::system_error(lastError(), what);
    return result;
}

// What epoll_wait takes: rounded up, so that a wait is never cut short into a spin.
int waitMilliseconds(std::chrono::steady_clock::duration left)
{
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, INT_MAX));
}

} // namespace

WaitableFlag::WaitableFlag()
    : m_descriptor(required(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"))
{
}

void WaitableFlag::raise() noexcept
{
    // Refused only when it is up as far as it goes.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written =
        retryInterrupted([&] { return ::write(m_descriptor.get(), &one, sizeof one); });
}

void WaitableFlag::lower() noexcept
{
    // Refused only when it is down.
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got =
        retryInterrupted([&] { return ::read(m_descriptor.get(), &count, sizeof count); });
}

WallTimer::WallTimer()
    : m_descriptor(
        required(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"))
{
}

void WallTimer::set(long long wallSeconds) noexcept
{
    itimerspec point = {};
    // The system refuses times before 1970.
    point.it_value.tv_sec = std::max(0LL, wallSeconds);
    if (wallSeconds <= 0) // all zeros would clear it
        point.it_value.tv_nsec = 1;
    ::timerfd_settime(m_descriptor.get(), TFD_TIMER_ABSTIME, &point, nullptr);
}

void WallTimer::clear() noexcept
{
    const itimerspec never = {};
    ::timerfd_settime(m_descriptor.get(), 0, &never, nullptr);
}

DescriptorSet::DescriptorSet()
    : m_descriptor(required(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1"))
{
}

void DescriptorSet::add(int descriptor)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    if (::epoll_ctl(m_descriptor.get(), EPOLL_CTL_ADD, descriptor, &event) != 0 && errno != EEXIST)
        throw std::system_error(lastError(), "epoll_ctl");
}

void DescriptorSet::remove(int descriptor) noexcept
{
    epoll_event unused = {};
    ::epoll_ctl(m_descriptor.get(), EPOLL_CTL_DEL, descriptor, &unused);
}

int DescriptorSet::waitForOne(std::chrono::milliseconds limit) const
{
    using std::chrono::milliseconds;
    using std::chrono::steady_clock;
    constexpr milliseconds kMaxLength = std::chrono::hours(24 * 365);
    const bool isForEver = limit.count() < 0;
    // A point in time, so that signals do not lengthen the wait.
    const auto deadline = isForEver
        ? steady_clock::time_point()
        : steady_clock::now() + std::clamp(limit, milliseconds(0), kMaxLength);
    for (;;) {
        const int left = isForEver ? -1 : waitMilliseconds(deadline - steady_clock::now());
        epoll_event event = {};
        const int ready = ::epoll_wait(m_descriptor.get(), &event, 1, left);
        if (ready > 0)
            return event.data.fd;
        if (ready == -1 && errno != EINTR)
            throw std::system_error(lastError(), "epoll_wait");
        // Asked again instead of trusting the return: it may come a little early.
        if (!isForEver && steady_clock::now() >= deadline)
            return -1;
    }
}

} // namespace Pt
