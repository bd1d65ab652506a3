// Owner of one open file descriptor; closed when it goes.
#pragma once

#include "platform/platforms/linux/Retry.h"

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
