// What a connector tells of single applications.
#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

#include <string_view>

namespace ScObjects {

namespace {

using Info = QKConnectorAppInfo;

SoString fileName(const SoString& path)
{
    const std::string_view text = path.view();
    const std::size_t slash = text.rfind('/');
    if (slash == std::string_view::npos)
        return {};
    const std::string_view name = text.substr(slash + 1);
    return SoString(name.substr(0, name.rfind('.')));
}

} // namespace

template <typename Field>
Field TevoroTalkConnector::attribute(
    const SoString& specifier, Field Info::*field, const Field& otherwise) const
{
    const ObjectLock lock(*this);
    if (specifier.isEmpty())
        return otherwise;
    const QKConnectorAppInfoList* const list = getAppInfoList();
    const Info* const info = list != nullptr ? list->find(specifier) : nullptr;
    return info != nullptr ? info->*field : otherwise;
}

int TevoroTalkConnector::getNumberOfRegisteredApplications() const
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    return list != nullptr ? static_cast<int>(list->length()) : 0;
}

SoString TevoroTalkConnector::getApplicationSpecifier(int index) const
{
    // The bus asks for the digests of the application itself by this index, with or without a
    // registry.
    if (index == -1)
        return m_appName;
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    if (list == nullptr || index < 0 || index >= list->length())
        return {};
    return list->get(index)->specifier;
}

int TevoroTalkConnector::findName(const SoString& appName, int from) const
{
    for (int i = from; i < getNumberOfRegisteredApplications(); ++i)
        if (Specifier(getApplicationSpecifier(i), false).appName() == appName)
            return i;
    return -1;
}

SoString TevoroTalkConnector::getDisplayName(
    const SoString& app, const SoString& version, const SoString& locale) const
{
    SoString text(app);
    if (!version.isEmpty())
        text << "-" << version;
    if (!locale.isEmpty())
        text << "-" << locale.lowercase();
    // Before the lock: completion may ask other processes.
    const Specifier specifier(text, true);
    const ObjectLock lock(*this);
    const SoString name = attribute<SoString>(specifier, &Info::displayName, {});
    return name.isEmpty() ? fileName(attribute<SoString>(specifier, &Info::path, {})) : name;
}

SoString TevoroTalkConnector::getApplicationPath(const SoString& specifier, const char*) const
{
    Specifier application(specifier, false);
    application.setSuffix("");
    return attribute<SoString>(application, &Info::path, {});
}

bool TevoroTalkConnector::supportsQSDT(const SoString& specifier) const
{
    if (specifier.isEmpty() || !isGood())
        return false;
    const Specifier application(specifier, true);
    return application.isInstalled() && attribute(application, &Info::supportsQSDT, false);
}

bool TevoroTalkConnector::isShellTool(const SoString& specifier) const
{
    return attribute(specifier, &Info::isShellTool, false);
}

// Where nothing else is said, digests are checked and written. Asked once, when the switches are
// made; see MessageGlobals.
bool TevoroTalkConnector::getMessageAuthentication(const SoString& specifier) const
{
    return attribute(specifier, &Info::messageAuthentication, true);
}

bool TevoroTalkConnector::getMessageDigest(const SoString& specifier) const
{
    return attribute(specifier, &Info::messageDigest, true);
}

SoString TevoroTalkConnector::getBundleIdentifier(const SoString& specifier) const
{
    return attribute<SoString>(specifier, &Info::bundleIdentifier, {});
}

SoString TevoroTalkConnector::getExecutableBasename(const SoString& specifier) const
{
    return attribute<SoString>(specifier, &Info::executableBasename, {});
}

SoString TevoroTalkConnector::getExecutableExtension(const SoString& specifier) const
{
    return attribute<SoString>(specifier, &Info::executableExtension, {});
}

SoString TevoroTalkConnector::getOMVDictionary(const SoString& specifier) const
{
    const ObjectLock lock(*this);
    const SoString dictionary = attribute<SoString>(specifier, &Info::omvDictionary, {});
    // An unknown application has no dictionary, not even "none".
    const bool isKnown = !attribute<SoString>(specifier, &Info::specifier, {}).isEmpty();
    return dictionary.isEmpty() && isKnown ? SoString("none") : dictionary;
}

SoString TevoroTalkConnector::getDeveloperInstallPath(const SoString& specifier) const
{
    return attribute<SoString>(specifier, &Info::developerInstallPath, {});
}

SoString TevoroTalkConnector::getRedirectTo(const SoString& specifier) const
{
    return attribute<SoString>(specifier, &Info::redirectTo, {});
}

std::uint32_t TevoroTalkConnector::getProcessID(const SoString& specifier)
{
    return attribute(specifier, &Info::processID, std::uint32_t{0});
}

bool TevoroTalkConnector::setProcessID(const SoString& specifier, std::uint32_t pid)
{
    const ObjectLock lock(*this);
    QKConnectorAppInfoList* const list = getAppInfoList();
    return list != nullptr && list->setProcessID(specifier, pid);
}

} // namespace ScObjects
