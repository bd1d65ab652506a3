#pragma once

#include "platform/common/devices/PtIoQueue.h"
#include "platform/common/services/PtSmartPointer.h"

#include <atomic>
#include <bitset>
#include <cstddef>
#include <cstdint>

namespace Pt {

class ExSystem;
class IoDevice;

// Receives the outcome of a request, once for each. It is called in the thread that finished or
// cancelled it and with no lock held, so it may call the device: see IoDevice. What it throws is
// logged and goes no further. Requests hold it by reference.
class IoCompletion : public SmartPointerBase {
public:
    // bytes is what the system transferred: fewer than asked for at a file's end, 0 behind it.
    virtual void completed(IoRequest& request, std::uint32_t bytes) = 0;
    virtual void cancelled(IoRequest& request) = 0;
    virtual void failed(IoRequest& request, const ExSystem& failure) = 0;
};

// One transfer that a device is asked for. Made with new and held by SmartPointer; the device holds
// it, too, from the call to the end of its completion. The bytes are borrowed and stay where they
// are for as long. A request that is done may be used again. Any thread may ask for its state.
class IoRequest : public SmartPointerBase {
public:
    enum ReqPri : int { kLow = 0, kNormal = 1, kHigh = 2 };
    static constexpr std::size_t kPriorities = 3;

    // Bits of the status.
    enum StatusBit : std::size_t {
        kRead = 0,
        kWrite = 1,
        kControl = 2,
        kDone = 3,
        kIssued = 4, // in flight, no longer waiting
        kCancelled = 5,
    };
    using Status = std::bitset<8>;

    // The completion may be null: the outcome is not reported then. Throws std::out_of_range for a
    // priority that is none. A write only reads the bytes.
    IoRequest(SmartPointer<IoCompletion> completion,
        void* bytes,
        std::uint32_t length,
        ReqPri priority = kNormal);
    ~IoRequest() noexcept(false) override;

    void* bytes() const { return m_bytes; }
    std::uint32_t length() const { return m_length; }
    ReqPri priority() const { return m_priority; }
    Status status() const { return m_status; }
    bool isDone() const { return status()[kDone]; }

private:
    friend class IoDevice;
    friend class FinishedRequests;

    // False while a device has it.
    bool take(StatusBit kind);
    void mark(StatusBit bit) { m_status = status().set(bit); }
    bool is(StatusBit bit) const { return status()[bit]; }

    IoQueue::Link m_link{this};
    const SmartPointer<IoCompletion> m_completion;
    const std::uint32_t m_length;
    std::atomic<ReqPri> m_priority;
    // Written under the mutex of the device that has it.
    std::atomic<Status> m_status{Status()};
    void* const m_bytes;

    // From the call to the end.
    IoDevice* m_device = nullptr;
    // From the end of the transfer to the end of the completion, in that thread.
    int m_error = 0;
    std::uint32_t m_transferred = 0;
    IoRequest* m_nextFinished = nullptr;
};

} // namespace Pt
