#include "platform/common/files/PathTrust.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <optional>

namespace Pt {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kRoot = 0;
constexpr std::uint32_t kGroupMayWrite = 0020;
constexpr std::uint32_t kOthersMayWrite = 0022; // its group among them
constexpr std::uint32_t kSticky = 01000;
constexpr int kMaxLinks = 40; // as the kernel has it; one that leads in a circle ends there

// What is left of a way, part by part.
class Way {
public:
    explicit Way(const std::string& path) { prepend(path); }

    // The next path to look at; nothing at the end.
    std::optional<std::string> next()
    {
        while (!m_parts.empty()) {
            const std::string part = m_parts.front();
            m_parts.pop_front();
            if (part.empty() || part == ".")
                continue;
            m_here = part == ".." ? m_here.parent_path() : m_here / part;
            return m_here.string();
        }
        return std::nullopt;
    }

    // False where there are too many, or the link cannot be read.
    bool follow(const std::string& link)
    {
        std::error_code error;
        const fs::path target = fs::read_symlink(link, error);
        if (error || ++m_links > kMaxLinks)
            return false;
        m_here = target.is_absolute() ? fs::path("/") : m_here.parent_path();
        prepend(target);
        return true;
    }

private:
    void prepend(const fs::path& path)
    {
        std::deque<std::string> parts;
        for (const fs::path& part : path.relative_path())
            parts.push_back(part.string());
        m_parts.insert(m_parts.begin(), parts.begin(), parts.end());
    }

    fs::path m_here = "/";
    std::deque<std::string> m_parts;
    int m_links = 0;
};

} // namespace

bool isOpenToOthers(const FileStatus& status, const TrustedOwners& owners)
{
    if (status.owner != kRoot && std::ranges::count(owners, status.owner) == 0)
        return true;
    // The rights of a link mean nothing.
    if (status.kind == FileStatus::Kind::kLink)
        return false;
    if (status.kind == FileStatus::Kind::kFolder && (status.mode & kSticky) != 0)
        return false;
    const bool isGroupOwn = status.group == status.owner;
    return (status.mode & kOthersMayWrite & (isGroupOwn ? ~kGroupMayWrite : ~0U)) != 0;
}

std::string openOnTheWay(const std::string& path, const TrustedOwners& owners)
{
    std::error_code error;
    TrustedOwners trusted = owners;
    // Inside of a container the system's folders may be somebody's who has no number there.
    if (const auto top = fileStatus("/", error))
        trusted.push_back(top->owner);
    Way way(path);
    while (const auto here = way.next()) {
        const auto status = fileStatus(*here, error);
        if (!status)
            return {};
        if (isOpenToOthers(*status, trusted))
            return *here;
        if (status->kind == FileStatus::Kind::kLink && !way.follow(*here))
            return *here;
    }
    return {};
}

} // namespace Pt
