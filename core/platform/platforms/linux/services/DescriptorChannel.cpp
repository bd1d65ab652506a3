#include "platform/common/services/DescriptorChannel.h"

#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace Pt {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kControlSize = CMSG_SPACE(DescriptorChannel::kMaxDescriptors * sizeof(int));

// Whether there is something to read, or the other side is gone, before the deadline.
bool awaitInput(int descriptor, std::optional<Clock::time_point> deadline)
{
    pollfd question = {descriptor, POLLIN, 0};
    for (;;) {
        int wait = -1;
        if (deadline) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
            wait = static_cast<int>(std::clamp<long long>(left, 0, 1'000'000));
        }
        const int ready = ::poll(&question, 1, wait);
        if (ready == 1)
            return true;
        if (deadline && Clock::now() >= *deadline)
            return false;
    }
}

void takeDescriptors(msghdr& header, std::vector<OwnedDescriptor>& into)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof(int), sizeof number);
            into.emplace_back(number);
        }
    }
}

} // namespace

std::optional<std::pair<DescriptorChannel, DescriptorChannel>> DescriptorChannel::makePair(
    std::error_code& error)
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        error = lastError();
        return std::nullopt;
    }
    error.clear();
    return std::pair(
        DescriptorChannel(OwnedDescriptor(ends[0])), DescriptorChannel(OwnedDescriptor(ends[1])));
}

std::error_code DescriptorChannel::send(
    std::string_view bytes, std::span<const int> descriptors) const
{
    if (bytes.size() > kMaxMessage || descriptors.size() > kMaxDescriptors)
        return std::make_error_code(std::errc::message_size);
    iovec piece = {const_cast<char*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) std::array<char, kControlSize> control{};
    msghdr header = {};
    header.msg_iov = &piece;
    header.msg_iovlen = 1;
    if (!descriptors.empty()) {
        header.msg_control = control.data();
        header.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr* const part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size_bytes());
    }
    const ssize_t sent = retryInterrupted(
        [&] { return ::sendmsg(m_end.get(), &header, MSG_NOSIGNAL | MSG_DONTWAIT); });
    return sent == -1 ? lastError() : std::error_code();
}

DescriptorChannel::Heard DescriptorChannel::receive(
    ChannelMessage& message, std::optional<std::chrono::milliseconds> limit) const
{
    message = {};
    if (!awaitInput(m_end.get(), limit ? std::optional(Clock::now() + *limit) : std::nullopt))
        return Heard::kNothingYet;
    message.bytes.resize(kMaxMessage);
    iovec piece = {message.bytes.data(), message.bytes.size()};
    alignas(cmsghdr) std::array<char, kControlSize> control{};
    msghdr header = {};
    header.msg_iov = &piece;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    const ssize_t got =
        retryInterrupted([&] { return ::recvmsg(m_end.get(), &header, MSG_CMSG_CLOEXEC); });
    takeDescriptors(header, message.descriptors);
    const bool isCut = (header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0;
    message.bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return got > 0 && !isCut ? Heard::kMessage : Heard::kEnd;
}

} // namespace Pt
