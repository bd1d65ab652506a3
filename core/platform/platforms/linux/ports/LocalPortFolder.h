// A folder that local ports lie in, opened after it was found to be this user's alone, and the
// names of the files in it. There is an order of places for it, because the first may be missing,
// or somebody else may have made it: a name is taken in the first place that can be used, and
// looked for in all of them. An object may be used by any number of threads at once.
#pragma once

#include "platform/platforms/linux/services/Descriptor.h"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

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
    // Nothing when it is missing (no_such_file_or_directory) or not to be trusted; `why` then says
    // what is wrong with it, and is empty where nothing is.
    static std::optional<LocalPortFolder> open(
        const std::string& path, std::error_code& error, std::string& why);

    // Makes it when it is missing. That it cannot be used is said once a process on standard error.
    static std::optional<LocalPortFolder> openOrMake(
        const std::string& path, std::error_code& error);

    // The first place that can be used; made when it is missing. Where descriptors or memory are
    // short, nothing: the next place would be the wrong one a moment later.
    static std::optional<LocalPortFolder> openOrMake(std::error_code& error);

    // For the calls that take a path relative to an open folder.
    int descriptor() const { return m_folder.get(); }
    const std::string& path() const { return m_path; }

    // Whether the path still leads to it, and not to one that was made since, or nowhere.
    bool isStillThere() const;

    // Where a socket file in the folder is bound or reached, however long the path is.
    LocalAddress addressOf(const std::string& file) const;

private:
    LocalPortFolder(std::string path, Descriptor folder);

    std::string m_path;
    Descriptor m_folder;
};

// Where ports may lie, in this order; none is made or looked into.
std::vector<std::string> localPortPlaces();

// Of these places those that are there and can be used. None with an error when no place can be
// used, not even one that is missing, or when descriptors or memory are short. Says once a process
// on standard error that the first cannot be used.
std::vector<LocalPortFolder> openLocalPortFolders(std::error_code& error);

// Whether that error passes, and says nothing about what was asked for.
bool isShortage(const std::error_code& error);

// What the files of a port are called, without their endings.
std::string localPortStem(std::string_view name);

constexpr std::string_view kLockEnding = ".lock";
constexpr std::string_view kSocketEnding = ".sock";
constexpr std::string_view kStartEnding = ".start"; // see StartTurn.h

} // namespace Pt
