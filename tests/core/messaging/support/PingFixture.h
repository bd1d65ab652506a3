#pragma once

#include "core/messaging/support/BusFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/process/TevoroTalkThread.h"

#include <filesystem>
#include <memory>
#include <string>

#include <signal.h>
#include <sys/wait.h>

namespace test {

// Another application on the bus, see PingPeer.cpp. Its main thread sleeps until it is told.
class Peer {
public:
    explicit Peer(const std::string& name)
        : m_process({PING_PEER, name})
    {
        EXPECT_EQ(m_process.line(), name);
    }

    // Tells it a line, and gives what it says.
    std::string tell(const std::string& line)
    {
        m_process.tell(line);
        return m_process.line();
    }
    // Lets it pump until it is told something else.
    void serve() { m_process.tell("serve"); }

    // Holds its ports and does nothing at all, until it goes on.
    void freeze() const
    {
        ::kill(m_process.id(), SIGSTOP);
        // Its threads do not stop at once.
        EXPECT_EQ(::waitpid(m_process.id(), nullptr, WUNTRACED), m_process.id());
    }
    void goOn() const { ::kill(m_process.id(), SIGCONT); }
    PeerProcess& process() { return m_process; }

    std::ptrdiff_t descriptors() const { return entries("/fd"); }
    std::ptrdiff_t threads() const { return entries("/task"); }

private:
    std::ptrdiff_t entries(const std::string& folder) const
    {
        const std::filesystem::directory_iterator all(
            "/proc/" + std::to_string(m_process.id()) + folder);
        return std::distance(begin(all), end(all));
    }

    PeerProcess m_process;
};

// A process that asks others.
class PingFixture : public BusFixture {
protected:
    static constexpr std::int32_t kLong = 30; // seconds

    static std::string ask(const std::string& target,
        const std::string& command,
        std::int32_t seconds = kLong,
        const std::string& body = {})
    {
        const SoString text(body);
        return bytes(TevoroTalk::Thread::ping(target.c_str(), command.c_str(), seconds, &text));
    }

    static ScObjects::TevoroTalkThread& thread()
    {
        return *ScObjects::TevoroTalkThread::getMainThread();
    }
    // The name of a port as the platform knows it.
    static std::string portOf(const std::string& name) { return ScObjects::gPortName + name; }

    static constexpr const char* kEcho = "ECHO_RESPONSE";
};

} // namespace test
