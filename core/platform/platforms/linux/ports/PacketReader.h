// Takes packets from the sockets of a local port, one at a time, and finds the text in each. Every
// packet may come from any program of this user: what does not hold is dropped, and descriptors
// that came with it are closed. One thread at a time.
#pragma once

#include "platform/platforms/linux/ports/MemoryMapping.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cstddef>
#include <cstdint>

namespace Pt {

class PacketReader {
public:
    enum class Outcome { kText, kDropped, kNothing, kNoMemory, kEnd };

    // A send buffer of 4 MiB, which the system doubles, holds no larger packet. The buffer is
    // address space until it is written to, so that one call takes a packet of any size: asking for
    // the size of each before would double the calls.
    static constexpr std::size_t kMaxPacket = std::size_t{8} * 1024 * 1024;

    // A packet longer than `room` is dropped. Throws std::bad_alloc when there is no address space
    // for the buffer.
    explicit PacketReader(std::size_t room = kMaxPacket);

    // Without waiting. After kText, text() and size() are what came in, until the next call. A
    // passing refusal of the system counts as kNothing. kNoMemory: a text is there that cannot be
    // given for want of memory.
    Outcome read(int socket);
    // After kNoMemory: the same text, again kNoMemory, or kDropped.
    Outcome readAgain();
    // Gives that text up.
    void forget();
    char* text() const { return m_text; }
    std::size_t size() const { return m_size; }

    // Gives memory back that long texts took.
    void trim();

private:
    // Kept between calls, so that a stream of texts of a megabyte is not one of page faults.
    static constexpr std::size_t kKept = std::size_t{2} * 1024 * 1024;

    Outcome takeMemoryText(Descriptor file, std::size_t packetSize);

    MemoryMapping m_buffer;
    MemoryMapping m_memoryText;
    Descriptor m_waiting; // the file of a text for which there is no memory, and its length
    std::uint64_t m_waitingSize = 0;
    char* m_text = nullptr;
    std::size_t m_size = 0;
    std::size_t m_touched = 0;
};

} // namespace Pt
