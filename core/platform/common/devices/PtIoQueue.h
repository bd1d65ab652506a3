#pragma once

#include <cstddef>

namespace Pt {

class IoRequest;

// Requests in their order: a ring of links around one of the queue's own. A request contains its
// link, so that putting it in and taking it out never fails and never allocates; it is in one queue
// at most. The queue borrows its requests. Whoever owns it locks it.
class IoQueue {
public:
    struct Link {
        explicit Link(IoRequest* owner)
            : request(owner)
        {
        }
        Link(const Link&) = delete;
        Link& operator=(const Link&) = delete;

        IoRequest* const request; // null for the queue's own
        Link* previous = this;
        Link* next = this;
        IoQueue* queue = nullptr; // which it is in; null for none
    };

    IoQueue() = default;
    IoQueue(const IoQueue&) = delete;
    IoQueue& operator=(const IoQueue&) = delete;

    // Requires: the link is in no queue.
    void push_back(Link& link);

    // Takes the first request out; null when the queue is empty.
    IoRequest* pop_front();

    // Takes a link out of the queue that it is in, if any.
    static void remove(Link& link);

    std::size_t count() const { return m_count; }

    // Calls action(IoRequest&) for each, first to last; the action leaves the queue as it is.
    template <typename Action>
    void forEach(Action action)
    {
        for (Link* each = m_sentinel.next; each != &m_sentinel; each = each->next)
            action(*each->request);
    }

private:
    Link m_sentinel{nullptr};
    std::size_t m_count = 0;
};

} // namespace Pt
