#include "platform/common/files/HeldFolder.h"

#include "platform/platforms/linux/files/SameFile.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <filesystem>

namespace Pt {

namespace {

constexpr char kDescriptors[] = "/proc/self/fd/";

} // namespace

std::optional<HeldFolder> HeldFolder::open(const std::string& path, std::error_code& error)
{
    return open(path, path, error);
}

std::optional<HeldFolder> HeldFolder::open(
    const std::string& way, const std::string& path, std::error_code& error)
{
    // Kept open: this descriptor, and not the path, is the way to the folder.
    Descriptor folder = Descriptor::open(way, O_RDONLY | O_DIRECTORY);
    error = folder.isOpen() ? std::error_code() : lastError();
    if (error)
        return std::nullopt;
    return HeldFolder(path, std::move(folder));
}

// The last dot follows the system's link to the descriptor, also where links are not followed.
HeldFolder::HeldFolder(std::string path, OwnedDescriptor folder)
    : m_path(std::move(path))
    , m_ownPath(kDescriptors + std::to_string(folder.get()) + "/.")
    , m_folder(std::move(folder))
{
}

std::string HeldFolder::nameOf(const std::string& ownPathBelow)
{
    const std::size_t end = ownPathBelow.find("/.", std::string(kDescriptors).size());
    std::error_code error;
    if (!ownPathBelow.starts_with(kDescriptors) || end == std::string::npos)
        return ownPathBelow;
    // Where the folder is now, which may not be where it was opened.
    const auto name = std::filesystem::read_symlink(ownPathBelow.substr(0, end), error);
    return error ? ownPathBelow : name.string() + ownPathBelow.substr(end + 2);
}

bool HeldFolder::isAtItsPath() const
{
    return isNamedBy(m_path);
}

bool HeldFolder::isNamedBy(const std::string& path) const
{
    struct stat named = {};
    return ::stat(path.c_str(), &named) == 0 && isSameFile(m_folder.get(), named);
}

} // namespace Pt
