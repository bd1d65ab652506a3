#include "platform/platforms/linux/ports/LocalPortFolder.h"

#include "platform/common/files/ContentDigest.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/UserFolders.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sys/stat.h>

namespace Pt {

namespace {

std::atomic_flag gIsRefusalTold;

void tellRefusal(const std::string& folder, const std::string& why)
{
    // Ports are asked for again and again, and the reason stays the same.
    if (gIsRefusalTold.test_and_set())
        return;
    const std::string message = "The folder of the local ports, " + folder + ", is not used: " + why
        + ". It has to be a folder of this user with mode 0700; mend or remove it, or set"
          " TEVOROTALK_PORT_DIR to another.\n";
    std::fputs(message.c_str(), stderr);
}

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

// Passes, and says nothing about the folder.
bool isShortage(const std::error_code& error)
{
    return error == std::errc::too_many_files_open
        || error == std::errc::too_many_files_open_in_system
        || error == std::errc::not_enough_memory;
}

// Empty when the folder can be trusted.
std::string whyRefused(int folder)
{
    struct stat status = {};
    if (::fstat(folder, &status) != 0)
        return lastError().message();
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

} // namespace

std::string localPortFolder()
{
    const char* const chosen = std::getenv("TEVOROTALK_PORT_DIR");
    if (chosen && *chosen)
        return withoutEmptyNamesAtEnd(absolute(chosen));
    if (const auto runtime = runtimeFolder())
        return *runtime + "/tevorotalk";
    return "/tmp/tevorotalk-" + std::to_string(::geteuid());
}

LocalPortFolder::LocalPortFolder(std::string path, Descriptor folder)
    : m_path(std::move(path))
    , m_folder(std::move(folder))
{
}

std::optional<LocalPortFolder> LocalPortFolder::open(std::error_code& error)
{
    std::string path = localPortFolder();
    // As it stands: a link is opened, not followed.
    Descriptor folder = Descriptor::open(path, O_PATH | O_NOFOLLOW);
    if (!folder.isOpen()) {
        error = lastError();
        if (error != std::errc::no_such_file_or_directory && !isShortage(error))
            tellRefusal(path, error.message());
        return std::nullopt;
    }
    // What was opened is looked at, and not the path, which may lead elsewhere a moment later.
    if (const std::string why = whyRefused(folder.get()); !why.empty()) {
        error = std::make_error_code(std::errc::permission_denied);
        tellRefusal(path, why);
        return std::nullopt;
    }
    error.clear();
    return LocalPortFolder(std::move(path), std::move(folder));
}

std::optional<LocalPortFolder> LocalPortFolder::openOrMake(std::error_code& error)
{
    const std::string path = localPortFolder();
    // One folder only: the one above belongs to the system or to whoever set the variable.
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        error = lastError();
        tellRefusal(path, "it cannot be made: " + error.message());
        return std::nullopt;
    }
    return open(error);
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
