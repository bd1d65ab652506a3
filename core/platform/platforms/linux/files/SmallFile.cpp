#include "platform/common/files/SmallFile.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cstdlib>

#include <sys/stat.h>

namespace Pt {

namespace {

std::error_code resultOf(int call)
{
    return call == -1 ? lastError() : std::error_code();
}

std::error_code fill(Descriptor& file, std::string_view bytes)
{
    if (const std::error_code error = file.write(bytes.data(), bytes.size()))
        return error;
    // Else a power cut may leave the name with an empty file.
    if (const std::error_code error = file.flush())
        return error;
    return file.close();
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

std::error_code removeFolder(const std::string& path)
{
    return resultOf(::rmdir(path.c_str()));
}

std::error_code placeNewFile(const std::string& path, std::string_view bytes)
{
    std::string temporary = path + ".XXXXXX";
    Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC)); // mode 0600
    if (!file.isOpen())
        return lastError();
    std::error_code error = fill(file, bytes);
    if (!error)
        error = moveWithoutReplacing(temporary, path);
    if (error)
        ::unlink(temporary.c_str());
    return error;
}

} // namespace Pt
