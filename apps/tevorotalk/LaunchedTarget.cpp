#include "tevorotalk/LaunchedTarget.h"

#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace tevorotalk {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;

namespace {

constexpr std::chrono::seconds kGrace{5};

Pt::ProcessIdentity processOf(const SoString& target)
{
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    const unsigned long id = connector != nullptr ? connector->getProcessID(target) : 0;
    return {id, Pt::processStartTime(id)};
}

// What an executable file begins with, as the system has it.
std::string whyNotRun(const std::string& path)
{
    constexpr std::size_t kMaxLine = 255;
    std::string begin(kMaxLine, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    begin.resize(static_cast<std::size_t>(file.gcount()));
    if (begin.starts_with("\x7f"
                          "ELF"))
        return {};
    if (!begin.starts_with("#!"))
        return "it is no program, and no script either: those begin with a line #!INTERPRETER";
    const std::size_t first = begin.find_first_not_of(" \t", 2);
    const std::string interpreter = begin.substr(std::min(first, begin.size()),
        begin.find_first_of(" \t\n", first) - std::min(first, begin.size()));
    std::error_code error;
    return std::filesystem::exists(interpreter, error)
        ? std::string()
        : "its interpreter '" + interpreter + "' is not there";
}

} // namespace

std::string installedPath(const SoString& target)
{
    const SoString path = TevoroTalk::Specifier::getApplicationPath(target);
    return std::string(path.isEmpty() || isWebAddress(std::string(path.view()))
            ? path.view()
            : ScObjects::TevoroTalkUtils::startedPath(path).view());
}

bool isWebAddress(const std::string& path)
{
    return path.starts_with("https://");
}

std::string whyNotStartable(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status))
        return "nothing is there";
    if (fs::is_directory(status))
        return "it is a folder";
    constexpr auto kAnyExecute =
        fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    if ((status.permissions() & kAnyExecute) == fs::perms::none)
        return "it is not executable";
    return whyNotRun(path);
}

LaunchedTarget::LaunchedTarget(const SoString& target)
    : m_target(target)
    , m_path(installedPath(target))
    , m_process(processOf(target))
{
}

bool LaunchedTarget::hasFailedToStart() const
{
    return m_process.id == 0 && !m_path.empty() && !isWebAddress(m_path)
        && !TevoroTalk::Specifier(m_target, false).isRunning();
}

bool LaunchedTarget::hasEnded() const
{
    return m_process.id != 0 && !Pt::isProcessRunning(m_process)
        && isPortFree(m_target.get(), "thread") && isPortFree(m_target.get(), "");
}

bool LaunchedTarget::isGone()
{
    if (!hasEnded())
        m_endedAt.reset();
    else if (!m_endedAt)
        m_endedAt = std::chrono::steady_clock::now();
    return m_endedAt && hasPassed(*m_endedAt + kGrace);
}

std::string LaunchedTarget::state() const
{
    if (m_process.id == 0)
        return {};
    return "; it was started from " + m_path + (hasEnded() ? " and has ended" : "");
}

} // namespace tevorotalk
