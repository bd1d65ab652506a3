#include "platform/common/PrivateFolder.h"

#include "platform/common/UserFolders.h"
#include "platform/platforms/linux/Descriptor.h"

#include <cstdlib>
#include <filesystem>

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

} // namespace

std::string makePrivateFolder(const std::string& purpose)
{
    const fs::path parent = runtimeFolder().value_or(fs::temp_directory_path().string());
    const std::string prefix = purpose + '-' + std::to_string(::geteuid()) + '-';
    removeStale(parent, prefix);
    std::string path = (parent / (prefix + "XXXXXX")).string();
    if (!::mkdtemp(path.data()))
        throw std::system_error(lastError(), "cannot make a folder in " + parent.string());
    // Held to the end of the process, and closed by it.
    const int held = Descriptor::open(path, O_RDONLY | O_DIRECTORY).release();
    ::flock(held, LOCK_EX);
    return path;
}

} // namespace Pt
