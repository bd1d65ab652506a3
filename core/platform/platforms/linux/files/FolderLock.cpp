#include "platform/common/files/FolderLock.h"

#include "platform/platforms/linux/files/SameFile.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <sys/file.h>

namespace Pt {

std::optional<FolderLock> FolderLock::share(const std::string& folder, std::error_code& error)
{
    return take(folder, LOCK_SH, error);
}

std::optional<FolderLock> FolderLock::waitAlone(const std::string& folder, std::error_code& error)
{
    return take(folder, LOCK_EX, error);
}

std::optional<FolderLock> FolderLock::takeAlone(const std::string& folder, std::error_code& error)
{
    return take(folder, LOCK_EX | LOCK_NB, error);
}

std::optional<FolderLock> FolderLock::take(
    const std::string& folder, int operation, std::error_code& error)
{
    // A lock belongs to what is open: the folder keeps it when it is renamed.
    Descriptor opened = Descriptor::open(folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!opened.isOpen()
        || retryInterrupted([&] { return ::flock(opened.get(), operation); }) != 0) {
        error = lastError();
        return std::nullopt;
    }
    error.clear();
    return FolderLock(std::move(opened));
}

bool FolderLock::stillNames(const std::string& folder) const
{
    struct stat named = {};
    return ::lstat(folder.c_str(), &named) == 0 && isSameFile(m_folder.get(), named);
}

} // namespace Pt
