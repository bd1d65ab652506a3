#include "platform/common/services/PtSmartPointer.h"

namespace Pt {

void SmartPointerBase::decRefCount()
{
    // Each thread's last use of the object comes before the deletion, whoever deletes.
    if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        deleteThis();
}

} // namespace Pt
