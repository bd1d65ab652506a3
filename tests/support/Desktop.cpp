#include "support/Desktop.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <unistd.h>

namespace test {

namespace {

constexpr const char* kServer = "/usr/bin/Xvfb";
constexpr const char* kManager = "/usr/bin/openbox";

} // namespace

std::string Desktop::missing()
{
    for (const char* program : {kServer, kManager})
        if (!std::filesystem::exists(program))
            return program;
    return {};
}

Desktop::Desktop(const std::string& size)
{
    m_server.emplace(std::vector<std::string>{
        // Servers that look for a free number at the same time find the same one.
        kServer,
        ":" + std::to_string(1000 + ::getpid()),
        "-displayfd",
        "1",
        "-screen",
        "0",
        size + "x24",
        "-nolisten",
        "tcp"});
    if (!m_server->waitFor("\n", kPatience))
        throw std::runtime_error("no display: " + m_server->output());
    const std::string& line = m_server->output();
    m_environment.set("DISPLAY", ":" + line.substr(0, line.find('\n')));
    // Its theme lies where a test may have told programs not to look.
    m_manager.emplace(
        std::vector<std::string>{"/usr/bin/env", "-u", "XDG_DATA_DIRS", kManager, "--sm-disable"});
}

Desktop::~Desktop()
{
    m_manager.reset();
    endServer();
}

bool Desktop::endServer()
{
    m_server->signal(SIGCONT);
    m_server->signal(SIGTERM);
    return m_server->waitForEnd(kPatience);
}

} // namespace test
