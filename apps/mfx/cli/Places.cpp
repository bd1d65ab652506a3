#include "mfx/cli/Places.h"

#include "commandline/ExitCode.h"
#include "commandline/NameText.h"
#include "mfx/engine/GroupStager.h"
#include "platform/common/FileAccess.h"
#include "platform/common/FilePlacement.h"

#include <algorithm>
#include <filesystem>

namespace mfx {

using namespace commandline;

namespace fs = std::filesystem;

namespace {

constexpr int kWriteAndEnter = 2 | 1;
constexpr unsigned int kFolderMode = 0777; // less the process's mask

[[noreturn]] void refuse(const char* purpose, const std::string& folder, const std::string& why)
{
    throw CommandError(ExitCode::kPlaceUnusable,
        std::string("the ") + purpose + ' ' + displayName(folder) + ' ' + why);
}

bool isBelow(const fs::path& path, const fs::path& folder)
{
    const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return end == folder.end();
}

} // namespace

std::string absolutePath(const std::string& text)
{
    if (text.empty())
        return text;
    fs::path path = fs::absolute(text).lexically_normal();
    return path.has_filename() || !path.has_relative_path() ? path.string()
                                                            : path.parent_path().string();
}

void requireUsablePlace(const std::string& folder, const std::string& source, const char* purpose)
{
    std::error_code error;
    if (!isUtf8(folder))
        refuse(purpose, folder, "has a name that is not UTF-8: choose another folder");
    if (fs::exists(folder, error) && !fs::is_directory(folder, error))
        refuse(purpose, folder, "is a file: name a folder");
    const fs::path whole = fs::weakly_canonical(folder, error);
    const fs::path card = fs::weakly_canonical(source, error);
    if (isBelow(whole, card))
        refuse(purpose, folder, "lies inside the source: choose a folder outside it");
    if (isTooDeep(whole.string()))
        refuse(purpose, folder, "lies too deep: choose a folder with a shorter path");
}

std::string makePlace(const std::string& folder, const char* purpose)
{
    if (const std::error_code error = Pt::makeFolders(folder, kFolderMode))
        refuse(purpose, folder, "cannot be made: " + error.message());
    std::error_code error;
    const fs::path whole = fs::canonical(folder, error);
    if (error)
        refuse(purpose, folder, "cannot be used: " + error.message());
    if (Pt::accessPath(whole.string(), kWriteAndEnter) != 0)
        refuse(purpose, folder, "cannot be written: check its permissions");
    return whole.string();
}

} // namespace mfx
