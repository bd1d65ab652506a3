#include "platform/common/ports/LocalPort.h"
#include "platform/platforms/linux/ports/LocalSocket.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace Pt {

namespace {

// Far more than any name on the bus has. A file of our own form may be of any size: whoever else
// writes there, it costs a listing no more than this.
constexpr off_t kMaxNote = off_t{1} << 20;

Descriptor openIn(const LocalPortFolder& folder, const std::string& file)
{
    return Descriptor(retryInterrupted([&] {
        return ::openat(
            folder.descriptor(), file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    }));
}

std::string readRegular(const LocalPortFolder& folder, const std::string& file)
{
    const Descriptor opened = openIn(folder, file);
    struct stat status = {};
    std::string text;
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size > kMaxNote)
        return text;
    text.resize(static_cast<std::size_t>(status.st_size));
    const ssize_t got =
        retryInterrupted([&] { return ::pread(opened.get(), text.data(), text.size(), 0); });
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

// The process id, a line feed, the name with whatever bytes it has, a line feed.
std::optional<HeldPort> heldPortIn(const std::string& text, const std::string& stem)
{
    const std::size_t end = text.find('\n');
    if (end == std::string::npos || text.size() < end + 2 || text.back() != '\n')
        return std::nullopt;
    HeldPort port;
    const char* const first = text.data();
    const auto [stop, error] = std::from_chars(first, first + end, port.processId);
    port.name = text.substr(end + 1, text.size() - end - 2);
    // A text that does not fit its file was written by somebody else, or is just being written.
    const bool holds = error == std::errc() && stop == first + end && port.processId > 0
        && localPortStem(port.name) == stem;
    return holds ? std::optional(std::move(port)) : std::nullopt;
}

void appendHeldPorts(
    const LocalPortFolder& folder, std::vector<HeldPort>& ports, std::error_code& error)
{
    namespace fs = std::filesystem;
    for (fs::directory_iterator it(folder.path(), error), end; !error && it != end;
         it.increment(error)) {
        const std::string stem = it->path().stem().string();
        std::error_code answer;
        // Held first, read then: a holder has described itself before it can be reached.
        if (it->path().extension() != kLockEnding || !isLocalPortHeld(folder, stem, answer))
            continue;
        if (isShortage(answer)) {
            error = answer;
            return;
        }
        if (auto port = heldPortIn(readRegular(folder, stem + std::string(kLockEnding)), stem))
            ports.push_back(std::move(*port));
    }
}

} // namespace

bool isLocalPortFree(std::string_view name)
{
    std::error_code error;
    const std::vector<LocalPortFolder> folders = openLocalPortFolders(error);
    const std::string stem = localPortStem(name);
    return !error && std::ranges::none_of(folders, [&](const LocalPortFolder& folder) {
        std::error_code answer;
        return isLocalPortHeld(folder, stem, answer);
    });
}

std::vector<HeldPort> heldLocalPorts()
{
    std::error_code error;
    return heldLocalPorts(error);
}

std::vector<HeldPort> heldLocalPorts(std::error_code& error)
{
    std::vector<HeldPort> ports;
    for (const LocalPortFolder& folder : openLocalPortFolders(error))
        if (!error)
            appendHeldPorts(folder, ports, error);
    std::ranges::sort(ports, {}, &HeldPort::name);
    return ports;
}

} // namespace Pt
