// The turn to start the application that is to hold a local port: among all processes and threads
// of this user one at a time looks, starts it and leaves word of the process. The word lasts until
// the port is held, or that process has ended; so whoever has the next turn knows that it is coming
// up. The turn ends with the object, or with this process. One thread.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"
#include "platform/common/services/ProcessControl.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace Pt {

class StartTurn {
public:
    // Waits for whoever has it. Goes on without the turn after that time, or where the folder of
    // the ports cannot be used: better twice than not at all.
    StartTurn(std::string_view port, std::chrono::milliseconds limit);
    ~StartTurn();
    StartTurn(const StartTurn&) = delete;
    StartTurn& operator=(const StartTurn&) = delete;

    bool isHad() const { return m_file.isOpen(); }

    // The process that somebody has started and that runs and has not held the port yet.
    const std::optional<ProcessIdentity>& coming() const { return m_coming; }

    // Leaves word of a process that was started now.
    void note(const ProcessIdentity& started);

private:
    bool take(const std::string& path);
    std::optional<ProcessIdentity> read() const;

    std::string m_path; // of the file
    OwnedDescriptor m_file; // locked
    std::optional<ProcessIdentity> m_coming;
};

} // namespace Pt
