#include "platform/common/files/RegularFile.h"

#include "platform/platforms/linux/files/StatusFrom.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <utility>

namespace Pt {

std::optional<RegularFile> openRegularFile(const std::string& path, std::error_code& error)
{
    // O_NONBLOCK and O_NOCTTY: the path may lead to a pipe or a terminal, and neither must hold us
    // up.
    Descriptor file = Descriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const auto status = file.isOpen() ? statusOfOpenFile(file.get()) : std::nullopt;
    if (!status) {
        error = lastError();
        return std::nullopt;
    }
    if (status->kind != FileStatus::Kind::kRegular) {
        error = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    error.clear();
    return RegularFile{std::move(file), *status};
}

std::optional<FileStatus> statusOfOpenFile(int descriptor)
{
    struct stat found { };
    if (::fstat(descriptor, &found) != 0)
        return std::nullopt;
    return statusFrom(found);
}

std::string pathOfOpenFile(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace Pt
