// Whole conversations with an application on the bus: any bytes, on several connections, to its own
// port and to its thread's, in any order with pumps and ends of connections between them.
// Afterwards the application handles a message and answers a ping.
//
// The input is a list of steps. Each begins with a byte: its lower two bits are the connection, the
// next three the kind (see Step), and then comes, for those that send something, a byte for the
// length of the content in steps of four, and the content.
#include "fuzz/Require.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/platforms/linux/ports/LocalSocket.h"
#include "platform/platforms/linux/ports/MemoryText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace ScObjects;
using fuzz::require;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

const std::string kPrefix = R"(\\.\port\Ned_and_Olaf_)";
const std::string kAsker = "fuzzer-1.0";

enum class Step : unsigned int {
    kText, // the content, to the application
    kTextToThread,
    kMessage, // the content behind the head of a message that wants all answers
    kPing, // the same for a ping
    kMemoryText, // the content in a memory file
    kMemoryLie, // the content as the length in a packet with a memory file
    kClose,
    kPump
};

class Application {
public:
    Application()
        : m_folder(std::filesystem::temp_directory_path()
            / ("bus-conversation-" + std::to_string(::getpid())))
    {
        std::filesystem::create_directory(m_folder);
        ::setenv("TEVOROTALK_PORT_DIR", (m_folder / "ports").c_str(), 1);
        ::setenv("HOME", m_folder.c_str(), 1);
        m_bus = std::make_unique<TevoroTalk>("fuzzed-1.0", new Handler(m_last), true, nullptr);
        m_answers = Pt::LocalPort::hold(kPrefix + kAsker);
        require(m_bus->getAppName() == "fuzzed-1.0" && m_answers != nullptr);
    }
    ~Application()
    {
        m_bus.reset();
        TevoroTalk::InitTerm::exit();
        m_answers.reset();
        std::filesystem::remove_all(m_folder);
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    static void pump()
    {
        while (TevoroTalk::pump(TevoroTalk::kBoth, nullptr)) { }
    }

    void requireAlive()
    {
        const std::string body = "check " + std::to_string(++m_checks);
        require(m_sender.send(kPrefix + "fuzzed-1.0",
            head("fuzzed-1.0", "Quillscriber", "") + body,
            std::chrono::milliseconds(10000)));
        // An input may fill the asker's port with answers, and then one of them waits ten seconds.
        const auto limit = SteadyClock::now() + seconds(30);
        while (m_last != body) {
            require(SteadyClock::now() < limit);
            pump();
        }
        const std::string ping = head("fuzzed-1.0#thread", "ping", "ECHO_REQUEST:STATUS\n");
        require(
            m_sender.send(kPrefix + "fuzzed-1.0#thread", ping, std::chrono::milliseconds(10000)));
        while (!hasAnswer())
            require(SteadyClock::now() < limit);
    }

    // With what comes behind it as its body.
    static std::string head(
        const std::string& target, const std::string& type, const std::string& lines)
    {
        return "@QK>Version:2.05\nTarget:" + target + "\nSender:" + kAsker + "\nType:" + type + "\n"
            + lines + "Serial-Number:1\nContent-Length:999999\n\n";
    }

private:
    class Handler final : public TevoroTalk::MsgHandler {
    public:
        explicit Handler(std::string& last)
            : m_last(last)
        {
        }
        long handleMessage(int, TevoroTalk::Message& message, SoString* result) override
        {
            m_last = message.body.view();
            if (result != nullptr)
                *result = message.body;
            return static_cast<long>(m_last.size() % 3); // some fail
        }

    private:
        std::string& m_last;
    };

    // Drops what the input has asked for before it.
    bool hasAnswer()
    {
        bool isThere = false;
        m_answers->wait(std::chrono::milliseconds(100));
        m_answers->receive([&](char* text, std::size_t size) {
            isThere |= std::string_view(text, size).find("ECHO_REQUEST:") != std::string_view::npos;
        });
        return isThere;
    }

    std::filesystem::path m_folder;
    std::string m_last;
    int m_checks = 0;
    std::unique_ptr<TevoroTalk> m_bus;
    std::unique_ptr<Pt::LocalPort> m_answers;
    Pt::LocalPortSender m_sender;
};

// Of one connection index, to both ports.
class Connections {
public:
    void send(std::size_t index, bool toThread, std::string_view packet, int file = -1)
    {
        Pt::Descriptor& socket = m_sockets[2 * index + (toThread ? 1 : 0)];
        if (!socket.isOpen())
            socket = connect(toThread ? "fuzzed-1.0#thread" : "fuzzed-1.0");
        iovec part = {const_cast<char*>(packet.data()), packet.size()};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (file != -1) {
            message.msg_control = control.data();
            message.msg_controllen = control.size();
            cmsghdr* const rights = CMSG_FIRSTHDR(&message);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(sizeof file);
            std::memcpy(CMSG_DATA(rights), &file, sizeof file);
        }
        // A packet of no bytes ends the connection for its reader; a full port takes nothing.
        if (::sendmsg(socket.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT) == -1)
            socket = Pt::Descriptor();
    }

