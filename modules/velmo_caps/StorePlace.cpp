#include "velmo_caps/StorePlace.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/PathTrust.h"
#include "platform/common/files/SmallFile.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/UserFolders.h"

#include <filesystem>

namespace velmo_caps {

namespace {

constexpr char kRelativePath[] = "Velmo/Caps/velmo_caps.db";
constexpr std::uint32_t kRoot = 0;
constexpr std::uint32_t kOthersMayWrite = 0022;

std::string folderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

bool isSafe(const Pt::FileStatus& status, Pt::FileStatus::Kind kind, std::uint32_t owner)
{
    return status.kind == kind && status.owner == owner && (status.mode & kOthersMayWrite) == 0;
}

StoreProblem problemOf(const std::error_code& error)
{
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory)
        return StoreProblem::kMissing;
    return StoreProblem::kNoPermission;
}

std::uint32_t ownerOf(StoreKind kind)
{
    return kind == StoreKind::kMachine ? kRoot : Pt::effectiveUser();
}

StoreCondition conditionOfFound(const Pt::FileStatus& file, bool isTrusted)
{
    StoreCondition condition;
    condition.device = file.device;
    condition.inode = file.inode;
    condition.problem = isTrusted ? StoreProblem::kNone : StoreProblem::kUntrusted;
    return condition;
}

StoreCondition conditionOfGuarded(const std::string& path, std::uint32_t owner)
{
    StoreCondition condition;
    std::error_code error;
    const auto file = Pt::fileStatus(path, error);
    const auto folder = file ? Pt::fileStatus(folderOf(path), error) : std::nullopt;
    if (!folder) {
        condition.problem = problemOf(error);
        return condition;
    }
    return conditionOfFound(*file,
        isSafe(*file, Pt::FileStatus::Kind::kRegular, owner)
            && isSafe(*folder, Pt::FileStatus::Kind::kFolder, owner));
}

// Links are followed: somebody has named this file.
StoreCondition conditionOfNamed(const std::string& path)
{
    StoreCondition condition;
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::canonical(path, error);
    const auto file = error ? std::nullopt : Pt::fileStatus(whole.string(), error);
    if (!file) {
        condition.problem = problemOf(error);
        return condition;
    }
    return conditionOfFound(*file, file->kind == Pt::FileStatus::Kind::kRegular);
}

// Folders that are there keep their rights. The top, whose name is empty here, always is.
void makeFolderWithMode(const std::string& path, unsigned int mode)
{
    if (path.empty() || Pt::pathExists(path))
        return;
    makeFolderWithMode(folderOf(path), mode);
    const std::error_code error = Pt::makeFolder(path, mode);
    if (error == std::errc::file_exists)
        return;
    if (error || Pt::setMode(path, mode))
        throw StoreError(StoreProblem::kNoPermission,
            "the folder " + path + " cannot be made: " + error.message(),
            0);
}

struct Rights {
    unsigned int folder;
    unsigned int file;
};

// Everybody reads the machine's; nobody else needs the user's.
Rights rightsOf(StoreKind kind)
{
    return kind == StoreKind::kMachine ? Rights{0755, 0644} : Rights{0700, 0600};
}

void makeFileWithMode(const std::string& path, unsigned int mode)
{
    const std::error_code error = Pt::makeEmptyFile(path);
    if (error == std::errc::file_exists)
        return;
    if (error || Pt::setMode(path, mode))
        throw StoreError(StoreProblem::kNoPermission,
            "the store " + path + " cannot be made: " + error.message(),
            0);
}

// Root with the environment of a user, by sudo -E for example, would lock that user out.
void requireOwnHome(const std::string& path)
{
    std::string folder = folderOf(path);
    while (!folder.empty() && !Pt::pathExists(folder))
        folder = folderOf(folder);
    std::error_code error;
    const auto status = Pt::fileStatus(folder, error);
    if (status && status->kind == Pt::FileStatus::Kind::kRegular)
        throw StoreError(StoreProblem::kNoPermission, folder + " is a file, and no folder", 0);
    if (Pt::effectiveUser() == kRoot && !folder.empty() && !Pt::isOwnFolder(folder))
        throw StoreError(StoreProblem::kUntrusted,
            "the folder " + folder
                + " belongs to another user; root makes no store there (did sudo keep HOME?)",
            0);
}

void makeStore(const StorePlace& place)
{
    const Rights rights = rightsOf(place.kind);
    const std::string folder = folderOf(place.path);
    if (place.kind == StoreKind::kUser)
        requireOwnHome(place.path);
    makeFolderWithMode(folder, rights.folder);
    std::error_code error;
    const auto status = Pt::fileStatus(folder, error);
    if (!status || !isSafe(*status, Pt::FileStatus::Kind::kFolder, Pt::effectiveUser()))
        throw StoreError(StoreProblem::kUntrusted, place.path);
    makeFileWithMode(place.path, rights.file);
}

void requireRightToWrite(const StorePlace& place)
{
    if (place.path.empty())
        throw StoreError(StoreProblem::kNoPermission, "this user has no folder for a store", 0);
    if (place.kind == StoreKind::kMachine && Pt::effectiveUser() != kRoot)
        throw StoreError(StoreProblem::kNoPermission,
            "only root may change the machine's store, " + place.path,
            0);
}

} // namespace

StorePlace userStore()
{
    const std::string folder = Pt::lastingApplicationData();
    return {StoreKind::kUser, folder.empty() ? folder : folder + "/" + kRelativePath};
}

StorePlace machineStore()
{
    if (const auto file = Pt::machineApplicationDataFile(kRelativePath))
        return {StoreKind::kMachine, *file};
    const std::string folder = Pt::machineApplicationData();
    return {StoreKind::kMachine, folder.empty() ? folder : folder + "/" + kRelativePath};
}

StoreCondition conditionOf(const StorePlace& place)
{
    if (place.path.empty())
        return {};
    if (place.kind != StoreKind::kNamed)
        return conditionOfGuarded(place.path, ownerOf(place.kind));
    return conditionOfNamed(place.path);
}

void requireTrustedFolders(const StorePlace& place)
{
    if (place.kind == StoreKind::kNamed)
        return;
    // Its own folder is looked at with the file.
    const std::string untrusted =
        Pt::openOnTheWay(folderOf(folderOf(place.path)), {ownerOf(place.kind)});
    if (!untrusted.empty())
        throw StoreError(StoreProblem::kUntrusted,
            "the store " + place.path + " is not used: others could exchange " + untrusted
                + ", as it belongs to somebody else or can be written by others",
            0);
}

void prepareToWrite(const StorePlace& place)
{
    requireRightToWrite(place);
    requireTrustedFolders(place);
    if (place.kind != StoreKind::kNamed && conditionOf(place).problem == StoreProblem::kMissing)
        makeStore(place);
    const StoreProblem problem = conditionOf(place).problem;
    if (problem != StoreProblem::kNone
        && !(place.kind == StoreKind::kNamed && problem == StoreProblem::kMissing))
        throw StoreError(problem, place.path);
}

} // namespace velmo_caps
