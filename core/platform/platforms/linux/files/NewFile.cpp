#include "platform/common/files/NewFile.h"

#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/files/FileTime.h"
#include "platform/platforms/linux/files/TemporaryFile.h"

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace Pt {

std::optional<NewFile> NewFile::make(
    const std::string& folder, unsigned int mode, std::error_code& error)
{
    auto file = TemporaryFile::make(folder, mode, error);
    if (!file)
        return std::nullopt;
    return NewFile(std::make_unique<TemporaryFile>(std::move(*file)));
}

NewFile::NewFile(std::unique_ptr<TemporaryFile> file)
    : m_file(std::move(file))
{
}

NewFile::NewFile(NewFile&&) noexcept = default;
NewFile& NewFile::operator=(NewFile&&) noexcept = default;
NewFile::~NewFile() = default;

int NewFile::descriptor() const
{
    return m_file->file().get();
}

std::error_code NewFile::write(const void* bytes, std::size_t count)
{
    return m_file->file().write(bytes, count);
}

std::error_code NewFile::flush()
{
    return m_file->file().flush();
}

std::error_code NewFile::setModified(std::int64_t time) const
{
    const timespec times[2] = {{0, UTIME_OMIT}, timeOfNanoseconds(time)};
    return ::futimens(descriptor(), times) == 0 ? std::error_code() : lastError();
}

std::optional<ContentDigest> NewFile::contentOnDisk(std::error_code& error) const
{
    return digestOfFile(m_file->path(), error);
}

std::error_code NewFile::place(const std::string& path)
{
    if (const std::error_code error = flush())
        return error;
    if (const std::error_code error = m_file->place(path))
        return error;
    return flushFolder(folderOf(path));
}

} // namespace Pt
