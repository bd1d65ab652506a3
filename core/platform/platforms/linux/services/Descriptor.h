// Owner of one open file descriptor; closed when it goes.
#pragma once

#include "platform/platforms/linux/services/Retry.h"

#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Pt {

inline std::error_code lastError()
{
    return {errno, std::system_category()};
}

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (isOpen())
            ::close(m_number);
    }

    // Opens a path, close-on-exec. Not open when the system refuses; errno then says why.
    static Descriptor open(const std::string& path, int flags, unsigned int mode = 0)
    {
        return Descriptor(
            retryInterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
    }

    // Writes all of it, or gives the system's word; a part may stand written then.
    std::error_code write(const void* bytes, std::size_t count) const
    {
        const auto* const start = static_cast<const char*>(bytes);
        for (std::size_t done = 0; done < count;) {
            const ssize_t step =
                retryInterrupted([&] { return ::write(m_number, start + done, count - done); });
            if (step == -1)
                return lastError();
            done += static_cast<std::size_t>(step);
        }
        return {};
    }

    // Returns when the disk has what was written.
    std::error_code flush() const
    {
        return retryInterrupted([&] { return ::fsync(m_number); }) == -1 ? lastError()
                                                                         : std::error_code();
    }

    // Closes now, with the system's word: some file systems tell of a full disk only here. Not
    // made again on EINTR: the descriptor is gone then.
    std::error_code close()
    {
        const int number = std::exchange(m_number, -1);
        if (number != -1 && ::close(number) == -1 && errno != EINTR)
            return lastError();
        return {};
    }

    int get() const { return m_number; }
    bool isOpen() const { return m_number != -1; }
    int release() { return std::exchange(m_number, -1); }

private:
    int m_number = -1;
};

} // namespace Pt
