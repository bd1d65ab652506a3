#pragma once

#include <optional>
#include <string>

// Where this user's files and settings lie. Paths are bytes as the system takes them, absolute and
// without a slash at the end; nothing is made and nothing but machineApplicationDataFile checks
// that the folder is there. Each call looks at the environment afresh, and a folder variable that
// is empty or relative counts as not set. A user without a home folder gets an empty text.
// Any thread may call, as long as none changes the environment.
namespace Pt {

std::string homeFolder();

// The folder in a user's home that is these programs' own, and the mode that it is made with, less
// the process's mask: others may pass through it.
inline constexpr const char* kOwnFolderName = ".velmo";
inline constexpr unsigned int kOwnFolderMode = 0771;

// XDG_PICTURES_DIR of the user's list of folders, else Pictures in the home folder.
std::string picturesFolder();

// MFX_APPLICATION_DATA, else XDG_DATA_HOME, else ~/.local/share.
std::string userApplicationData();

// The same for what is no matter of one run: MFX_USER_DATA, else userApplicationData(). A program
// that lays MFX_APPLICATION_DATA over the user's folder for a run of its own leaves that folder in
// MFX_USER_DATA, for itself and for the programs that it starts.
std::string lastingApplicationData();

// XDG_CONFIG_HOME, else ~/.config.
std::string userConfigFolder();

// XDG_CACHE_HOME, else ~/.cache.
std::string userCacheFolder();

// XDG_STATE_HOME, else ~/.local/state.
std::string userStateFolder();

// The first of XDG_DATA_DIRS (/usr/local/share where that is not set): where what is new for the
// whole machine goes. Empty where the variable names no absolute folder.
std::string machineApplicationData();

// relative below the first of XDG_DATA_DIRS (/usr/local/share and /usr/share where that is not set)
// that holds it as a file.
std::optional<std::string> machineApplicationDataFile(const std::string& relative);

// XDG_RUNTIME_DIR, else /run/user/<user id>: the first that is a folder of this user. For root the
// folder of another user is none.
std::optional<std::string> runtimeFolder();

// Whether it is a folder, or a link to one, that belongs to this user. Root may write into
// everybody's folder, and what it makes there locks the owner out.
bool isOwnFolder(const std::string& path);

} // namespace Pt
