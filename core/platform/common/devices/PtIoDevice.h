#pragma once

#include "platform/common/devices/PtIoQueue.h"
#include "platform/common/devices/PtIoRequest.h"
#include "platform/common/services/PtSmartPointer.h"
#include "platform/common/threads/PtMutex.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Pt {

class FinishedRequests;

// Something with a descriptor that takes requests. A fixed number per direction is in flight at a
// time, the rest wait by priority; each request's completion gets the outcome exactly once,
// unless the call that took the request threw. Held by SmartPointer; a request that it has keeps it
// alive. Any thread may call anything, and so may a completion:
// - Nothing is called with the device's mutex held. What is cancelled is unlinked and marked under
//   the mutex, and its completion is called afterwards.
// - Completions run in the thread whose call finished the transfer, one after the other. What a
//   completion's own calls finish or cancel is completed when it has returned; so it must not wait
//   for that, and long queues do not nest.
// - A finished transfer hands its place to the next waiting request, whose transfer is issued in
//   the same thread before the finished one's completion is called. So a thread that reads or
//   writes may find itself doing the transfers of others until nothing waits.
// - What was cancelled while it waited gives no place away, as it had none.
// - What the destructors of a device or a request throw when a call or a transfer has dropped the
//   last reference is logged.
// - A request may be used again when it is done, which it is not yet in its completion.
class IoDevice : public SmartPointerBase {
public:
    // True when the transfer was issued: a blocking device has then done it, and completed it
    // unless the caller is itself a completion. False when the request waits for others. Throws
    // what the issue throws; the request is then as if it had never been given, the next waiting
    // one takes its place, and its completion is not called. Throws ExSystem with EBUSY while a
    // device has the request already. A transfer that is issued later fails by IoCompletion::failed
    // instead.
    bool read(IoRequest& request);
    bool write(IoRequest& request);

    // Issued at once, always. A device that knows no control requests completes it with 0 bytes.
    void control(IoRequest& request);

    // A request that waits here moves behind those of the new priority; for one in flight or done
    // the priority is kept for the next time. Throws std::out_of_range for a priority that is none.
    // Requires: no other device has the request.
    void priority(IoRequest& request, IoRequest::ReqPri newPriority);

    // Cancels what waits, highest priority first and reads before writes, and marks what is in
    // flight: that is reported as cancelled when it finishes, however it finishes. Does not wait
    // for it.
    void cancelAll();

    bool isClosed() const { return m_descriptor < 0; }

protected:
    // At least one of a kind is always allowed in flight.
    IoDevice(std::size_t readLimit, std::size_t writeLimit);
    ~IoDevice() noexcept(false) override;

    // Starts the transfer, or does it. Either throws, or sees to it that completeRequest_ is called
    // once, now or later. Called without the mutex.
    virtual void issueRead_(IoRequest& request) = 0;
    virtual void issueWrite_(IoRequest& request) = 0;
    virtual void issueControl_(IoRequest& request);

    // For devices whose descriptor has to be made known to what reports completions: nothing here.
    virtual void updateCompletion_() { }

    // Says that a transfer has finished: with an error number of the system, or 0 and its bytes.
    // Any thread, once for each issue. Do not touch the request afterwards.
    static void completeRequest_(IoRequest& request, int error, std::uint32_t bytes) noexcept;

    int m_descriptor = -1; // -1 when closed

private:
    // One direction's requests.
    struct Lane {
        explicit Lane(std::size_t wantedLimit)
            : limit(wantedLimit > 0 ? wantedLimit : 1)
        {
        }
        std::array<IoQueue, IoRequest::kPriorities> waiting; // by priority
        IoQueue inFlight;
        const std::size_t limit;
    };
    using Kind = IoRequest::StatusBit; // kRead, kWrite or kControl

    bool submit_(IoRequest& request, Kind kind);
    bool admit_L(IoRequest& request, Kind kind) TEVORO_REQUIRES(m_mutex);
    void issue_(IoRequest& request);
    void takeBack_(IoRequest& request);

    void issueNext_(bool read, bool write, IoRequest& ended);
    IoRequest* chooseNext_L(bool read, bool write) TEVORO_REQUIRES(m_mutex);
    void issueWaiting_(IoRequest& request) noexcept;

    // Under the mutex of the device that has it; what waited is added to the cancelled.
    static void cancel_L(IoRequest& request, FinishedRequests& cancelled);

    static void completeAll_(FinishedRequests& finished) noexcept;
    void finish_(IoRequest& request) noexcept;
    void tell_(IoRequest& request) noexcept;
    void release_(IoRequest& request) noexcept;

    Mutex m_mutex;
    Lane m_reads TEVORO_GUARDED_BY(m_mutex);
    Lane m_writes TEVORO_GUARDED_BY(m_mutex);
    IoQueue m_controls TEVORO_GUARDED_BY(m_mutex); // in flight
};

} // namespace Pt
