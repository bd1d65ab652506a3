#include "messaging/SoLock.h"

#include "messaging/Thread.h"

#include <mutex>

namespace ScObjects {

class SoLock::LockData final : public SoHeap {
public:
    std::recursive_mutex mutex;
};

SoLock::SoLock()
    : m_data(new LockData)
{
    Thread::InitTerm::init();
}

SoLock::~SoLock()
{
    delete m_data;
    Thread::InitTerm::exit();
}

void SoLock::acquire()
{
    m_data->mutex.lock();
}

void SoLock::release()
{
    m_data->mutex.unlock();
}

SoLockable::SoLockable()
    : m_lock(new SoLock)
{
}

SoLockable::SoLockable(SoLockable const& other)
    : SoHeap(other)
    , m_lock(new SoLock)
{
}

SoLockable::~SoLockable()
{
    delete m_lock;
}

void SoLockable::lock() const
{
    m_lock->acquire();
}

void SoLockable::unlock() const
{
    m_lock->release();
}

} // namespace ScObjects
