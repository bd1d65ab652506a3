#include "platform/common/files/FileSystemFacts.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

namespace Pt {

namespace fs = std::filesystem;

namespace {

// From <linux/magic.h> and the file systems' own sources.
constexpr auto kOwnFiles = std::to_array<std::uint32_t>({
    0xEF53, // ext2, ext3, ext4
    0x58465342, // xfs
    0x9123683E, // btrfs
    0xF2F52010, // f2fs
    0x4D44, // FAT
    0x2011BAB0, // exFAT
    0x7366746E, // NTFS, the kernel's own
    0x01021994, // tmpfs
    0x858458F6, // ramfs
    0x2FC12FC1, // zfs
    0xCA451A4E, // bcachefs
    0x3153464A, // jfs
    0x52654973, // reiserfs
    0x15013346, // udf
    0x9660, // ISO 9660
    0x73717368, // squashfs
    0xE0F5E1E2, // erofs
    0x482B, // HFS+
});
constexpr std::uint32_t kUserSpace = 0x65735546; // FUSE; with a disk of its own or without
constexpr auto kWithForbiddenLetters = std::to_array<std::uint32_t>({
    0x4D44, // FAT
    0x2011BAB0, // exFAT
    0x7366746E, // NTFS
});
const std::string kTrial = ".trial-"; // begins the names that letters are tried in
constexpr std::string_view kForbiddenLetters = "\"*:<>?\\|";

template <typename Numbers>
bool isOneOf(std::uint32_t number, const Numbers& numbers)
{
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

std::uint32_t typeOf(const std::string& path)
{
    struct statfs found = {};
    const int result = retryInterrupted([&] { return ::statfs(path.c_str(), &found); });
    return result == 0 ? static_cast<std::uint32_t>(found.f_type) : 0;
}

// Adds the disks below a block device: what it is made of, or the disk that it is a part of.
void addDisks(const fs::path& block, std::set<std::string>& disks)
{
    std::error_code error;
    const fs::path device = fs::canonical(block, error);
    if (error)
        return;
    bool isLayer = false;
    for (fs::directory_iterator it(device / "slaves", error), end; !error && it != end;
         it.increment(error)) {
        // Encrypted disks, volumes and arrays: the disks below count.
        isLayer = true;
        addDisks(it->path(), disks);
    }
    // A partition lies below its disk in the tree.
    if (!isLayer)
        disks.insert(fs::exists(device / "partition", error)
                ? device.parent_path().filename().string()
                : device.filename().string());
}

std::string numberText(dev_t device)
{
    return std::to_string(major(device)) + ':' + std::to_string(minor(device));
}

// Some file systems have a number that is no disk's; the table of mounts names their disk.
fs::path mountedDevice(dev_t device)
{
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string id;
        std::string parent;
        std::string number;
        words >> id >> parent >> number;
        // Before the dash stands a list of fields that may grow.
        const std::size_t dash = line.find(" - ");
        if (number != numberText(device) || dash == std::string::npos)
            continue;
        std::istringstream rest(line.substr(dash + 3));
        std::string type;
        std::string source;
        rest >> type >> source;
        return source;
    }
    return {};
}

bool isRefusal()
{
    return errno == EINVAL || errno == EILSEQ;
}

bool isRefused(const std::string& folder, const std::string& name, LetterTest test)
{
    const std::string path = folder + '/' + name;
    struct stat found = {};
    if (::lstat(path.c_str(), &found) == 0)
        return false;
    // Some file systems refuse a bad name already when it is looked up.
    if (isRefusal() || test == LetterTest::kLooksOnly)
        return isRefusal();
    const Descriptor made = Descriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!made.isOpen())
        return isRefusal();
    ::unlink(path.c_str());
    return false;
}

// One character as it stands in UTF-8.
std::size_t characterLength(const std::string& name, std::size_t at)
{
    std::size_t end = at + 1;
    while (end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U)
        ++end;
    return end - at;
}

bool isForbidden(const std::string& letter)
{
    return letter.size() == 1
        && (kForbiddenLetters.find(letter[0]) != std::string_view::npos
            || static_cast<unsigned char>(letter[0]) < ' ');
}

bool isForbiddenEnd(const std::string& letter)
{
    return letter == "." || letter == " ";
}

std::int64_t freeBytes(const std::string& path)
{
    struct statfs found = {};
    const int result = retryInterrupted([&] { return ::statfs(path.c_str(), &found); });
    return result == 0 ? static_cast<std::int64_t>(found.f_bfree) * found.f_bsize : 0;
}

// Bytes that no file system stores in less room.
std::string incompressibleBytes(std::size_t count)
{
    std::string bytes(count, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1'664'525U + 1'013'904'223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

// Whether these bytes, behind those that the file has, leave less room elsewhere than there was.
bool takesRoom(const Descriptor& file, const std::string& bytes, const std::string& other)
{
    const std::int64_t room = freeBytes(other);
    // A failure shows below: nothing has been taken then.
    file.write(bytes.data(), bytes.size());
    file.flush();
    return room - freeBytes(other) >= static_cast<std::int64_t>(bytes.size());
}

} // namespace

std::set<std::string> disksOf(const std::string& path)
{
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0)
        return {};
    std::set<std::string> disks;
    dev_t device = found.st_dev;
    // Number 0 belongs to file systems without a disk of their own, and to some with several.
    if (major(device) == 0) {
        struct stat source = {};
        const fs::path mounted = mountedDevice(device);
        if (!mounted.empty() && mounted.is_absolute() && ::stat(mounted.c_str(), &source) == 0
            && S_ISBLK(source.st_mode))
            device = source.st_rdev;
    }
    addDisks("/sys/dev/block/" + numberText(device), disks);
    // A name that equals only itself: two places on the same unknown device are on one disk.
    if (disks.empty())
        disks.insert("device " + numberText(device));
    return disks;
}

bool keepsItsOwnFiles(const std::string& path)
{
    struct stat found = {};
    const std::uint32_t type = typeOf(path);
    const bool isOnDisk = ::stat(path.c_str(), &found) == 0 && major(found.st_dev) != 0;
    // FUSE with a disk below it keeps its own files; FUSE without one may show those of another
    // machine.
    return isOneOf(type, kOwnFiles) || (type == kUserSpace && isOnDisk);
}

std::optional<ImageFile> imageFile(std::uint64_t device)
{
    std::ifstream file("/sys/dev/block/" + numberText(device) + "/loop/backing_file");
    std::string path;
    struct stat found = {};
    // A device that is no loop has no such file.
    if (!std::getline(file, path) || ::stat(path.c_str(), &found) != 0)
        return std::nullopt;
    return ImageFile{found.st_dev, found.st_ino};
}

// Others may write and remove beside us, so that one round says little; two that lead there are
// enough. One file grows: a file that was removed may give its room back late.
bool sharesRoom(const std::string& folder, const std::string& other)
{
    constexpr int kRounds = 8;
    constexpr int kEnough = 2;
    const std::string path = folder + '/' + kTrial + "room-" + std::to_string(::getpid());
    const Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!file.isOpen())
        return false;
    const std::string bytes = incompressibleBytes(std::size_t{256} << 10U);
    int shared = 0;
    for (int round = 0; round < kRounds && shared < kEnough; ++round)
        shared += takesRoom(file, bytes, other) ? 1 : 0;
    ::unlink(path.c_str());
    return shared >= kEnough;
}

// Each letter is asked for in a name of its own, which a file system that refuses it does not even
// look up; FAT and its like look up any name, and are known by their type.
std::optional<std::string> refusedLetter(
    const std::string& folder, const std::string& name, LetterTest test)
{
    const bool isKnown = isOneOf(typeOf(folder), kWithForbiddenLetters);
    for (std::size_t at = 0; at < name.size(); at += characterLength(name, at)) {
        const std::string letter = name.substr(at, characterLength(name, at));
        const bool isLast = at + letter.size() == name.size();
        if (isRefused(folder, kTrial + letter + 'x', test)
            || (isLast && isRefused(folder, kTrial + letter, test)))
            return letter;
        if (isKnown && (isForbidden(letter) || (isLast && isForbiddenEnd(letter))))
            return letter;
    }
    return std::nullopt;
}

} // namespace Pt
