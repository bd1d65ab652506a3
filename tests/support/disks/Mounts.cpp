#include "support/disks/Mounts.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <linux/loop.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLongEnough{20};

[[noreturn]] void refuse(const std::string& operation, int error)
{
    throw std::runtime_error(operation + ": " + std::strerror(error));
}

bool makeOwnMounts()
{
    return ::unshare(CLONE_NEWNS) == 0
        && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// In a child, so that the question changes nothing here.
bool tryToMount(const std::string& folder)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(
            makeOwnMounts() && ::mount("none", folder.c_str(), "tmpfs", 0, nullptr) == 0 ? 0 : 1);
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

bool tryToMount()
{
    std::string folder = (fs::temp_directory_path() / "mounts-XXXXXX").string();
    if (::geteuid() != 0 || ::access("/dev/fuse", R_OK | W_OK) != 0 || !::mkdtemp(folder.data()))
        return false;
    const bool can = tryToMount(folder);
    fs::remove(folder);
    return can;
}

class Descriptor {
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor& operator=(Descriptor&&) = delete;

    int get() const { return m_number; }

private:
    int m_number;
};

Descriptor openOrRefuse(const fs::path& path, int flags)
{
    Descriptor file(::open(path.c_str(), flags | O_CLOEXEC, 0600));
    if (file.get() < 0)
        refuse("open " + path.string(), errno);
    return file;
}

void makeImage(const fs::path& image, std::uint64_t sizeBytes)
{
    const Descriptor file = openOrRefuse(image, O_RDWR | O_CREAT | O_EXCL);
    if (::ftruncate(file.get(), static_cast<off_t>(sizeBytes)) != 0)
        refuse("ftruncate " + image.string(), errno);
    ChildProgram maker({"/usr/sbin/mkfs.ext4", "-q", "-F", "-m", "0", image});
    if (!maker.waitForEnd(kLongEnough) || maker.code() != 0)
        throw std::runtime_error("mkfs.ext4 " + image.string() + ": " + maker.output());
}

struct LoopDevice {
    std::string path;
    Descriptor open; // the device lets go of the image when nothing uses it any more
};

LoopDevice openFreeDevice(const Descriptor& control)
{
    const int number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (number < 0)
        refuse("LOOP_CTL_GET_FREE", errno);
    const std::string path = "/dev/loop" + std::to_string(number);
    return {path, openOrRefuse(path, O_RDWR)};
}

LoopDevice attach(const fs::path& image, bool isReadOnly)
{
    const Descriptor control = openOrRefuse("/dev/loop-control", O_RDWR);
    const Descriptor file = openOrRefuse(image, isReadOnly ? O_RDONLY : O_RDWR);
    loop_config config{};
    config.fd = static_cast<unsigned int>(file.get());
    config.info.lo_flags = LO_FLAGS_AUTOCLEAR | (isReadOnly ? LO_FLAGS_READ_ONLY : 0);
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        LoopDevice device = openFreeDevice(control);
        if (::ioctl(device.open.get(), LOOP_CONFIGURE, &config) == 0)
            return device;
        if (errno != EBUSY) // someone else was faster
            refuse("LOOP_CONFIGURE " + image.string(), errno);
    }
    refuse("LOOP_CONFIGURE " + image.string(), EBUSY);
}

// The folder of the checker of disks is nobody's picture.
void makePlain(const fs::path& at)
{
    fs::remove(at / "lost+found");
    fs::permissions(at, fs::perms::all);
}

// Blanks and the like stand as \040 in the list.
std::string unescaped(const std::string& field)
{
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            text += static_cast<char>(std::stoi(field.substr(i + 1, 3), nullptr, 8));
            i += 3;
        } else {
            text += field[i];
        }
    }
    return text;
}

} // namespace

bool canMount()
{
    static const bool can = tryToMount();
    return can;
}

bool canMountImages()
{
    return canMount() && ::access("/dev/loop-control", R_OK | W_OK) == 0;
}

void enterOwnMounts()
{
    static bool isDone = false;
    if (!isDone && !makeOwnMounts())
        refuse("unshare", errno);
    isDone = true;
}

