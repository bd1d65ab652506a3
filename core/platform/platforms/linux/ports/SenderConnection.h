// The sending end of one connection to a local port. Any number of threads may send at once: each
// waits for room by itself, as long as it was told, and holds up no other. The texts of one thread
// keep their order.
#pragma once

#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cstddef>
#include <string_view>

namespace Pt {

// One text, in the pieces that its sender has it in.
struct SplitText {
    std::string_view head;
    std::string_view rest;

    std::size_t size() const { return head.size() + rest.size(); }
};

class SenderConnection {
public:
    // kGone: the holder has closed the connection. Unless it is kDone, nothing was delivered.
    enum class Delivery { kDone, kNoRoom, kGone, kTooLarge, kFailed };

    // Widens the buffer of the socket.
    explicit SenderConnection(Descriptor socket);

    // Tries once at least, and waits for room up to the deadline.
    Delivery send(const SplitText& text, SteadyTime deadline);

    bool hasHolderLeft() const;

private:
    Delivery sendPacket(const SplitText& text, SteadyTime deadline);
    Delivery sendMemoryText(const SplitText& text, SteadyTime deadline);

    const Descriptor m_socket;
};

} // namespace Pt
