#pragma once

#include "platform/common/devices/PtIoRequest.h"

#include <utility>

namespace Pt {

// Requests on their way from the end of their transfer to the end of their completion, oldest
// first; for IoDevice. They are chained through the requests, so that nothing here can fail. One
// thread.
class FinishedRequests {
public:
    void append(IoRequest& request)
    {
        request.m_nextFinished = nullptr;
        IoRequest*& place = m_last ? m_last->m_nextFinished : m_first;
        place = &request;
        m_last = &request;
    }

    // The oldest, taken out; null when there is none.
    IoRequest* pop()
    {
        IoRequest* const oldest = m_first;
        if (oldest)
            m_first = std::exchange(oldest->m_nextFinished, nullptr);
        if (!m_first)
            m_last = nullptr;
        return oldest;
    }

private:
    IoRequest* m_first = nullptr;
    IoRequest* m_last = nullptr;
};

} // namespace Pt
