#include "platform/platforms/linux/ports/MemoryText.h"

#include "platform/common/ports/LocalPort.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace Pt {

namespace {

constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

// With anything less, its sender could change or cut the file while it is read, and a cut mapping
// kills the reader.
bool isSealed(int file)
{
    const int seals = ::fcntl(file, F_GET_SEALS);
    return seals != -1 && (seals & kSeals) == kSeals;
}

// Memory files of huge pages can be sealed, too, but their pages may be missing when touched.
bool isOfOrdinaryPages(int file)
{
    struct statfs status = {};
    return ::fstatfs(file, &status) == 0 && status.f_type == TMPFS_MAGIC;
}

bool hasSize(int file, std::uint64_t size)
{
    struct stat status = {};
    return ::fstat(file, &status) == 0 && status.st_size >= 0
        && static_cast<std::uint64_t>(status.st_size) == size;
}

} // namespace

Descriptor makeMemoryText(std::string_view head, std::string_view rest)
{
    Descriptor file(::memfd_create("local-port-text", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file.isOpen())
        return file;
    std::error_code error = file.write(head.data(), head.size());
    if (!error)
        error = file.write(rest.data(), rest.size());
    // Sealed last: a sealed file takes no more bytes, and an unsealed one is refused by the
    // receiver.
    if (!error && ::fcntl(file.get(), F_ADD_SEALS, kSeals) != 0)
        error = lastError();
    if (!error)
        return file;
    file.close();
    errno = error.value();
    return {};
}

MemoryMapping mapMemoryText(int file, std::uint64_t size)
{
    const bool holds = size > 0 && size <= LocalPort::kMaxText && isSealed(file)
        && isOfOrdinaryPages(file) && hasSize(file, size);
    if (!holds)
        return {};
    // Filled in before it may be written to: the other way round, the system would copy each page.
    const auto bytes = static_cast<std::size_t>(size);
    MemoryMapping text = MemoryMapping::make(bytes, PROT_READ, file, MAP_POPULATE);
    if (text.bytes() && ::mprotect(text.bytes(), bytes, PROT_READ | PROT_WRITE) != 0)
        return {};
    return text;
}

} // namespace Pt
