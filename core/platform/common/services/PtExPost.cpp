#include "platform/common/services/PtExPost.h"

#include <atomic>
#include <memory>

namespace Pt {

namespace {

std::atomic<ExPost*> gQueue{nullptr};

} // namespace

void ExceptionInit()
{
    // A second start keeps the queue, and what was posted there.
    if (!gQueue.load())
        gQueue = new ExPost;
}

void ExceptionUninit()
{
    delete gQueue.exchange(nullptr);
}

ExPost* ExPost::instance()
{
    return gQueue.load();
}

ExPost::~ExPost()
{
    while (Exception* const left = poll())
        delete left;
}

void ExPost::post(const Exception& exception)
{
    std::unique_ptr<Exception> copy(exception.clone());
    const Locked locked(m_lock);
    // The copy lets go only afterwards: the queue may fail to grow.
    m_queue.push_back(copy.get());
    static_cast<void>(copy.release());
}

Exception* ExPost::poll()
{
    const Locked locked(m_lock);
    if (m_queue.empty())
        return nullptr;
    Exception* const oldest = m_queue.front();
    m_queue.pop_front();
    return oldest;
}

} // namespace Pt
