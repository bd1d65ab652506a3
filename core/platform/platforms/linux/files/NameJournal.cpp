#include "platform/common/files/NameJournal.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>

#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr char kFileName[] = "/probes";
constexpr long kSlack = 2; // seconds: the steps of FAT's clock
constexpr mode_t kPermissions = 0777;
constexpr mode_t kCopy = 0600; // a proven copy of an empty file has these permissions

// The name that stands in a journal, and when it was written.
std::string notedName(const std::string& journal, timespec& when)
{
    const Descriptor file = Descriptor::open(journal, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    struct stat status = {};
    char name[NAME_MAX + 1] = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    when = status.st_mtim;
    retryInterrupted([&] { return ::read(file.get(), name, sizeof name - 1); });
    return name;
}

// The system gives a lease for writing only on a file that nobody else has open, and keeps others
// from opening it until it is given back. Where there are no leases, nobody can tell.
bool isOurAlone(const Descriptor& file)
{
    ::fcntl(file.get(), F_SETSIG, SIGURG); // what somebody's wish to open it raises ends nothing
    return ::fcntl(file.get(), F_SETLEASE, F_WRLCK) == 0;
}

bool isLeftover(const Descriptor& file, const timespec& when)
{
    struct stat status = {};
    return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0
        && (status.st_mode & kPermissions) != kCopy
        && std::labs(status.st_ctim.tv_sec - when.tv_sec) <= kSlack
        && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 && isOurAlone(file);
}

} // namespace

std::string nameJournalPath(const std::string& workFolder)
{
    return workFolder + '/' + std::to_string(::getpid()) + "-1" + kFileName;
}

void noteTriedName(const std::string& path, const std::string& name)
{
    const Descriptor file = Descriptor::open(path, O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
    // Written over in place and never cut: ext4 takes a file that was cut and written for one that
    // is being replaced, and writes it out when it is closed.
    if (file.isOpen())
        file.write(name.c_str(), std::min<std::size_t>(name.size(), NAME_MAX) + 1);
}

void removeTriedName(const std::string& runFolder, const std::string& folder)
{
    timespec when = {};
    const std::string name = notedName(runFolder + kFileName, when);
    // The journal may have been written by anybody: a name with a slash would lead out of the
    // folder.
    if (name.empty() || name.find('/') != std::string::npos)
        return;
    const std::string path = folder + '/' + name;
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    // An empty file with that name may be the user's own; only one that was made as the journal was
    // written goes.
    if (file.isOpen() && isLeftover(file, when))
        ::unlink(path.c_str());
}

} // namespace Pt
