// A program of ours that does work for this process and lives no longer than it: started with one
// end of a talk as its standard input, and without anything else of this process but its
// environment and its limits. It is no child of this process, whose waits and signal handlers see
// nothing of it. One thread at a time; the calls throw nothing but std::bad_alloc.
#pragma once

#include "platform/common/services/DescriptorChannel.h"
#include "platform/common/services/ProcessControl.h"

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Pt {

class WorkerProcess {
public:
    // `settings` are NAME=VALUE, in place of what the environment has. Nothing when the system
    // refuses; `error` then says why.
    static std::optional<WorkerProcess> start(const std::string& program,
        const std::vector<std::string>& settings,
        std::error_code& error);

    // Kills it.
    ~WorkerProcess();
    WorkerProcess(WorkerProcess&& other) noexcept
        : m_process(std::exchange(other.m_process, {}))
        , m_channel(std::move(other.m_channel))
    {
    }
    WorkerProcess& operator=(WorkerProcess&& other) noexcept
    {
        std::swap(m_process, other.m_process);
        std::swap(m_channel, other.m_channel);
        return *this;
    }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    const DescriptorChannel& channel() const { return m_channel; }
    const ProcessIdentity& process() const { return m_process; }

    // How much of addresses it may have, in bytes, and of processor time from now on, in seconds;
    // may be changed between two pieces of work. What the system refuses is left as it was.
    std::error_code bound(std::uint64_t addresses, std::uint64_t processorSeconds) const;

private:
    WorkerProcess(ProcessIdentity process, DescriptorChannel channel)
        : m_process(process)
        , m_channel(std::move(channel))
    {
    }

    ProcessIdentity m_process;
    DescriptorChannel m_channel;
};

// In such a program: the talk with the process that started it.
DescriptorChannel channelToStarter();

} // namespace Pt
