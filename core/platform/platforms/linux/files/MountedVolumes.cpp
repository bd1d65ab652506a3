#include "platform/common/files/MountedVolumes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace Pt {

namespace fs = std::filesystem;

namespace {

struct Mount {
    std::string folder;
    std::string device;
};

// The system's own, which hold no pictures, and those of other machines, whose answer may never
// come.
constexpr std::array<std::string_view, 26> kPassedOver{"autofs",
    "binfmt_misc",
    "bpf",
    "ceph",
    "cgroup",
    "cgroup2",
    "cifs",
    "configfs",
    "debugfs",
    "devpts",
    "devtmpfs",
    "efivarfs",
    "fuse.portal",
    "fuse.sshfs",
    "fusectl",
    "hugetlbfs",
    "mqueue",
    "nfs",
    "nfs4",
    "nsfs",
    "proc",
    "pstore",
    "securityfs",
    "smb3",
    "sysfs",
    "tracefs"};

bool isOctal(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '7'; });
}

// A blank in a path is written "\040" in the table, and "\x20" in the names of labels.
std::string unescaped(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i);
        const bool octal = rest.size() > 3 && rest[0] == '\\' && isOctal(rest.substr(1, 3));
        const bool hex = rest.size() > 3 && rest[0] == '\\' && rest[1] == 'x';
        if (!octal && !hex) {
            plain += rest[0];
            continue;
        }
        const std::string digits(rest.substr(hex ? 2 : 1, hex ? 2 : 3));
        plain += static_cast<char>(std::strtoul(digits.c_str(), nullptr, hex ? 16 : 8));
        i += 3;
    }
    return plain;
}

// "ID PARENT MAJOR:MINOR ROOT FOLDER OPTIONS [FIELDS...] - TYPE DEVICE ..."
bool readMount(const std::string& line, Mount& mount)
{
    std::istringstream words(line);
    std::array<std::string, 6> fixed;
    for (std::string& word : fixed)
        words >> word;
    std::string word;
    // Any number of optional fields; the dash ends them.
    while (words >> word && word != "-") { }
    std::string type;
    std::string device;
    if (!(words >> type >> device))
        return false;
    if (std::find(kPassedOver.begin(), kPassedOver.end(), type) != kPassedOver.end())
        return false;
    mount = {unescaped(fixed[4]), unescaped(device)};
    return true;
}

std::vector<Mount> readMounts(std::string_view table)
{
    std::vector<Mount> mounts;
    std::istringstream lines{std::string(table)};
    for (std::string line; std::getline(lines, line);) {
        Mount mount;
        if (readMount(line, mount))
            mounts.push_back(std::move(mount));
    }
    return mounts;
}

std::map<std::string, std::string> labelsByDevice()
{
    std::map<std::string, std::string> labels;
    std::error_code error;
    for (fs::directory_iterator it("/dev/disk/by-label", error), end; !error && it != end;
         it.increment(error)) {
        std::error_code broken;
        const fs::path device = fs::canonical(it->path(), broken);
        if (!broken)
            labels[device.string()] = unescaped(it->path().filename().string());
    }
    return labels;
}

} // namespace

std::vector<MountedVolume> mountedVolumes()
{
    std::ifstream file("/proc/self/mountinfo");
    const std::string table{std::istreambuf_iterator<char>(file), {}};
    // Once for all mounts, as each label is a link to be followed.
    const std::map<std::string, std::string> labels = labelsByDevice();
    std::vector<MountedVolume> volumes;
    for (Mount& mount : readMounts(table)) {
        const auto label = labels.find(mount.device);
        volumes.push_back(
            {std::move(mount.folder), label == labels.end() ? std::string() : label->second});
    }
    return volumes;
}

std::vector<MountedVolume> parseMounts(std::string_view table)
{
    std::vector<MountedVolume> volumes;
    for (Mount& mount : readMounts(table))
        volumes.push_back({std::move(mount.folder), {}});
    return volumes;
}

} // namespace Pt
