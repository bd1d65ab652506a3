#include "messaging/SoLock.h"

#include "messaging/Thread.h"

namespace ScObjects {

SoLock::SoLock()
{
    Thread::InitTerm::init();
}

SoLock::~SoLock()
{
    Thread::InitTerm::exit();
}

void SoLock::acquire()
{
    m_mutex.lock();
}

void SoLock::release()
{
    m_mutex.unlock();
}

void SoLockable::lock() const
{
    m_lock.acquire();
}

void SoLockable::unlock() const
{
    m_lock.release();
}

} // namespace ScObjects
