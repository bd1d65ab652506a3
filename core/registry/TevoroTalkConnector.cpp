#include "registry/TevoroTalkConnector.h"

#include <atomic>

namespace ScObjects {

namespace {

constinit std::atomic<TevoroTalkConnector*> gConnector{nullptr};
constinit std::atomic<bool> gHasExited{false};

} // namespace

bool TevoroTalkConnector::InitTerm::init(SoString const&)
{
    // No store of applications is read so far; an application may have set a connector itself.
    gHasExited = false;
    return true;
}

bool TevoroTalkConnector::InitTerm::exit()
{
    delete gConnector.exchange(nullptr);
    gHasExited = true;
    return true;
}

TevoroTalkConnector* TevoroTalkConnector::get()
{
    return gConnector;
}

void TevoroTalkConnector::set(TevoroTalkConnector* connector)
{
    if (gHasExited || connector == gConnector)
        return;
    delete gConnector.exchange(connector);
}

TevoroTalkConnector::TevoroTalkConnector(SoString const& appName)
    : m_appName(appName)
{
}

TevoroTalkConnector::~TevoroTalkConnector() = default;

void TevoroTalkConnector::appendDiagnostics(SoString&, SoString const&) const { }

SoString TevoroTalkConnector::findPreferredApp(SoString const&, SoString const&, SoString const&)
{
    return {};
}

SoString TevoroTalkConnector::findGroupForSpecifier(Specifier const&, SoString* version)
{
    if (version != nullptr)
        version->shrink(0);
    return {};
}

SoString TevoroTalkConnector::findSpecifierInGroup(
    SoString const&, SoString const&, SoString const&)
{
    return {};
}

bool TevoroTalkConnector::isGood() const
{
    return false;
}

bool TevoroTalkConnector::launchTarget(SoString const&, SoString const&, bool, TevoroTalkContext*)
{
    return false;
}

int TevoroTalkConnector::getNumberOfRegisteredApplications() const
{
    return 0;
}

SoString TevoroTalkConnector::getApplicationSpecifier(int index) const
{
    return index == -1 ? m_appName : SoString();
}

SoString TevoroTalkConnector::getDisplayName(
    SoString const&, SoString const&, SoString const&) const
{
    return {};
}

bool TevoroTalkConnector::bringToFront(char const*, TevoroTalkContext*) const
{
    return false;
}

SoString TevoroTalkConnector::getApplicationPath(SoString const&, char const*) const
{
    return {};
}

bool TevoroTalkConnector::supportsQSDT(SoString const&) const
{
    return false;
}

bool TevoroTalkConnector::isShellTool(SoString const&) const
{
    return false;
}

bool TevoroTalkConnector::getMessageAuthentication(SoString const&) const
{
    return true;
}

bool TevoroTalkConnector::getMessageDigest(SoString const&) const
{
    return true;
}

SoString TevoroTalkConnector::getBundleIdentifier(SoString const&) const
{
    return {};
}

SoString TevoroTalkConnector::getExecutableBasename(SoString const&) const
{
    return {};
}

SoString TevoroTalkConnector::getExecutableExtension(SoString const&) const
{
    return {};
}

SoString TevoroTalkConnector::getOMVDictionary(SoString const&) const
{
    return {};
}

SoString TevoroTalkConnector::getDeveloperInstallPath(SoString const&) const
{
    return {};
}

SoString TevoroTalkConnector::getRedirectTo(SoString const&) const
{
    return {};
}

bool TevoroTalkConnector::setProcessID(SoString const&, std::uint32_t)
{
    return false;
}

std::uint32_t TevoroTalkConnector::getProcessID(SoString const&)
{
    return 0;
}

void TevoroTalkConnector::clearCache() { }

bool TevoroTalkConnector::registerApplication(
    Specifier const&, SoString const&, SoString const*, bool, bool)
{
    return false;
}

bool TevoroTalkConnector::unregisterApplication(Specifier const&, SoString const*)
{
    return false;
}

SoString TevoroTalkConnector::getConnectorConfig(SoString const&) const
{
    return {};
}

bool TevoroTalkConnector::importFrom(TevoroTalkConnector const&)
{
    return false;
}

bool TevoroTalkConnector::removeAll()
{
    return false;
}

bool TevoroTalkConnector::updateCache(bool)
{
    return false;
}

std::int64_t TevoroTalkConnector::getTimestamp() const
{
    return 0;
}

bool TevoroTalkConnector::isEqual(TevoroTalkConnector const&) const
{
    return false;
}

bool TevoroTalkConnector::validate(TevoroTalkConnector const&) const
{
    return false;
}

bool TevoroTalkConnector::skipImport(QKConnectorAppInfo const&) const
{
    return false;
}

bool TevoroTalkConnector::registerRunningApps()
{
    return false;
}

} // namespace ScObjects
