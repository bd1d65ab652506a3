#include "support/faults/FaultPlan.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace fault {

namespace {

constexpr int kTrackedDescriptors = 1 << 16;
constexpr std::size_t kPathCapacity = 2 * PATH_MAX;

using Path = std::array<char, kPathCapacity>;

enum class Action { kFail, kKill, kFlip, kShort };

struct Settings {
    bool isOn = false;
    std::string_view root;
    std::string_view only; // empty: all
    long at = 0; // 0: never
    int error = EIO;
    Action action = Action::kFail;
    const char* countFile = nullptr;
};

// Before the library's start nothing is counted: a sanitizer may call in before the environment
// stands.
Settings gSettings;
std::atomic<long> gCount{0};
std::array<std::atomic<bool>, kTrackedDescriptors> gTracked{};

// The function of this name in the next library.
template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool isSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && *value && std::strcmp(value, "0") != 0;
}

std::string_view textOf(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value ? value : "";
}

long numberOf(const char* variable, long otherwise)
{
    const char* const value = std::getenv(variable);
    return value && *value ? std::strtol(value, nullptr, 10) : otherwise;
}

__attribute__((constructor)) void readSettings()
{
    gSettings.root = textOf("FAULT_ROOT");
    while (gSettings.root.size() > 1 && gSettings.root.back() == '/')
        gSettings.root.remove_suffix(1);
    gSettings.only = textOf("FAULT_ONLY");
    gSettings.at = numberOf("FAULT_AT", 0);
    gSettings.error = static_cast<int>(numberOf("FAULT_ERRNO", EIO));
    if (isSet("FAULT_KILL"))
        gSettings.action = Action::kKill;
    else if (isSet("FAULT_FLIP"))
        gSettings.action = Action::kFlip;
    else if (isSet("FAULT_SHORT"))
        gSettings.action = Action::kShort;
    gSettings.countFile = std::getenv("FAULT_COUNT_FILE");
    gSettings.isOn = !gSettings.root.empty();
}

bool isNamed(std::string_view list, std::string_view name)
{
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        if (list.substr(0, comma) == name)
            return true;
        list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    }
    return false;
}

void dropLastComponent(Path& path, std::size_t& length)
{
    while (length > 0 && path[length - 1] != '/')
        --length;
    if (length > 0)
        --length;
}

// Adds the components of `text` to a path without a slash at its end; false when it grows too long.
bool append(Path& path, std::size_t& length, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t slash = text.find('/');
        const std::string_view part = text.substr(0, slash);
        text.remove_prefix(slash == std::string_view::npos ? text.size() : slash + 1);
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            dropLastComponent(path, length);
            continue;
        }
        if (length + part.size() + 2 > path.size())
            return false;
        path[length++] = '/';
        std::memcpy(path.data() + length, part.data(), part.size());
        length += part.size();
    }
    return true;
}

// The folder that relative paths begin at.
std::string_view startFolder(int folder, Path& buffer)
{
    if (folder == AT_FDCWD)
        return ::getcwd(buffer.data(), buffer.size()) ? buffer.data() : "";
    std::array<char, 64> link{};
    static_cast<void>(std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", folder));
    const ssize_t length = ::readlink(link.data(), buffer.data(), buffer.size());
    return {buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

// A path through a descriptor of this process is one in the folder that it was opened for.
void followDescriptor(int& folder, const char*& path)
{
    constexpr std::string_view kDescriptors = "/proc/self/fd/";
    if (std::string_view(path).substr(0, kDescriptors.size()) != kDescriptors)
        return;
    char* rest = nullptr;
    const long number = std::strtol(path + kDescriptors.size(), &rest, 10);
    if (*rest != '/')
        return;
    folder = static_cast<int>(number);
    path = rest + 1;
}

__attribute__((destructor)) void writeCountAtTheEnd()
{
    writeCount();
}

} // namespace

Verdict judge(bool isWatched, const char* name)
{
    if (!isWatched || (!gSettings.only.empty() && !isNamed(gSettings.only, name)))
        return Verdict::kGoOn;
    if (++gCount != gSettings.at)
        return Verdict::kGoOn;
    switch (gSettings.action) {
    case Action::kFlip:
        return Verdict::kFlip;
    case Action::kShort:
        return Verdict::kShort;
    case Action::kKill:
        ::kill(::getpid(), SIGKILL);
        for (;;) // the signal may come to another thread first
            ::pause();
    case Action::kFail:
        break;
    }
    errno = gSettings.error;
    return Verdict::kFail;
}

bool isWatched(int folder, const char* path)
{
    if (!gSettings.isOn || !path)
        return false;
    const int before = errno;
    followDescriptor(folder, path);
    Path start{};
    Path whole{};
    std::size_t length = 0;
    const bool isWhole = (*path == '/' || append(whole, length, startFolder(folder, start)))
        && append(whole, length, path);
    errno = before;
    const std::string_view text(whole.data(), length);
    const std::string_view root = gSettings.root;
    return isWhole && text.substr(0, root.size()) == root
        && (text.size() == root.size() || text[root.size()] == '/');
}

bool isWatched(int descriptor)
{
    return descriptor >= 0 && descriptor < kTrackedDescriptors
        && gTracked[static_cast<std::size_t>(descriptor)];
}

void track(int descriptor, bool isWatchedNow)
{
    if (descriptor >= 0 && descriptor < kTrackedDescriptors)
        gTracked[static_cast<std::size_t>(descriptor)] = isWatchedNow;
}

int chosenError()
{
    return gSettings.error;
}

void writeCount()
{
    if (!gSettings.isOn || !gSettings.countFile)
        return;
    std::array<char, 32> text{};
    const int length = std::snprintf(text.data(), text.size(), "%ld\n", gCount.load());
    const int file = next<int(const char*, int, ...)>("open")(
        gSettings.countFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    const auto size = static_cast<std::size_t>(length);
    if (next<ssize_t(int, const void*, std::size_t)>("write")(file, text.data(), size) != length)
        std::abort();
    next<int(int)>("close")(file);
}

} // namespace fault
