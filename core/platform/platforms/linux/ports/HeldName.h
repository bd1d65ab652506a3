// The name of a local port as long as this process holds it: a locked file in a folder of ports,
// and beside it the socket that is bound to it. The lock ends with the process, whatever the end.
// Whatever clears old files away may remove both under a living holder: the socket then says
// whose the name is, and keep() takes the name again. One thread at a time.
#pragma once

#include "platform/platforms/linux/ports/LocalPortFolder.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Pt {

class HeldName {
public:
    // Without waiting. Nothing when somebody holds it, in any of the places, or the system refuses.
    static std::optional<HeldName> take(LocalPortFolder folder, std::string_view name);

    HeldName(HeldName&& other) noexcept = default;
    HeldName& operator=(HeldName&& other) noexcept = default;
    HeldName(const HeldName&) = delete;
    HeldName& operator=(const HeldName&) = delete;

    // As giveUp().
    ~HeldName();

    // Takes the socket file and the lock file away, and frees the name, for good.
    void giveUp();

    const std::string& name() const { return m_name; }

    // Binds the socket of the port to its place, which is free as long as the name is held.
    bool bind(int socket);
    // Lets those know who watch for a port (PortWatch.h) or would start its holder (StartTurn.h),
    // once somebody listens on the socket.
    void announce() const;
    // Whether the socket that was bound last can still be found there.
    bool hasSocket() const;
    // Takes it away from there, as nobody listens on it.
    void dropSocket();

    // Looks whether the lock file is still there, with two calls of the system, and takes the name
    // again where it is not. False when it cannot be had; then it is worth asking again later.
    bool keep();

private:
    // What tells files apart; that of a file that is open or bound is given to no other.
    struct FileId {
        dev_t device = 0;
        ino_t number = 0;

        bool operator==(const FileId&) const = default;
    };

    HeldName(LocalPortFolder folder, std::string_view name);

    bool lock();
    bool hasLock() const;
    bool takeAgain();
    bool describe() const;
    bool isHeldElsewhere() const;
    bool clearSocket() const;
    // Of the file that has that name now; nothing when there is none.
    std::optional<FileId> idOf(const std::string& file) const;
    std::string lockFile() const { return m_stem + std::string(kLockEnding); }
    std::string socketFile() const { return m_stem + std::string(kSocketEnding); }

    LocalPortFolder m_folder;
    std::string m_name;
    std::string m_stem;
    Descriptor m_lock;
    FileId m_lockId;
    std::optional<FileId> m_socketId; // while one is bound
    pid_t m_process; // a forked child shares the lock; the name is not its own to free
};

} // namespace Pt
