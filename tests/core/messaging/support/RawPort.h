#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace test {

// A port held by nothing but system calls, in the steps that docs/wire-format.md tells: what a peer
// in another language has to do.
class RawPort {
public:
    struct Packet {
        std::string bytes; // as they came
        std::string text;
        bool wasMemoryFile = false;
    };

    RawPort(const std::string& folder, const std::string& stem, const std::string& name)
        : m_lockPath(folder + "/" + stem + ".lock")
        , m_socketPath(folder + "/" + stem + ".sock")
    {
        ::mkdir(folder.c_str(), 0700);
        takeLock();
        const std::string text = std::to_string(::getpid()) + "\n" + name + "\n";
        require(::ftruncate(m_lock, 0) == 0);
        require(::write(m_lock, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
        ::unlink(m_socketPath.c_str());
        m_listener = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        require(m_socketPath.size() < sizeof address.sun_path);
        m_socketPath.copy(address.sun_path, m_socketPath.size());
        require(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        require(::listen(m_listener, 128) == 0);
    }
    ~RawPort()
    {
        ::unlink(m_socketPath.c_str());
        ::unlink(m_lockPath.c_str());
        for (const int connection : m_connections)
            ::close(connection);
        ::close(m_listener);
        ::close(m_lock);
    }
    RawPort(const RawPort&) = delete;
    RawPort& operator=(const RawPort&) = delete;

    // Waits for one text; throws when none comes for long.
    Packet receive()
    {
        for (;;) {
            std::vector<pollfd> questions{{m_listener, POLLIN, 0}};
            for (const int connection : m_connections)
                questions.push_back({connection, POLLIN, 0});
            require(::poll(questions.data(), questions.size(), kLong) > 0);
            Packet packet;
            for (std::size_t i = 1; i < questions.size(); ++i)
                if (questions[i].revents != 0 && readFrom(questions[i].fd, packet))
                    return packet;
            if (questions[0].revents != 0)
                m_connections.push_back(::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
        }
    }

private:
    static constexpr int kLong = 20000; // milliseconds

    static void require(bool condition)
    {
        if (!condition)
            throw std::runtime_error(std::string("a raw port: ") + std::strerror(errno));
    }

    void takeLock()
    {
        m_lock = ::open(m_lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        require(m_lock != -1 && ::flock(m_lock, LOCK_EX | LOCK_NB) == 0);
        struct stat held = {};
        struct stat named = {};
        require(::fstat(m_lock, &held) == 0 && ::stat(m_lockPath.c_str(), &named) == 0);
        require(held.st_ino == named.st_ino);
    }

    // False at the end of a connection, which is then dropped.
    bool readFrom(int connection, Packet& packet)
    {
        std::vector<char> room(8 << 20U);
        iovec part = {room.data(), room.size()};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const ssize_t got = ::recvmsg(connection, &message, MSG_CMSG_CLOEXEC);
        if (got <= 0) {
            ::close(connection);
            std::erase(m_connections, connection);
            return false;
        }
        packet.bytes.assign(room.data(), static_cast<std::size_t>(got));
        const cmsghdr* const rights = CMSG_FIRSTHDR(&message);
        packet.wasMemoryFile = rights != nullptr;
        packet.text = packet.wasMemoryFile ? memoryText(rights, packet.bytes) : packet.bytes;
        return true;
    }

    static std::string memoryText(const cmsghdr* rights, const std::string& bytes)
    {
        int file = -1;
        std::memcpy(&file, CMSG_DATA(rights), sizeof file);
        std::uint64_t length = 0;
        require(bytes.size() == sizeof length);
        std::memcpy(&length, bytes.data(), sizeof length);
        const int seals = ::fcntl(file, F_GET_SEALS);
        const int all = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
        std::string text(length, '\0');
        require((seals & all) == all);
        require(::pread(file, text.data(), length, 0) == static_cast<ssize_t>(length));
        ::close(file);
        return text;
    }

    std::string m_lockPath;
    std::string m_socketPath;
    int m_lock = -1;
    int m_listener = -1;
    std::vector<int> m_connections;
};

} // namespace test
