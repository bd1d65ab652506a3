#include "registry/TevoroTalkConnector.h"

#include <atomic>

namespace ScObjects {

namespace {

// Initialised at compile time, so that other static objects may ask at any moment. Atomic, because
// get() is called by every thread and takes no lock.
constinit std::atomic<TevoroTalkConnector*> gConnector{nullptr};
constinit std::atomic<bool> gHasExited{false};

} // namespace

bool TevoroTalkConnector::InitTerm::init(const SoString&)
{
    // No store of applications is read so far; an application may have set a connector itself.
    // A bus that was ended may be started again, and then takes a connector again.
    gHasExited = false;
    return true;
}

bool TevoroTalkConnector::InitTerm::exit()
{
    // Taken out before it is deleted, so that no other thread is handed a dying object.
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
    // Nobody would delete a connector that was set after the exit. Setting the same one twice must
    // not delete it.
    if (gHasExited || connector == gConnector)
        return;
    delete gConnector.exchange(connector);
}

TevoroTalkConnector::TevoroTalkConnector(const SoString& appName)
    : m_appName(appName)
{
}

// Here, so that the type's information has one home in the shared library.
TevoroTalkConnector::~TevoroTalkConnector() = default;

void TevoroTalkConnector::appendDiagnostics(SoString&, const SoString&) const { }

SoString TevoroTalkConnector::findPreferredApp(const SoString&, const SoString&, const SoString&)
{
    return {};
}

SoString TevoroTalkConnector::findGroupForSpecifier(const Specifier&, SoString* version)
{
    // Callers read the version whatever the answer is.
    if (version != nullptr)
        version->shrink(0);
    return {};
}

SoString TevoroTalkConnector::findSpecifierInGroup(
    const SoString&, const SoString&, const SoString&)
{
    return {};
}

bool TevoroTalkConnector::isGood() const
{
    return false;
}

bool TevoroTalkConnector::launchTarget(const SoString&, const SoString&, bool, TevoroTalkContext*)
{
    return false;
}

int TevoroTalkConnector::getNumberOfRegisteredApplications() const
{
    return 0;
}

SoString TevoroTalkConnector::getApplicationSpecifier(int index) const
{
    // The bus asks for the digests of the application itself by this index, with or without a
    // registry.
    return index == -1 ? m_appName : SoString();
}

SoString TevoroTalkConnector::getDisplayName(
    const SoString&, const SoString&, const SoString&) const
{
    return {};
}

bool TevoroTalkConnector::bringToFront(const char*, TevoroTalkContext*) const
{
    return false;
}

SoString TevoroTalkConnector::getApplicationPath(const SoString&, const char*) const
{
    return {};
}

bool TevoroTalkConnector::supportsQSDT(const SoString&) const
{
    return false;
}

bool TevoroTalkConnector::isShellTool(const SoString&) const
{
    return false;
}

// Without a registry that says otherwise, digests are checked and written. It is asked once, when
// the switches are made; see MessageGlobals.
bool TevoroTalkConnector::getMessageAuthentication(const SoString&) const
{
    return true;
}

bool TevoroTalkConnector::getMessageDigest(const SoString&) const
{
    return true;
}

SoString TevoroTalkConnector::getBundleIdentifier(const SoString&) const
{
    return {};
}

SoString TevoroTalkConnector::getExecutableBasename(const SoString&) const
{
    return {};
}

SoString TevoroTalkConnector::getExecutableExtension(const SoString&) const
{
    return {};
}

SoString TevoroTalkConnector::getOMVDictionary(const SoString&) const
{
    return {};
}

SoString TevoroTalkConnector::getDeveloperInstallPath(const SoString&) const
{
    return {};
}

SoString TevoroTalkConnector::getRedirectTo(const SoString&) const
{
    return {};
}

bool TevoroTalkConnector::setProcessID(const SoString&, std::uint32_t)
{
    return false;
}

std::uint32_t TevoroTalkConnector::getProcessID(const SoString&)
{
    return 0;
}

void TevoroTalkConnector::clearCache() { }

bool TevoroTalkConnector::registerApplication(
    const Specifier&, const SoString&, const SoString*, bool, bool)
{
    return false;
}

bool TevoroTalkConnector::unregisterApplication(const Specifier&, const SoString*)
{
    return false;
}

SoString TevoroTalkConnector::getConnectorConfig(const SoString&) const
{
    return {};
}

bool TevoroTalkConnector::importFrom(const TevoroTalkConnector&)
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

bool TevoroTalkConnector::isEqual(const TevoroTalkConnector&) const
{
    return false;
}

bool TevoroTalkConnector::validate(const TevoroTalkConnector&) const
{
    return false;
}

bool TevoroTalkConnector::skipImport(const QKConnectorAppInfo&) const
{
    return false;
}

bool TevoroTalkConnector::registerRunningApps()
{
    return false;
}

} // namespace ScObjects
