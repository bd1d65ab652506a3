#include "preference_xml_parser/PreferenceFile.h"

#include "platform/common/files/FilePlacement.h"
#include "preference_xml_parser/PreferenceDocument.h"

#include <chrono>
#include <filesystem>
#include <system_error>

namespace preferences {
namespace {

// The user's choices are nobody else's business.
constexpr unsigned int kFolderMode = 0700;
constexpr unsigned int kFileMode = 0600;

constexpr std::chrono::milliseconds kLockPatience{5000};
constexpr int kMaxDamagedFiles = 999;

} // namespace

bool makeStoreFolder(const std::string& folder)
{
    return !Pt::makeFolders(folder, kFolderMode);
}

PreferenceFile::PreferenceFile(const std::string& folder, int domain)
    : m_folder(folder)
    , m_base(folder + "/preferences-" + std::to_string(domain))
{
}

std::optional<Pt::FileLock> PreferenceFile::lock() const
{
    // The user may have removed the folder while the program ran.
    if (!makeStoreFolder(m_folder))
        return std::nullopt;
    std::error_code error;
    return Pt::FileLock::take(m_base + ".lock", kLockPatience, error);
}

Pt::FileContent PreferenceFile::read() const
{
    return Pt::readFile(m_base + ".xml", kMaxFileLength);
}

bool PreferenceFile::write(std::string_view bytes) const
{
    std::string target = m_base + ".xml";
    std::error_code error;
    // A rename would replace the link. So the file that it leads to is replaced, in its own folder.
    if (std::filesystem::is_symlink(target, error)) {
        target = std::filesystem::canonical(target, error).string();
        if (error)
            return false;
    }
    return !Pt::writeFileAtomically(target, bytes, kFileMode);
}

bool PreferenceFile::putAside() const
{
    for (int number = 1; number <= kMaxDamagedFiles; ++number) {
        const std::string aside = m_base + ".damaged-" + std::to_string(number) + ".xml";
        // Asking for a free name first would leave a gap in which somebody else takes it.
        const std::error_code error = Pt::moveWithoutReplacing(m_base + ".xml", aside);
        if (error != std::errc::file_exists)
            return !error;
    }
    return false;
}

} // namespace preferences
