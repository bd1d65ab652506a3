#include "platform/common/files/MountedVolumes.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> foldersIn(const std::string& table)
{
    std::vector<std::string> folders;
    for (const Pt::MountedVolume& volume : Pt::parseMounts(table))
        folders.push_back(volume.folder);
    return folders;
}

TEST(MountedVolumesTest, ReadsTheTableOfMounts)
{
    EXPECT_THAT(
        foldersIn("22 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw\n"
                  "90 22 8:17 / /media/me/EOS rw,nosuid shared:2 master:3 - vfat /dev/sdb1 rw\n"
                  "91 22 0:45 /sub /mnt/x rw - btrfs /dev/sdc1 rw,subvol=/sub\n"),
        ElementsAre("/", "/media/me/EOS", "/mnt/x"));
}

TEST(MountedVolumesTest, UnfoldsNamesWithBlanksAndBackslashes)
{
    EXPECT_THAT(foldersIn("1 2 8:1 / /media/MY\\040CARD\\011\\012\\134 rw - vfat /dev/sdb1 rw\n"),
        ElementsAre("/media/MY CARD\t\n\\"));
    EXPECT_THAT(
        foldersIn("1 2 8:1 / /media/a\\04 rw - vfat /dev/sdb1 rw\n"), ElementsAre("/media/a\\04"));
    EXPECT_THAT(foldersIn("1 2 8:1 / /media/a\\089 rw - vfat /dev/sdb1 rw\n"),
        ElementsAre("/media/a\\089"));
}

TEST(MountedVolumesTest, PassesOverWhatHoldsNoCardOrMayHang)
{
    for (const char* type : {"proc",
             "sysfs",
             "cgroup2",
             "devpts",
             "nfs",
             "nfs4",
             "cifs",
             "smb3",
             "fuse.sshfs",
             "autofs",
             "fuse.portal"}) {
        EXPECT_THAT(
            foldersIn(std::string("1 2 0:1 / /there rw - ") + type + " what rw\n"), IsEmpty())
            << type;
    }
    for (const char* type : {"vfat",
             "exfat",
             "ext4",
             "ntfs",
             "fuseblk",
             "iso9660",
             "udf",
             "tmpfs",
             "fuse.gvfsd-fuse"}) {
        EXPECT_THAT(foldersIn(std::string("1 2 0:1 / /there rw - ") + type + " what rw\n"),
            ElementsAre("/there"))
            << type;
    }
}

TEST(MountedVolumesTest, PassesOverLinesThatItCannotRead)
{
    EXPECT_THAT(foldersIn(""), IsEmpty());
    for (const char* line : {"\n",
             "garbage\n",
             "1 2 8:1 / /there rw\n",
             "1 2 8:1 / /there rw - vfat\n",
             "1 2 8:1 / /there rw -\n",
             "- - - - - - - - -\n"}) {
        EXPECT_THAT(foldersIn(line + std::string("1 2 8:1 / /next rw - vfat /dev/sdb1 rw\n")),
            testing::Contains("/next"))
            << line;
    }
}

TEST(MountedVolumesTest, StandsATableThatIsCutAnywhere)
{
    const std::string table = "1 2 8:1 / /media/MY\\040CARD rw shared:2 - vfat /dev/sdb1 rw\n";
    for (std::size_t length = 0; length < table.size(); ++length)
        for (const std::string& folder : foldersIn(table.substr(0, length)))
            EXPECT_EQ(folder, "/media/MY CARD");
}

TEST(MountedVolumesTest, FindsTheVolumesOfThisMachine)
{
    for (const Pt::MountedVolume& volume : Pt::mountedVolumes())
        EXPECT_EQ(volume.folder.substr(0, 1), "/");
}

} // namespace
