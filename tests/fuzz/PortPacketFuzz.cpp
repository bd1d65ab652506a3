// Any packets into the reader of a local port, with memory files of any size and seals, and other
// descriptors: a text comes out whole or not at all, and no descriptor is left open.
//
// The input is a list of packets. Each begins with a byte: its lower two bits are the kind (a text,
// a memory file, two of them, a pipe), the next four the seals of the file, and the highest says
// that the length in the packet is right. Then come the content's length and the content; a length
// that is wrong is made of the first eight bytes of it.

#include "fuzz/Require.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/platforms/linux/ports/PacketReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

using fuzz::require;
using Outcome = Pt::PacketReader::Outcome;

namespace {

constexpr int kAllSeals[] = {F_SEAL_SHRINK, F_SEAL_GROW, F_SEAL_WRITE, F_SEAL_SEAL};
constexpr unsigned int kKind = 3;
constexpr unsigned int kIsRight = 128;
constexpr std::size_t kRoom = 300; // of the reader: a longer packet is cut

// The lowest number that is free.
int nextDescriptor()
{
    const int number = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    require(number != -1);
    ::close(number);
    return number;
}

Pt::Descriptor memoryFile(std::string_view content, unsigned int seals)
{
    Pt::Descriptor file(::memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    require(::write(file.get(), content.data(), content.size())
        == static_cast<ssize_t>(content.size()));
    for (unsigned int i = 0; i < 4; ++i)
        if ((seals >> i & 1U) != 0)
            require(::fcntl(file.get(), F_ADD_SEALS, kAllSeals[i]) == 0);
    return file;
}

bool send(int socket, std::string_view packet, const std::vector<int>& descriptors)
{
    iovec part = {const_cast<char*>(packet.data()), packet.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(2 * sizeof(int))> control = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        const std::size_t size = descriptors.size() * sizeof(int);
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(size);
        cmsghdr* const rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(size);
        std::memcpy(CMSG_DATA(rights), descriptors.data(), size);
    }
    return ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT)
        == static_cast<ssize_t>(packet.size());
}

struct Packet {
    unsigned int head = 0;
    std::string_view content;

    unsigned int kind() const { return head & kKind; }
    unsigned int seals() const { return head >> 2U & 15U; }

    std::string bytes() const
    {
        if (kind() == 0)
            return std::string(content);
        std::uint64_t length = content.size();
        std::string packet(sizeof length, '\0');
        if ((head & kIsRight) == 0)
            return std::string(content.substr(0, sizeof length));
        std::memcpy(packet.data(), &length, sizeof length);
        return packet;
    }

    // The length that the packet says.
    std::optional<std::uint64_t> length() const
    {
        const std::string packet = bytes();
        std::uint64_t result = 0;
        if (packet.size() != sizeof result)
            return std::nullopt;
        std::memcpy(&result, packet.data(), sizeof result);
        return result;
    }

    Outcome expected() const
    {
        if (kind() == 0)
            return content.size() > kRoom ? Outcome::kDropped : Outcome::kText;
        const bool holds =
            kind() == 1 && seals() == 15 && !content.empty() && length() == content.size();
        return holds ? Outcome::kText : Outcome::kDropped;
    }
};

// Nothing at the end of the input.
std::optional<Packet> nextPacket(std::string_view& input)
{
    if (input.size() < 2)
        return std::nullopt;
    Packet packet;
    packet.head = static_cast<unsigned char>(input[0]);
    const std::size_t length = static_cast<unsigned char>(input[1]) * std::size_t{2};
    packet.content = input.substr(2, length);
    input.remove_prefix(2 + packet.content.size());
    return packet;
}

void deliver(int socket, const Packet& packet)
{
    const std::string bytes = packet.bytes();
    std::vector<Pt::Descriptor> files;
    if (packet.kind() == 1 || packet.kind() == 2)
        files.push_back(memoryFile(packet.content, packet.seals()));
    if (packet.kind() == 2)
        files.push_back(memoryFile(packet.content, packet.seals()));
    if (packet.kind() == 3) {
        int ends[2] = {};
        require(::pipe2(ends, O_CLOEXEC) == 0);
        files.emplace_back(ends[0]);
        const Pt::Descriptor other(ends[1]);
    }
    std::vector<int> numbers;
    for (const Pt::Descriptor& file : files)
        numbers.push_back(file.get());
    require(send(socket, bytes, numbers));
}

void check(std::string_view input)
{
    int ends[2] = {};
    require(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    const Pt::Descriptor ours(ends[0]);
    const Pt::Descriptor theirs(ends[1]);
    Pt::PacketReader reader(kRoom);
    while (const auto packet = nextPacket(input)) {
        if (packet->bytes().empty()) // ends the connection
            continue;
        deliver(theirs.get(), *packet);
        const Outcome outcome = reader.read(ours.get());
        require(outcome == packet->expected());
        if (outcome == Outcome::kText) {
            require(std::string_view(reader.text(), reader.size()) == packet->content);
            reader.text()[0] ^= 1; // a taker may write
        }
        reader.trim();
    }
    require(reader.read(ours.get()) == Outcome::kNothing);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int before = nextDescriptor();
    check({reinterpret_cast<const char*>(data), size});
    require(nextDescriptor() == before);
    return 0;
}
