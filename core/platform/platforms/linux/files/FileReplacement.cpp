#include "platform/common/files/FileReplacement.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <atomic>
#include <cstdlib>
#include <memory>

#include <stdio.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr mode_t kRights = 07777;
constexpr mode_t kNewFile = 0666; // less the mask

// Flushed and closed, each step looked at: some file systems tell of a full disk only then.
std::error_code fill(Descriptor& file, std::string_view bytes, const struct stat* replaced)
{
    if (const std::error_code error = file.write(bytes.data(), bytes.size()))
        return error;
    if (replaced && ::fchmod(file.get(), replaced->st_mode & kRights) == -1)
        return lastError();
    if (const std::error_code error = file.flush())
        return error;
    return file.close();
}

// A new file beside `path`, under a name that nobody has.
Descriptor openBeside(const std::string& folder, mode_t mode, std::string& name)
{
    static std::atomic<unsigned long> counter{0};
    for (;;) {
        name = folder + ".new-" + std::to_string(::getpid()) + '-' + std::to_string(++counter);
        Descriptor file = Descriptor::open(name, O_WRONLY | O_CREAT | O_EXCL, mode);
        if (file.isOpen() || errno != EEXIST)
            return file;
    }
}

// `replaced` is what stands there now, null for nothing.
std::error_code exchange(
    const std::string& path, std::string_view bytes, const struct stat* replaced)
{
    const std::string folder = path.substr(0, path.find_last_of('/') + 1); // with its slash
    std::string temporary;
    Descriptor file = openBeside(folder, replaced ? S_IRUSR | S_IWUSR : kNewFile, temporary);
    if (!file.isOpen())
        return lastError();
    std::error_code error = fill(file, bytes, replaced);
    if (!error && ::rename(temporary.c_str(), path.c_str()) == -1)
        error = lastError();
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }
    return flushFolder(folder.empty() ? "." : folder);
}

std::error_code writeInto(const std::string& path, std::string_view bytes)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_NOCTTY);
    if (!file.isOpen())
        return lastError();
    const std::error_code error = file.write(bytes.data(), bytes.size());
    return error ? error : file.close();
}

} // namespace

std::error_code replaceFile(const std::string& path, std::string_view bytes)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == -1) {
        const std::error_code error = lastError();
        const bool isFree = ::lstat(path.c_str(), &status) == -1 && errno == ENOENT;
        return isFree ? exchange(path, bytes, nullptr) : error;
    }
    if (!S_ISREG(status.st_mode))
        return writeInto(path, bytes); // a folder refuses
    const std::unique_ptr<char, decltype(&std::free)> file(
        ::realpath(path.c_str(), nullptr), &std::free);
    return file ? exchange(file.get(), bytes, &status) : lastError();
}

} // namespace Pt
