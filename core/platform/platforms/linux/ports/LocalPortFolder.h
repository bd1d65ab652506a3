// The folder that local ports lie in, opened after it was found to be this user's alone, and the
// names of the files in it. An object may be used by any number of threads at once.
#pragma once

#include "platform/platforms/linux/services/Descriptor.h"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>

namespace Pt {

struct LocalAddress {
    sockaddr_un address = {};
    socklen_t size = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

class LocalPortFolder {
public:
    // The folder of localPortFolder(). Nothing when it is missing (no_such_file_or_directory) or
    // not to be trusted; the latter is said once a process on standard error.
    static std::optional<LocalPortFolder> open(std::error_code& error);

    // Makes it when it is missing.
    static std::optional<LocalPortFolder> openOrMake(std::error_code& error);

    // For the calls that take a path relative to an open folder.
    int descriptor() const { return m_folder.get(); }
    const std::string& path() const { return m_path; }

    // Where a socket file in the folder is bound or reached, however long the path is.
    LocalAddress addressOf(const std::string& file) const;

private:
    LocalPortFolder(std::string path, Descriptor folder);

    std::string m_path;
    Descriptor m_folder;
};

// What the files of a port are called, without their endings.
std::string localPortStem(std::string_view name);

constexpr std::string_view kLockEnding = ".lock";
constexpr std::string_view kSocketEnding = ".sock";

} // namespace Pt
