#include "platform/platforms/linux/ports/LocalPortFolder.h"

#include "platform/common/files/ContentDigest.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/UserFolders.h"
#include "platform/platforms/linux/files/SameFile.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sys/stat.h>

namespace Pt {

namespace {

std::atomic_flag gIsRefusalTold;

// Empty when the working folder is gone.
std::string absolute(const char* path)
{
    std::error_code error;
    return *path == '/' ? path : std::filesystem::absolute(path, error).string();
}

// A slash or dot behind it would make the system follow a link.
std::string withoutEmptyNamesAtEnd(std::string path)
{
    while (path.size() > 1 && (path.ends_with('/') || path.ends_with("/.")))
        path.pop_back();
    return path;
}

// Empty when the folder can be trusted.
std::string whyRefused(const struct stat& status)
{
    if (S_ISLNK(status.st_mode))
        return "it is a link";
    if (!S_ISDIR(status.st_mode))
        return "it is no folder";
    if (status.st_uid != ::geteuid())
        return "it belongs to another user";
    // The group as well: its members could put sockets there.
    constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
    return status.st_mode & kOthers ? "it is open to other users" : "";
}

std::string whyRefused(int folder)
{
    struct stat status = {};
    return ::fstat(folder, &status) == 0 ? whyRefused(status) : lastError().message();
}

// The user's own folder, as the identity of the bus has it; empty without a home of this user.
std::string folderOfHome()
{
    const char* const home = std::getenv("HOME");
    return home && *home == '/' && isOwnFolder(home) ? std::string(home) + '/' + kOwnFolderName
                                                     : std::string();
}

constexpr std::string_view kBelowHome = "/ports";

// Only the last folder of a path is made, as those above belong to the system or to whoever set the
// variable; but the one in the user's home is ours, too.
std::error_code makePlace(const std::string& path)
{
    const std::string own = folderOfHome();
    const bool isBelowHome = !own.empty() && path == own + std::string(kBelowHome);
    if (isBelowHome && ::mkdir(own.c_str(), kOwnFolderMode) != 0 && errno != EEXIST)
        return lastError();
    // Root could make it in a folder of somebody else, whom it would lock out.
    if (isBelowHome && !isOwnFolder(own))
        return std::make_error_code(std::errc::permission_denied);
    return ::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST ? lastError() : std::error_code();
}

bool canBeUsed(const std::string& path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENOENT;
    return whyRefused(status).empty();
}

// Nothing of one that is missing, or for which the system has no room just now.
std::string whyNotOpened(const std::error_code& error)
{
    const bool isRefused = error != std::errc::no_such_file_or_directory && !isShortage(error);
    return isRefused ? error.message() : "";
}

void tellRefusal(const std::string& folder, const std::string& why)
{
    // Ports are asked for again and again, and the reason stays the same.
    if (gIsRefusalTold.test_and_set())
        return;
    std::string message = "The folder of the local ports, " + folder + ", is not used: " + why
        + ". It has to be a folder of this user with mode 0700; mend or remove it, or set"
          " TEVOROTALK_PORT_DIR to another.";
    const std::vector<std::string> places = localPortPlaces();
    const auto next = std::find_if(std::ranges::find(places, folder), places.end(), canBeUsed);
    if (next != places.end())
        message += " Until then ports lie in " + *next + ".";
    std::fputs((message + '\n').c_str(), stderr);
}

} // namespace

bool isShortage(const std::error_code& error)
{
    return error == std::errc::too_many_files_open
        || error == std::errc::too_many_files_open_in_system
        || error == std::errc::not_enough_memory || error == std::errc::no_buffer_space;
}

std::vector<std::string> localPortPlaces()
{
    const char* const chosen = std::getenv("TEVOROTALK_PORT_DIR");
    // Never another: whoever sets it wants these ports apart.
    if (chosen && *chosen)
        return {withoutEmptyNamesAtEnd(absolute(chosen))};
    std::vector<std::string> places;
    if (const auto runtime = runtimeFolder())
        places.push_back(*runtime + "/tevorotalk");
    places.push_back("/tmp/tevorotalk-" + std::to_string(::geteuid()));
    // Anybody may have made the one before; nobody else can make this one.
    if (const std::string own = folderOfHome(); !own.empty())
        places.push_back(own + std::string(kBelowHome));
    return places;
}

std::string localPortFolder()
{
    std::vector<std::string> places = localPortPlaces();
    const auto usable = std::ranges::find_if(places, canBeUsed);
    return usable != places.end() ? *usable : places.front();
}

LocalPortFolder::LocalPortFolder(std::string path, Descriptor folder)
    : m_path(std::move(path))
    , m_folder(std::move(folder))
{
}

std::optional<LocalPortFolder> LocalPortFolder::open(
    const std::string& path, std::error_code& error, std::string& why)
{
    // As it stands: a link is opened, not followed.
    Descriptor folder = Descriptor::open(path, O_PATH | O_NOFOLLOW);
    if (!folder.isOpen()) {
        error = lastError();
        why = whyNotOpened(error);
        return std::nullopt;
    }
    // What was opened is looked at, and not the path, which may lead elsewhere a moment later.
    why = whyRefused(folder.get());
    error = why.empty() ? std::error_code() : std::make_error_code(std::errc::permission_denied);
    return error ? std::nullopt : std::optional(LocalPortFolder(path, std::move(folder)));
}

std::optional<LocalPortFolder> LocalPortFolder::openOrMake(
    const std::string& path, std::error_code& error)
{
    std::string why;
    std::optional<LocalPortFolder> folder;
    if (!(error = makePlace(path)))
        folder = open(path, error, why);
    else if (!isShortage(error))
        why = "it cannot be made: " + error.message();
    if (!why.empty())
        tellRefusal(path, why);
    return folder;
}

std::optional<LocalPortFolder> LocalPortFolder::openOrMake(std::error_code& error)
{
    for (const std::string& path : localPortPlaces()) {
        auto folder = openOrMake(path, error);
        if (folder || isShortage(error))
            return folder;
    }
    return std::nullopt;
}

std::vector<LocalPortFolder> openLocalPortFolders(std::error_code& error)
{
    std::vector<LocalPortFolder> folders;
    std::error_code refusal;
    bool isFirst = true; // of those that names would be taken in
    for (const std::string& path : localPortPlaces()) {
        std::string why;
        if (auto folder = LocalPortFolder::open(path, error, why))
            folders.push_back(std::move(*folder));
        else if (isShortage(error))
            return {};
        if (why.empty()) {
            isFirst = false;
        } else if (isFirst) {
            refusal = error;
            tellRefusal(path, why);
        }
    }
    error = isFirst ? refusal : std::error_code();
    return folders;
}

bool LocalPortFolder::isStillThere() const
{
    struct stat named = {};
    return ::lstat(m_path.c_str(), &named) == 0 && isSameFile(m_folder.get(), named);
}

LocalAddress LocalPortFolder::addressOf(const std::string& file) const
{
    LocalAddress result;
    sockaddr_un& address = result.address;
    address.sun_family = AF_UNIX;
    std::string path = m_path + '/' + file;
    // A socket address has 108 bytes; by way of the open folder any path is short enough.
    if (path.size() >= sizeof address.sun_path)
        path = "/proc/self/fd/" + std::to_string(m_folder.get()) + '/' + file;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    result.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
    return result;
}

std::string localPortStem(std::string_view name)
{
    // Half of the digest: file names stay short, and two ports still never meet.
    constexpr std::size_t kBytes = 16;
    constexpr char kDigits[] = "0123456789abcdef";
    ContentDigester digester;
    digester.add(name.data(), name.size());
    const ContentDigest digest = digester.finish();
    std::string stem;
    for (std::size_t i = 0; i < kBytes; ++i) {
        stem += kDigits[digest.sha256[i] >> 4U];
        stem += kDigits[digest.sha256[i] & 15U];
    }
    return stem;
}

} // namespace Pt
