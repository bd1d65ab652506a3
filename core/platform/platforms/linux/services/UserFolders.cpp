#include "platform/common/services/UserFolders.h"

#include "platform/platforms/linux/files/TextFile.h"
#include "platform/platforms/linux/services/PathType.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace Pt {

namespace {

std::string withoutSlashAtEnd(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

bool isAbsolute(std::string_view path)
{
    return !path.empty() && path.front() == '/';
}

// Empty when the variable does not hold an absolute path.
std::string folderFromEnvironment(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && isAbsolute(value) ? withoutSlashAtEnd(value) : std::string();
}

std::string homeFromAccount()
{
    // Room for the texts of an account; the system's own advice is 1024, and directory services
    // need more.
    std::array<char, 16384> buffer{};
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return {};
    const bool hasHome = found->pw_dir && isAbsolute(found->pw_dir);
    return hasHome ? withoutSlashAtEnd(found->pw_dir) : std::string();
}

std::string joined(const std::string& folder, const std::string& relative)
{
    return folder == "/" ? folder + relative : folder + "/" + relative;
}

std::string belowHome(const std::string& relative)
{
    const std::string home = homeFolder();
    return home.empty() ? home : joined(home, relative);
}

std::string fromEnvironmentOrHome(const char* variable, const std::string& relative)
{
    std::string folder = folderFromEnvironment(variable);
    return folder.empty() ? belowHome(relative) : folder;
}

// The text between the quotes as a shell reads it; empty when they do not close.
std::string unquoted(std::string_view text)
{
    std::string result;
    if (text.empty() || text.front() != '"')
        return result;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"')
            return result;
        // A backslash takes the next character as it is, a quote mark too.
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        result += text[i];
    }
    return {};
}

// "$HOME/folder" or an absolute path; empty for everything else.
std::string userFolder(std::string_view value)
{
    constexpr std::string_view kHome = "$HOME";
    const std::string path = unquoted(value);
    if (path.compare(0, kHome.size(), kHome) != 0)
        return isAbsolute(path) ? withoutSlashAtEnd(path) : std::string();
    const std::string home = homeFolder();
    const std::string rest = path.substr(kHome.size());
    // "$HOMEdir" is another variable, and not one that is known here.
    if (home.empty() || !(rest.empty() || isAbsolute(rest)))
        return {};
    return withoutSlashAtEnd(home == "/" && !rest.empty() ? rest : home + rest);
}

// The last assignment holds, as in a shell.
std::string userFolderFromList(std::string_view name)
{
    std::string folder;
    const std::string config = userConfigFolder();
    if (config.empty())
        return folder;
    for (const std::string& line : readSettingsLines(joined(config, "user-dirs.dirs"))) {
        const std::string_view assignment = trimmed(line);
        if (assignment.substr(0, name.size()) == name && assignment.substr(name.size(), 1) == "=")
            folder = userFolder(assignment.substr(name.size() + 1));
    }
    return folder;
}

// XDG_DATA_DIRS, without the relative ones: they are to be ignored, by the same rules that name the
// folders for a variable that is not set.
std::vector<std::string> machineDataFolders()
{
    const char* const value = std::getenv("XDG_DATA_DIRS");
    std::string_view folders = value && *value ? value : "/usr/local/share:/usr/share";
    std::vector<std::string> result;
    while (!folders.empty()) {
        const std::string folder(folders.substr(0, folders.find(':')));
        folders.remove_prefix(std::min(folder.size() + 1, folders.size()));
        if (isAbsolute(folder))
            result.push_back(withoutSlashAtEnd(folder));
    }
    return result;
}

} // namespace

std::string homeFolder()
{
    std::string home = folderFromEnvironment("HOME");
    return home.empty() ? homeFromAccount() : home;
}

std::string picturesFolder()
{
    std::string folder = userFolderFromList("XDG_PICTURES_DIR");
    return folder.empty() ? belowHome("Pictures") : folder;
}

std::string userApplicationData()
{
    std::string folder = folderFromEnvironment("MFX_APPLICATION_DATA");
    return folder.empty() ? fromEnvironmentOrHome("XDG_DATA_HOME", ".local/share") : folder;
}

std::string lastingApplicationData()
{
    std::string folder = folderFromEnvironment("MFX_USER_DATA");
    return folder.empty() ? userApplicationData() : folder;
}

std::string userConfigFolder()
{
    return fromEnvironmentOrHome("XDG_CONFIG_HOME", ".config");
}

std::string userCacheFolder()
{
    return fromEnvironmentOrHome("XDG_CACHE_HOME", ".cache");
}

std::string userStateFolder()
{
    return fromEnvironmentOrHome("XDG_STATE_HOME", ".local/state");
}

std::string machineApplicationData()
{
    const auto folders = machineDataFolders();
    return folders.empty() ? std::string() : folders.front();
}

std::optional<std::string> machineApplicationDataFile(const std::string& relative)
{
    for (const std::string& folder : machineDataFolders())
        if (std::string file = joined(folder, relative); hasType(file, S_IFREG))
            return file;
    return std::nullopt;
}

std::optional<std::string> runtimeFolder()
{
    const std::string folders[] = {folderFromEnvironment("XDG_RUNTIME_DIR"),
        // Where a login puts it, for programs that are started without the login's environment.
        "/run/user/" + std::to_string(::geteuid())};
    for (const std::string& folder : folders)
        if (!folder.empty() && isOwnFolder(folder))
            return folder;
    return std::nullopt;
}

bool isOwnFolder(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == ::geteuid();
}

} // namespace Pt