bool isMountPoint(const fs::path& path)
{
    std::ifstream list("/proc/self/mountinfo");
    for (std::string line; std::getline(list, line);) {
        std::istringstream fields(line);
        std::string field;
        for (int i = 0; i < 5; ++i)
            fields >> field;
        if (unescaped(field) == path)
            return true;
    }
    return false;
}

Mount::Mount(fs::path at)
    : m_at(std::move(at))
{
    enterOwnMounts();
    fs::create_directories(m_at);
    m_at = fs::canonical(m_at);
}

Mount::~Mount()
{
    unmount();
}

void Mount::mount(const std::string& source,
    const std::string& type,
    unsigned long flags,
    const std::string& options)
{
    if (::mount(source.c_str(), m_at.c_str(), type.c_str(), flags, options.c_str()) != 0)
        refuse("mount " + type + " at " + m_at.string(), errno);
    m_isMounted = true;
}

bool Mount::unmount()
{
    if (!std::exchange(m_isMounted, false))
        return false;
    if (::umount2(m_at.c_str(), UMOUNT_NOFOLLOW) == 0)
        return true;
    ::umount2(m_at.c_str(), UMOUNT_NOFOLLOW | MNT_DETACH);
    return false;
}

void Mount::detach()
{
    if (std::exchange(m_isMounted, false)
        && ::umount2(m_at.c_str(), UMOUNT_NOFOLLOW | MNT_DETACH) != 0)
        refuse("umount2 " + m_at.string(), errno);
}

BindMount::BindMount(const fs::path& from, const fs::path& at)
    : Mount(at)
{
    mount(from, "", MS_BIND, "");
}

MemoryMount::MemoryMount(const fs::path& at, std::uint64_t sizeBytes)
    : Mount(at)
{
    mount("none", "tmpfs", 0, "mode=0777,size=" + std::to_string(sizeBytes));
}

OverlayMount::OverlayMount(
    const fs::path& at, const fs::path& lower, const fs::path& upper, const fs::path& work)
    : Mount(at)
{
    fs::create_directories(upper);
    fs::create_directories(work);
    mount("none",
        "overlay",
        0,
        "lowerdir=" + lower.string() + ",upperdir=" + upper.string() + ",workdir=" + work.string());
}

LoopMount::LoopMount(
    const fs::path& at, const fs::path& imageFile, std::uint64_t sizeBytes, bool isReadOnly)
    : Mount(at)
{
    const bool isNew = !fs::exists(imageFile);
    if (isNew)
        makeImage(imageFile, sizeBytes);
    const LoopDevice device = attach(imageFile, isReadOnly);
    // Of an image that another mount writes to, the journal cannot be replayed.
    mount(device.path, "ext4", isReadOnly ? MS_RDONLY : 0, isReadOnly ? "noload" : "");
    if (isNew && !isReadOnly)
        makePlain(this->at());
}

void LoopMount::die()
{
    constexpr unsigned long kShutDown = _IOR('X', 125, std::uint32_t);
    std::uint32_t withoutFlush = 2;
    const Descriptor folder = openOrRefuse(at(), O_RDONLY | O_DIRECTORY);
    if (::ioctl(folder.get(), kShutDown, &withoutFlush) != 0)
        refuse("shut down " + at().string(), errno);
}

OddMount::OddMount(const std::string& mode,
    const fs::path& at,
    const std::vector<fs::path>& folders,
    const std::vector<std::string>& options)
    : Mount(at)
{
    std::vector<std::string> command{ODD_FILE_SYSTEM, mode};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(this->at());
    command.insert(command.end(), folders.begin(), folders.end());
    m_program = std::make_unique<ChildProgram>(command);
    if (!m_program->waitFor("ready\n", kLongEnough)) {
        m_program->signal(SIGTERM); // it unmounts what it may have mounted
        m_program->waitForEnd(kLongEnough);
        throw std::runtime_error("odd_file_system " + mode + ": " + m_program->output());
    }
    takeOver();
}

// Where it is not in use, the program ends by itself, and may tell what is wrong with it. Else it
// is killed, not asked to end: it would unmount what is mounted at the same place by now.
OddMount::~OddMount()
{
    goOn();
    if (unmount() && m_program->waitForEnd(kLongEnough) && m_program->code() > 0)
        std::cerr << m_program->output();
}

void OddMount::die()
{
    m_program->signal(SIGKILL);
    m_program->waitForEnd(kLongEnough);
}

} // namespace test
