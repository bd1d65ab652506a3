#include "platform/common/devices/PtIoQueue.h"

#include <cassert>

namespace Pt {

void IoQueue::push_back(Link& link)
{
    assert(!link.queue);
    link.previous = m_sentinel.previous;
    link.next = &m_sentinel;
    link.previous->next = &link;
    m_sentinel.previous = &link;
    link.queue = this;
    ++m_count;
}

IoRequest* IoQueue::pop_front()
{
    Link& first = *m_sentinel.next;
    // In an empty queue this is the sentinel, which is in no queue and has no request.
    remove(first);
    return first.request;
}

void IoQueue::remove(Link& link)
{
    if (!link.queue)
        return;
    link.previous->next = link.next;
    link.next->previous = link.previous;
    // A ring of its own, as a link has it from the start.
    link.previous = link.next = &link;
    --link.queue->m_count;
    link.queue = nullptr;
}

} // namespace Pt
