// The name of a local port as long as this process holds it: a locked file in the folder of the
// ports. The lock ends with the process, whatever the end. One thread at a time.
#pragma once

#include "platform/platforms/linux/ports/LocalPortFolder.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <optional>
#include <string>
#include <string_view>

namespace Pt {

class HeldName {
public:
    // Without waiting. Nothing when somebody holds it or the system refuses.
    static std::optional<HeldName> take(LocalPortFolder folder, std::string_view name);

    HeldName(HeldName&& other) noexcept = default;
    HeldName& operator=(HeldName&& other) noexcept = default;
    HeldName(const HeldName&) = delete;
    HeldName& operator=(const HeldName&) = delete;

    // Takes the socket file and the lock file away, and frees the name.
    ~HeldName();

    const std::string& name() const { return m_name; }
    LocalAddress socketAddress() const { return m_folder.addressOf(socketFile()); }

private:
    HeldName(LocalPortFolder folder, std::string_view name);

    bool lock();
    bool stillNames() const;
    bool describe() const;
    bool removeStaleSocket() const;
    std::string lockFile() const { return m_stem + std::string(kLockEnding); }
    std::string socketFile() const { return m_stem + std::string(kSocketEnding); }

    LocalPortFolder m_folder;
    std::string m_name;
    std::string m_stem;
    Descriptor m_lock;
    pid_t m_process; // a forked child shares the lock; the name is not its own to free
};

} // namespace Pt
