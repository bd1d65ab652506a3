#pragma once

#include "platform/common/services/PtException.h"
#include "platform/common/threads/Lock.h"

#include <deque>

namespace Pt {

// Between these two the process has a queue for exceptions; ExceptionUninit deletes what nobody
// took. Requires: no other thread posts or polls while one of them runs. A further ExceptionInit
// keeps the queue that is there.
void ExceptionInit();
void ExceptionUninit();

// The queue behind Exception::Post and Exception::Poll. It owns what lies in it.
class ExPost {
public:
    ExPost() = default;
    ExPost(const ExPost&) = delete;
    ExPost& operator=(const ExPost&) = delete;
    ~ExPost();

    // The one of the process; null outside ExceptionInit and ExceptionUninit.
    static ExPost* instance();

    // Appends a clone.
    void post(const Exception& exception);

    // The oldest, the caller's to delete; null when there is none.
    Exception* poll();

private:
    Lock m_lock;
    std::deque<Exception*> m_queue TEVORO_GUARDED_BY(m_lock);
};

} // namespace Pt
