#include "platform/common/devices/PtIoRequest.h"

#include <stdexcept>

namespace Pt {

namespace {

IoRequest::ReqPri checked(IoRequest::ReqPri priority)
{
    if (priority < IoRequest::kLow || priority > IoRequest::kHigh)
        throw std::out_of_range("a request's priority is 0, 1 or 2");
    return priority;
}

} // namespace

IoRequest::IoRequest(
    SmartPointer<IoCompletion> completion, void* bytes, std::uint32_t length, ReqPri priority)
    : m_completion(std::move(completion))
    , m_length(length)
    , m_priority(checked(priority))
    , m_bytes(bytes)
{
}

IoRequest::~IoRequest() noexcept(false) = default;

bool IoRequest::take(StatusBit kind)
{
    const Status fresh = Status().set(kind);
    Status seen = status();
    // Fresh or done; two devices that are given the request at once cannot both get it. A weak
    // exchange may fail for nothing, so it is tried again.
    while (seen.none() || seen[kDone])
        if (m_status.compare_exchange_weak(seen, fresh))
            return true;
    return false;
}

} // namespace Pt
