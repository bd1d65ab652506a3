#include "platform/common/files/FileReplacement.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/files/TemporaryFile.h"

#include <cstdlib>
#include <memory>

#include <stdio.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr mode_t kRights = 07777;
constexpr mode_t kNewFile = 0666; // less the mask

// `replaced` is what stands there now, null for nothing. Until it has that one's mode the new file
// is for its owner alone.
std::error_code exchange(
    const std::string& path, std::string_view bytes, const struct stat* replaced)
{
    const std::string folder = folderOf(path);
    std::error_code error;
    auto fresh = TemporaryFile::make(folder, replaced ? S_IRUSR | S_IWUSR : kNewFile, error);
    if (!fresh)
        return error;
    std::optional<unsigned int> mode;
    if (replaced)
        mode = replaced->st_mode & kRights;
    if ((error = writeAndClose(fresh->file(), bytes, mode)))
        return error;
    // Flushed before the rename: the other way round, a power cut may leave the new name with an
    // empty file.
    if ((error = fresh->replace(path)))
        return error;
    return flushFolder(folder);
}

std::error_code writeInto(const std::string& path, std::string_view bytes)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_NOCTTY);
    if (!file.isOpen())
        return lastError();
    const std::error_code error = file.write(bytes.data(), bytes.size());
    return error ? error : file.close();
}

// Where the path leads nowhere, which is told by `error`.
std::error_code makeFile(
    const std::string& path, std::string_view bytes, const std::error_code& error)
{
    struct stat status = {};
    // Nothing at all, as against a link to nowhere.
    const bool isFree = ::lstat(path.c_str(), &status) == -1 && errno == ENOENT;
    return isFree ? exchange(path, bytes, nullptr) : error;
}

} // namespace

std::error_code replaceFile(const std::string& path, std::string_view bytes)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == -1)
        return makeFile(path, bytes, lastError());
    if (!S_ISREG(status.st_mode))
        return writeInto(path, bytes); // a folder refuses
    // Links are resolved first: a rename would replace the link and not what it names.
    const std::unique_ptr<char, decltype(&std::free)> file(
        ::realpath(path.c_str(), nullptr), &std::free);
    return file ? exchange(file.get(), bytes, &status) : lastError();
}

} // namespace Pt
