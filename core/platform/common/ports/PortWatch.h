// Reports when a port may have come up, so that whoever waits for one need not poll.
// Any thread may call.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <chrono>

namespace Pt {

class PortWatch {
public:
    // Watches the folders that ports are held in and that exist now. Where the system refuses, it
    // reports nothing; so whoever waits looks now and then all the same.
    PortWatch();

    // Readable once a port has come up, which can be sent to from then on, until clear(). Belongs
    // to this object: do not read or close it. -1 if the system refuses.
    int descriptor() const { return m_descriptor.get(); }

    void clear() const noexcept;

    // Waits until a port has come up, up to that timeout.
    void wait(std::chrono::milliseconds limit) const;

private:
    OwnedDescriptor m_descriptor;
};

} // namespace Pt
