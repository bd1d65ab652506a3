#include "platform/common/threads/PtMutex.h"

#include "platform/platforms/linux/threads/ThreadCall.h"

#include <exception>

#include <pthread.h>

namespace Pt {

namespace {

// The attributes of a mutex that does not know its holder.
class NormalKind {
public:
    NormalKind()
    {
        requireSuccess(::pthread_mutexattr_init(&m_attributes));
        // Locking twice stops the thread at the mistake, instead of counting.
        requireSuccess(::pthread_mutexattr_settype(&m_attributes, PTHREAD_MUTEX_NORMAL));
    }
    ~NormalKind() { ::pthread_mutexattr_destroy(&m_attributes); }
    NormalKind(const NormalKind&) = delete;
    NormalKind& operator=(const NormalKind&) = delete;

    const pthread_mutexattr_t* get() const { return &m_attributes; }

private:
    pthread_mutexattr_t m_attributes = {};
};

} // namespace

struct Mutex::Native {
    pthread_mutex_t mutex;
};

Mutex::Mutex()
    : m_native(std::make_unique<Native>())
{
    requireSuccess(::pthread_mutex_init(&m_native->mutex, NormalKind().get()));
}

Mutex::~Mutex() noexcept(false)
{
    const int error = ::pthread_mutex_destroy(&m_native->mutex);
    // A second exception would end the process; the first one has told that something failed.
    if (std::uncaught_exceptions() == 0)
        requireSuccess(error);
}

void Mutex::lock()
{
    requireSuccess(::pthread_mutex_lock(&m_native->mutex));
}

void Mutex::unlock()
{
    requireSuccess(::pthread_mutex_unlock(&m_native->mutex));
}

} // namespace Pt
