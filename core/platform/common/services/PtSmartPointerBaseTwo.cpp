#include "platform/common/services/PtSmartPointerBaseTwo.h"

#include "platform/common/threads/PtMutexPool.h"

namespace Pt {

namespace {

// A few for all objects, so that none has to carry a mutex of its own.
constexpr std::size_t kSharedMutexes = 3;

// Never destroyed: objects that live as long as the process drop their references at its end.
Mutex& mutexOf(const SmartPointerBaseTwo* object)
{
    static auto& pool = *new MutexPool<kSharedMutexes>;
    return pool.of(object);
}

} // namespace

void SmartPointerBaseTwo::incRefCount()
{
    const MutexHeld held(mutexOf(this));
    ++m_strong;
}

void SmartPointerBaseTwo::decRefCount()
{
    if (!loseStrong())
        return;
    // Without the mutex: it may use other objects, and drop references on this one.
    cleanUp();
    decSoftRef();
}

// Whether that was the end; a soft reference then keeps the object through its clean-up.
bool SmartPointerBaseTwo::loseStrong()
{
    const MutexHeld held(mutexOf(this));
    // An object that gets strong references again during its clean-up is not cleaned up twice.
    if (--m_strong != 0 || m_isDead)
        return false;
    ++m_soft;
    m_isDead = true;
    return true;
}

void SmartPointerBaseTwo::incSoftRef()
{
    const MutexHeld held(mutexOf(this));
    ++m_soft;
}

void SmartPointerBaseTwo::decSoftRef()
{
    // Not under the mutex: the destructor may drop references on objects of the same row.
    if (loseSoft())
        delete this;
}

bool SmartPointerBaseTwo::loseSoft()
{
    const MutexHeld held(mutexOf(this));
    // An object that had no strong reference yet does not go with its last soft one.
    return --m_soft == 0 && m_isDead;
}

bool SmartPointerBaseTwo::isDead() const
{
    const MutexHeld held(mutexOf(this));
    return m_isDead;
}

} // namespace Pt
