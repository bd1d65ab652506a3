#include "platform/common/devices/PtIoDevice.h"

#include "platform/common/devices/PtFinishedRequests.h"
#include "platform/common/services/CurrentExceptionText.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/services/PtSysLog.h"

#include <cerrno>

namespace Pt {

namespace {

// What this thread is completing; null when it is not in a completion.
thread_local FinishedRequests* gCompleting = nullptr;

// Runs what must not throw; what it throws becomes a line in the log.
template <typename Action>
void logged(std::uint32_t event, Action action) noexcept
{
    try {
        action();
    } catch (...) {
        SysLogEvent(event, currentExceptionText().c_str());
    }
}

// Holds both for the length of a call: a completion may drop the last reference on either while the
// issue is still under way. What the destructors throw is not the caller's, whose request was told.
class HeldForCall {
public:
    HeldForCall(IoDevice& device, IoRequest& request)
        : m_device(device)
        , m_request(request)
    {
        m_device.incRefCount();
        m_request.incRefCount();
    }
    ~HeldForCall()
    {
        logged(kIoCompletionEvent, [this] { m_request.decRefCount(); });
        logged(kIoCompletionEvent, [this] { m_device.decRefCount(); });
    }
    HeldForCall(const HeldForCall&) = delete;
    HeldForCall& operator=(const HeldForCall&) = delete;

private:
    IoDevice& m_device;
    IoRequest& m_request;
};

} // namespace

IoDevice::IoDevice(std::size_t readLimit, std::size_t writeLimit)
    : m_reads(readLimit)
    , m_writes(writeLimit)
{
}

IoDevice::~IoDevice() noexcept(false) = default;

bool IoDevice::read(IoRequest& request)
{
    return submit_(request, IoRequest::kRead);
}

bool IoDevice::write(IoRequest& request)
{
    return submit_(request, IoRequest::kWrite);
}

void IoDevice::control(IoRequest& request)
{
    submit_(request, IoRequest::kControl);
}

bool IoDevice::submit_(IoRequest& request, Kind kind)
{
    // Before anything is counted: a request that another device has must stay as it is.
    if (!request.take(kind))
        throw ExSystem(EBUSY, ExWhere::here());
    // For this call. The next two references are those of the transfer, which release_ gives up.
    const HeldForCall held(*this, request);
    incRefCount();
    request.incRefCount();
    request.m_device = this;
    {
        // Released before the issue: a blocking device completes in it, and a completion may call
        // this device.
        const MutexHeld locked(m_mutex);
        if (!admit_L(request, kind))
            return false;
    }
    try {
        issue_(request);
    } catch (...) {
        takeBack_(request);
        throw;
    }
    return true;
}

// Puts the request in flight, or lets it wait; whether it is to be issued.
bool IoDevice::admit_L(IoRequest& request, Kind kind)
{
    if (kind == IoRequest::kControl) {
        request.mark(IoRequest::kIssued);
        // Control requests have no limit and never wait; they are listed so that cancelAll finds
        // them.
        m_controls.push_back(request.m_link);
        return true;
    }
    Lane& lane = kind == IoRequest::kRead ? m_reads : m_writes;
    if (lane.inFlight.count() >= lane.limit) {
        lane.waiting.at(static_cast<std::size_t>(request.priority())).push_back(request.m_link);
        return false;
    }
    request.mark(IoRequest::kIssued);
    lane.inFlight.push_back(request.m_link);
    return true;
}

void IoDevice::issue_(IoRequest& request)
{
    if (request.is(IoRequest::kRead))
        issueRead_(request);
    else if (request.is(IoRequest::kWrite))
        issueWrite_(request);
    else
        issueControl_(request);
}

// After an issue that threw at the caller. The caller still holds both.
void IoDevice::takeBack_(IoRequest& request)
{
    issueNext_(request.is(IoRequest::kRead), request.is(IoRequest::kWrite), request);
    request.m_status = IoRequest::Status();
    request.decRefCount();
    decRefCount();
}

void IoDevice::issueControl_(IoRequest& request)
{
    completeRequest_(request, 0, 0);
}

// Takes an ended request out of flight and gives its place to the next that waits: in one step, as
// a request that came in between would find the limit reached and then wait for nobody.
void IoDevice::issueNext_(bool read, bool write, IoRequest& ended)
{
    IoRequest* next = nullptr;
    {
        const MutexHeld held(m_mutex);
        IoQueue::remove(ended.m_link);
        next = chooseNext_L(read, write);
    }
    if (next)
        issueWaiting_(*next);
}

IoRequest* IoDevice::chooseNext_L(bool read, bool write)
{
    if (!read && !write)
        return nullptr;
    Lane& lane = write ? m_writes : m_reads;
    for (std::size_t each = IoRequest::kPriorities; each-- > 0;) {
        // The highest priority first.
        IoRequest* const first = lane.waiting[each].pop_front();
        if (!first)
            continue;
        first->mark(IoRequest::kIssued);
        // Still under the mutex, so that no request that comes now takes the place.
        lane.inFlight.push_back(first->m_link);
        return first;
    }
    return nullptr;
}

void IoDevice::issueWaiting_(IoRequest& request) noexcept
{
    // For failures that have no error number of their own.
    int error = EIO;
    try {
        issue_(request);
        return;
    } catch (const ExSystem& failure) {
        error = failure.errorCode() != 0 ? failure.errorCode() : EIO;
    } catch (...) {
        SysLogEvent(kIoIssueEvent, currentExceptionText().c_str());
    }
    completeRequest_(request, error, 0);
}

void IoDevice::priority(IoRequest& request, IoRequest::ReqPri newPriority)
{
    const MutexHeld held(m_mutex);
    for (Lane* const lane : {&m_reads, &m_writes}) {
        // Found first: at() throws for a priority that is none, and nothing has changed by then.
        IoQueue& wanted = lane->waiting.at(static_cast<std::size_t>(newPriority));
        for (IoQueue& each : lane->waiting) {
            if (request.m_link.queue != &each)
                continue;
            IoQueue::remove(request.m_link);
            wanted.push_back(request.m_link);
            break;
        }
    }
    request.m_priority = newPriority;
}

void IoDevice::cancelAll()
{
    // Collected under the mutex and completed after it, because completions may call this device.
    FinishedRequests cancelled;
    {
        const MutexHeld held(m_mutex);
        for (std::size_t each = IoRequest::kPriorities; each-- > 0;) {
            for (Lane* const lane : {&m_reads, &m_writes})
                while (IoRequest* const first = lane->waiting[each].pop_front())
                    cancel_L(*first, cancelled);
        }
        for (IoQueue* const queue : {&m_reads.inFlight, &m_writes.inFlight, &m_controls})
            queue->forEach([&cancelled](IoRequest& request) { cancel_L(request, cancelled); });
    }
    completeAll_(cancelled);
}

void IoDevice::cancel_L(IoRequest& request, FinishedRequests& cancelled)
{
    if (request.isDone())
        return;
    // A transfer in flight cannot be stopped: it ends by itself, and is then told cancelled.
    request.mark(IoRequest::kCancelled);
    if (request.is(IoRequest::kIssued))
        return;
    IoQueue::remove(request.m_link);
    cancelled.append(request);
}

void IoDevice::completeRequest_(IoRequest& request, int error, std::uint32_t bytes) noexcept
{
    // Without the mutex: between the end of the transfer and that of the completion the request
    // belongs to this thread.
    request.m_error = error;
    request.m_transferred = bytes;
    FinishedRequests finished;
    finished.append(request);
    completeAll_(finished);
}

// In a completion, or in the transfer that is issued before one, only adds to what the thread is to
// complete afterwards.
void IoDevice::completeAll_(FinishedRequests& finished) noexcept
{
    if (gCompleting) {
        while (IoRequest* const each = finished.pop())
            gCompleting->append(*each);
        return;
    }
    // From here on, what completions finish is appended to this list instead of being nested: a
    // long queue does not use up the stack.
    gCompleting = &finished;
    while (IoRequest* const each = finished.pop())
        each->m_device->finish_(*each);
    gCompleting = nullptr;
}

void IoDevice::finish_(IoRequest& request) noexcept
{
    // What was cancelled while it waited has held no place.
    if (request.is(IoRequest::kIssued))
        issueNext_(request.is(IoRequest::kRead), request.is(IoRequest::kWrite), request);
    // After the next transfer was issued: no place stays empty while a completion runs.
    tell_(request);
    release_(request);
}

void IoDevice::tell_(IoRequest& request) noexcept
{
    IoCompletion* const completion = request.m_completion.get();
    if (!completion)
        return;
    logged(kIoCompletionEvent, [&] {
        if (request.is(IoRequest::kCancelled))
            completion->cancelled(request);
        else if (request.m_error == 0)
            completion->completed(request, request.m_transferred);
        else
            completion->failed(request, ExSystem(request.m_error, ExWhere::here()));
    });
}

// With the mark the request is its owner's again. The destructors of either may throw.
void IoDevice::release_(IoRequest& request) noexcept
{
    request.mark(IoRequest::kDone);
    logged(kIoCompletionEvent, [&] { request.decRefCount(); });
    logged(kIoCompletionEvent, [&] { decRefCount(); });
}

} // namespace Pt
