#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace test {

// A memory file of zeros with those seals, closed at the end.
class MemoryFile {
public:
    static constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

    explicit MemoryFile(std::size_t size, int seals = kSeals, unsigned int kind = 0)
        : m_number(::memfd_create("rogue", MFD_CLOEXEC | MFD_ALLOW_SEALING | kind))
    {
        isMade = m_number != -1 && ::ftruncate(m_number, static_cast<off_t>(size)) == 0
            && ::fcntl(m_number, F_ADD_SEALS, seals) == 0;
    }
    ~MemoryFile() { ::close(m_number); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int number() const { return m_number; }

    bool isMade = false;

private:
    int m_number;
};

inline std::string asPacket(std::uint64_t length)
{
    std::string packet(sizeof length, '\0');
    std::memcpy(packet.data(), &length, sizeof length);
    return packet;
}

// A connection to a port on which anything can be sent.
class RogueSender {
public:
    explicit RogueSender(const std::string& socketPath)
        : m_socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("no connection to " + socketPath);
    }
    ~RogueSender() { ::close(m_socket); }
    RogueSender(const RogueSender&) = delete;
    RogueSender& operator=(const RogueSender&) = delete;

    // With descriptors, when there are any.
    bool send(std::string_view bytes, const std::vector<int>& descriptors = {})
    {
        iovec part = {const_cast<char*>(bytes.data()), bytes.size()};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(kMaxCount * sizeof(int))> control = {};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (!descriptors.empty()) {
            const std::size_t size = std::min(descriptors.size(), kMaxCount) * sizeof(int);
            message.msg_control = control.data();
            message.msg_controllen = CMSG_SPACE(size);
            cmsghdr* const rights = CMSG_FIRSTHDR(&message);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(size);
            std::memcpy(CMSG_DATA(rights), descriptors.data(), size);
        }
        return ::sendmsg(m_socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT)
            == static_cast<ssize_t>(bytes.size());
    }

    void widen(int bytes)
    {
        if (::setsockopt(m_socket, SOL_SOCKET, SO_SNDBUFFORCE, &bytes, sizeof bytes) != 0)
            ::setsockopt(m_socket, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
    }

    // Whether the port has closed the connection.
    bool isClosed()
    {
        char byte = 0;
        const ssize_t got = ::recv(m_socket, &byte, 1, MSG_DONTWAIT);
        return got == 0 || (got == -1 && errno == ECONNRESET);
    }

private:
    static constexpr std::size_t kMaxCount = 64;

    int m_socket;
};

} // namespace test
