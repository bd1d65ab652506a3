#pragma once

#include "platform/common/PtSmartPointer.h"

namespace Pt {

// What something with a descriptor has in common: the descriptor, -1 when closed. Devices are held
// by SmartPointer. The derived class opens and closes; requests and their queues belong here too
// when something needs them, and nothing does yet.
class IoDevice : public SmartPointerBase {
public:
    bool isClosed() const { return m_descriptor < 0; }

protected:
    IoDevice() = default;
    ~IoDevice() noexcept(false) override { }

    int m_descriptor = -1;
};

} // namespace Pt
