#include "platform/common/files/PathAlias.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <filesystem>

namespace Pt {

namespace {

constexpr std::size_t kMaxPath = 1024; // bytes
constexpr int kMaxLinks = 40; // as the system itself follows

// One step; a relative target counts from the folder that the alias lies in.
std::filesystem::path targetOf(const std::filesystem::path& alias, std::error_code& error)
{
    return alias.parent_path() / std::filesystem::read_symlink(alias, error);
}

} // namespace

std::string resolveAlias(const std::string& path)
{
    namespace fs = std::filesystem;
    if (path.size() > kMaxPath)
        return path;
    std::error_code error;
    fs::path reached(path);
    for (int i = 0; i < kMaxLinks && fs::is_symlink(fs::symlink_status(reached, error)); ++i)
        reached = targetOf(reached, error);
    if (error || !fs::exists(reached, error) || reached.native().size() > kMaxPath)
        return path;
    return reached.string();
}

std::error_code createAlias(const std::string& alias, const std::string& target)
{
    // unlink refuses folders.
    if (::unlink(alias.c_str()) != 0 && errno != ENOENT)
        return lastError();
    return ::symlink(target.c_str(), alias.c_str()) == 0 ? std::error_code() : lastError();
}

} // namespace Pt
