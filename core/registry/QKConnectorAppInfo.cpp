#include "registry/QKConnectorAppInfo.h"

#include "messaging/BusWords.h"
#include "messaging/wire/VersionNumber.h"

namespace ScObjects {

namespace {

constexpr const char* kExecutableExtensionValue = "app";

bool haveEqualSwitches(const QKConnectorAppInfo& a, const QKConnectorAppInfo& b)
{
    return a.allowMultipleInstances == b.allowMultipleInstances && a.isShellTool == b.isShellTool
        && a.supportsQSDT == b.supportsQSDT && a.messageAuthentication == b.messageAuthentication
        && a.messageDigest == b.messageDigest;
}

} // namespace

QKConnectorAppInfo::QKConnectorAppInfo()
    : talkVersion(TevoroTalkData::versionNumber(TevoroTalkData::kVersion))
    , executableExtension(kExecutableExtensionValue)
{
}

bool operator==(const QKConnectorAppInfo& a, const QKConnectorAppInfo& b)
{
    return a.specifier == b.specifier && a.path == b.path && a.windowClassName == b.windowClassName
        && a.bundleIdentifier == b.bundleIdentifier && a.displayName == b.displayName
        && a.talkVersion == b.talkVersion && haveEqualSwitches(a, b)
        && a.executableBasename == b.executableBasename
        && a.executableExtension == b.executableExtension && a.omvDictionary == b.omvDictionary
        && a.developerInstallPath == b.developerInstallPath && a.redirectTo == b.redirectTo;
}

} // namespace ScObjects
