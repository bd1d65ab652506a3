#include "platform/common/files/FileFlags.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pt {

namespace {

void clearImmutableAttribute(int descriptor)
{
    int attributes = 0;
    if (::ioctl(descriptor, FS_IOC_GETFLAGS, &attributes) != 0 || !(attributes & FS_IMMUTABLE_FL))
        return;
    // Needs a privilege that users seldom have; whoever deletes the file finds out.
    attributes &= ~FS_IMMUTABLE_FL;
    static_cast<void>(::ioctl(descriptor, FS_IOC_SETFLAGS, &attributes));
}

void clearImmutableAttribute(const std::string& path)
{
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (file.isOpen())
        clearImmutableAttribute(file.get());
}

} // namespace

void clearLock(const std::string& path)
{
    struct stat status = {};
    // Asked before opening: opening a device or a pipe may have effects of its own.
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    clearImmutableAttribute(path);
    // By the path, because a file that its owner may not read cannot be opened.
    if (!(status.st_mode & S_IWUSR))
        static_cast<void>(::chmod(path.c_str(), (status.st_mode & 07777) | S_IWUSR));
}

} // namespace Pt
