#include "platform/platforms/linux/services/Descriptor.h"

namespace Pt {

OwnedDescriptor::~OwnedDescriptor()
{
    if (isOpen())
        ::close(m_number);
}

Descriptor Descriptor::open(const std::string& path, int flags, unsigned int mode)
{
    return Descriptor(
        retryInterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
}

std::error_code Descriptor::write(const void* bytes, std::size_t count) const
{
    const auto* const start = static_cast<const char*>(bytes);
    // The system may take a part only, near the end of the disk or for a pipe.
    for (std::size_t done = 0; done < count;) {
        const ssize_t step =
            retryInterrupted([&] { return ::write(get(), start + done, count - done); });
        if (step == -1)
            return lastError();
        done += static_cast<std::size_t>(step);
    }
    return {};
}

std::error_code Descriptor::flush() const
{
    return retryInterrupted([&] { return ::fsync(get()); }) == -1 ? lastError() : std::error_code();
}

std::error_code Descriptor::close()
{
    // Given up first: whatever close says, the number may belong to somebody else afterwards.
    const int number = release();
    if (number != -1 && ::close(number) == -1 && errno != EINTR)
        return lastError();
    return {};
}

} // namespace Pt