    void close(std::size_t index)
    {
        m_sockets[2 * index] = Pt::Descriptor();
        m_sockets[2 * index + 1] = Pt::Descriptor();
    }

private:
    static Pt::Descriptor connect(const std::string& name)
    {
        std::error_code error;
        const auto folders = Pt::openLocalPortFolders(error);
        require(!folders.empty());
        Pt::Descriptor socket = Pt::connectToLocalPort(folders.front(),
            Pt::localPortStem(kPrefix + name),
            SteadyClock::now() + seconds(10),
            error);
        require(socket.isOpen());
        return socket;
    }

    std::array<Pt::Descriptor, 8> m_sockets;
};

std::string_view nextContent(std::string_view& input)
{
    if (input.empty())
        return {};
    const std::size_t length = static_cast<unsigned char>(input[0]) * std::size_t{4};
    const std::string_view content = input.substr(1, length);
    input.remove_prefix(1 + content.size());
    return content;
}

void sendMemoryFile(
    Connections& connections, std::size_t index, std::string_view content, bool isLie)
{
    const Pt::Descriptor file = Pt::makeMemoryText(content, {});
    std::uint64_t length = content.size();
    if (isLie && !content.empty())
        std::memcpy(&length, content.data(), std::min(content.size(), sizeof length));
    connections.send(
        index, false, {reinterpret_cast<const char*>(&length), sizeof length}, file.get());
}

void send(Connections& connections, std::size_t index, Step step, std::string_view content)
{
    if (step == Step::kText || step == Step::kTextToThread) {
        connections.send(index, step == Step::kTextToThread, content);
    } else if (step == Step::kMessage) {
        const std::string head = Application::head("fuzzed-1.0",
            "Quillscriber",
            "Response-Request:Received Result Error Processed Timeout\n");
        connections.send(index, false, head + std::string(content));
    } else if (step == Step::kPing) {
        connections.send(index,
            true,
            Application::head(
                "fuzzed-1.0#thread", "ping", "ECHO_REQUEST:" + std::string(content) + "\n"));
    } else {
        sendMemoryFile(connections, index, content, step == Step::kMemoryLie);
    }
}

void converse(std::string_view input)
{
    Connections connections;
    while (!input.empty()) {
        const unsigned int head = static_cast<unsigned char>(input[0]);
        input.remove_prefix(1);
        const std::size_t index = head & 3U;
        const auto step = static_cast<Step>(head >> 2U & 7U);
        if (step == Step::kPump)
            Application::pump();
        else if (step == Step::kClose)
            connections.close(index);
        else
            send(connections, index, step, nextContent(input));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Application application;
    converse({reinterpret_cast<const char*>(data), size});
    application.requireAlive();
    return 0;
}
