#include "platform/common/files/PrivateFolder.h"

#include "platform/common/services/UserFolders.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace fs = std::filesystem;

namespace {

bool isOurs(const std::string& folder)
{
    struct stat status = {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == ::geteuid();
}

// The lock of the process that made a folder ends with the process.
void removeStale(const fs::path& parent, const std::string& prefix)
{
    std::error_code error;
    for (fs::directory_iterator it(parent, error), end; !error && it != end; it.increment(error)) {
        const std::string path = it->path().string();
        if (it->path().filename().string().rfind(prefix, 0) != 0 || !isOurs(path))
            continue;
        const Descriptor folder = Descriptor::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        std::error_code ignored;
        if (folder.isOpen() && ::flock(folder.get(), LOCK_EX | LOCK_NB) == 0)
            fs::remove_all(path, ignored);
    }
}

bool stillNames(const Descriptor& folder, const std::string& path)
{
    struct stat held = {};
    struct stat named = {};
    return ::fstat(folder.get(), &held) == 0 && ::lstat(path.c_str(), &named) == 0
        && held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

std::optional<std::string> makeIn(
    const fs::path& parent, const std::string& prefix, std::error_code& error)
{
    removeStale(parent, prefix);
    for (;;) {
        std::string path = (parent / (prefix + "XXXXXX")).string();
        if (!::mkdtemp(path.data())) {
            error = lastError();
            return std::nullopt;
        }
        Descriptor folder = Descriptor::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        error = lastError();
        // Gone again means that another process has taken it for stale, as it was not locked yet.
        if (!folder.isOpen() && error != std::errc::no_such_file_or_directory)
            return std::nullopt;
        if (!folder.isOpen())
            continue;
        retryInterrupted([&] { return ::flock(folder.get(), LOCK_EX); });
        // Until it was locked, another process may have taken it for stale.
        if (!stillNames(folder, path))
            continue;
        folder.release(); // held to the end of the process, and closed by it
        return path;
    }
}

} // namespace

std::string makePrivateFolder(const std::string& purpose)
{
    const std::string prefix = purpose + '-' + std::to_string(::geteuid()) + '-';
    std::error_code error;
    const auto runtime = runtimeFolder();
    if (auto path = runtime ? makeIn(*runtime, prefix, error) : std::nullopt)
        return std::move(*path);
    const fs::path temporary = fs::temp_directory_path();
    if (auto path = makeIn(temporary, prefix, error))
        return std::move(*path);
    throw std::system_error(error, "cannot make a folder in " + temporary.string());
}

} // namespace Pt
