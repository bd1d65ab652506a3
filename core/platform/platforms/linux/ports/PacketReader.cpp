#include "platform/platforms/linux/ports/PacketReader.h"

#include "platform/platforms/linux/ports/MemoryText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include <sys/socket.h>

namespace Pt {

namespace {

// One is right; the system closes what finds no room here.
constexpr std::size_t kMaxDescriptors = 4;

struct alignas(cmsghdr) Control {
    std::array<char, CMSG_SPACE(kMaxDescriptors * sizeof(int))> bytes;
};

struct ReceivedDescriptors {
    std::array<Descriptor, kMaxDescriptors> files;
    std::size_t count = 0;
};

ReceivedDescriptors descriptorsIn(msghdr& message)
{
    ReceivedDescriptors received;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        // Each is taken over, also those that are too many: a descriptor that is not closed stays
        // open in this process.
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof number, sizeof number);
            Descriptor file(number);
            if (received.count < received.files.size())
                received.files[received.count++] = std::move(file);
        }
    }
    return received;
}

// Anything else passes, or the next look finds the end.
bool isEnd(int error)
{
    return error == ECONNRESET || error == EPIPE || error == ENOTCONN || error == EBADF;
}

} // namespace

PacketReader::PacketReader(std::size_t room)
    : m_buffer(MemoryMapping::make(room, PROT_READ | PROT_WRITE, -1, MAP_ANONYMOUS | MAP_NORESERVE))
{
    if (!m_buffer.bytes())
        throw std::bad_alloc();
    // Most texts are short: one huge page for each port would be memory for nothing.
    ::madvise(m_buffer.bytes(), m_buffer.size(), MADV_NOHUGEPAGE);
}

PacketReader::Outcome PacketReader::read(int socket)
{
    m_memoryText = MemoryMapping();
    iovec room = {m_buffer.bytes(), m_buffer.size()};
    Control control = {};
    msghdr message = {};
    message.msg_iov = &room;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    const ssize_t got = retryInterrupted(
        [&] { return ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC); });
    if (got == -1)
        return isEnd(errno) ? Outcome::kEnd : Outcome::kNothing;
    // Before anything is rejected, so that what came along is closed.
    ReceivedDescriptors received = descriptorsIn(message);
    if (got == 0) // also a packet of no bytes, which no port sends
        return Outcome::kEnd;
    m_size = static_cast<std::size_t>(got);
    m_touched = std::max(m_touched, m_size);
    if (message.msg_flags & MSG_TRUNC)
        return Outcome::kDropped;
    // More descriptors than there is room for: none of our senders does that.
    const bool isControlCut = (message.msg_flags & MSG_CTRUNC) != 0;
    if (received.count == 1 && !isControlCut)
        return takeMemoryText(std::move(received.files[0]), m_size);
    m_text = m_buffer.bytes();
    return received.count == 0 && !isControlCut ? Outcome::kText : Outcome::kDropped;
}

PacketReader::Outcome PacketReader::takeMemoryText(Descriptor file, std::size_t packetSize)
{
    if (packetSize != sizeof m_waitingSize)
        return Outcome::kDropped;
    std::memcpy(&m_waitingSize, m_buffer.bytes(), sizeof m_waitingSize);
    m_waiting = std::move(file);
    return readAgain();
}

PacketReader::Outcome PacketReader::readAgain()
{
    errno = 0;
    m_memoryText = mapMemoryText(m_waiting.get(), m_waitingSize);
    m_text = m_memoryText.bytes();
    m_size = m_memoryText.size();
    if (!m_text && errno == ENOMEM)
        return Outcome::kNoMemory;
    m_waiting = Descriptor();
    return m_text ? Outcome::kText : Outcome::kDropped;
}

void PacketReader::forget()
{
    m_waiting = Descriptor();
}

void PacketReader::trim()
{
    m_memoryText = MemoryMapping();
    if (m_touched <= kKept || m_buffer.size() <= kKept)
        return;
    // The pages go back to the system, the address space stays.
    ::madvise(m_buffer.bytes() + kKept, m_buffer.size() - kKept, MADV_DONTNEED);
    m_touched = kKept;
}

} // namespace Pt
