#include "platform/common/services/WorkerProcess.h"

#include "platform/common/services/ProgramStart.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <csignal>
#include <ctime>

#include <sys/resource.h>

namespace Pt {

namespace {

// Only the soft one, which this process may raise again for the next piece of work.
std::error_code limit(pid_t process, decltype(RLIMIT_AS) what, rlim_t most)
{
    rlimit both = {};
    if (::prlimit(process, what, nullptr, &both) != 0)
        return lastError();
    both.rlim_cur = std::min(most, both.rlim_max);
    return ::prlimit(process, what, &both, nullptr) == 0 ? std::error_code() : lastError();
}

std::uint64_t processorSecondsUsed(pid_t process)
{
    clockid_t clock = 0;
    timespec used = {};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &used) != 0)
        return 0;
    return static_cast<std::uint64_t>(used.tv_sec);
}

} // namespace

std::optional<WorkerProcess> WorkerProcess::start(
    const std::string& program, const std::vector<std::string>& settings, std::error_code& error)
{
    auto ends = DescriptorChannel::makePair(error);
    if (!ends)
        return std::nullopt;
    const auto process =
        startProgram(program, {}, StartWith{ends->second.descriptor(), settings}, error);
    if (!process)
        return std::nullopt;
    return WorkerProcess(*process, std::move(ends->first));
}

WorkerProcess::~WorkerProcess()
{
    if (isProcessRunning(m_process))
        ::kill(static_cast<pid_t>(m_process.id), SIGKILL);
}

std::error_code WorkerProcess::bound(std::uint64_t addresses, std::uint64_t processorSeconds) const
{
    const auto process = static_cast<pid_t>(m_process.id);
    const std::error_code error = limit(process, RLIMIT_AS, addresses);
    const std::error_code other =
        limit(process, RLIMIT_CPU, processorSecondsUsed(process) + processorSeconds);
    return error ? error : other;
}

DescriptorChannel channelToStarter()
{
    return DescriptorChannel(OwnedDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)));
}

} // namespace Pt
