// One end of a talk between two processes: short messages, each whole or not at all, and open files
// that go with them. One thread at a time. Nothing is thrown but std::bad_alloc.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Pt {

struct ChannelMessage {
    std::string bytes;
    std::vector<OwnedDescriptor> descriptors; // this process's own now
};

class DescriptorChannel {
public:
    // Longer messages, and more open files with one, are not sent.
    static constexpr std::size_t kMaxMessage = 64 * 1024; // bytes
    static constexpr std::size_t kMaxDescriptors = 8;

    enum class Heard { kMessage, kNothingYet, kEnd };

    DescriptorChannel() = default;
    explicit DescriptorChannel(OwnedDescriptor end)
        : m_end(std::move(end))
    {
    }

    // The two ends of a new talk; nothing when the system refuses.
    static std::optional<std::pair<DescriptorChannel, DescriptorChannel>> makePair(
        std::error_code& error);

    // Does not wait: an error, too, where the other side does not read or is gone.
    std::error_code send(std::string_view bytes, std::span<const int> descriptors = {}) const;

    // Waits so long at most; without a limit for as long as it takes. A message that is too long,
    // or with more files than that, is the end: its sender is not one of ours.
    Heard receive(
        ChannelMessage& message, std::optional<std::chrono::milliseconds> limit = {}) const;

    int descriptor() const { return m_end.get(); }
    bool isOpen() const { return m_end.isOpen(); }

private:
    OwnedDescriptor m_end;
};

} // namespace Pt
