#include "platform/common/files/SmallFile.h"

#include "platform/platforms/linux/files/TemporaryFile.h"

#include <sys/stat.h>

namespace Pt {

namespace {

std::error_code resultOf(int call)
{
    return call == -1 ? lastError() : std::error_code();
}

} // namespace

bool pathExists(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0;
}

std::error_code makeFolder(const std::string& path, unsigned int mode)
{
    return resultOf(::mkdir(path.c_str(), mode));
}

std::error_code setMode(const std::string& path, unsigned int mode)
{
    return resultOf(::chmod(path.c_str(), mode));
}

std::error_code removeFolder(const std::string& path)
{
    return resultOf(::rmdir(path.c_str()));
}

std::error_code placeNewFile(const std::string& path, std::string_view bytes)
{
    std::error_code error;
    auto fresh = TemporaryFile::make(folderOf(path), S_IRUSR | S_IWUSR, error);
    if (!fresh)
        return error;
    // Flushed before it gets its name: else a power cut may leave the name with an empty file.
    if ((error = writeAndClose(fresh->file(), bytes)))
        return error;
    return fresh->place(path);
}

} // namespace Pt
