#include "registry/PCDIterator.h"

#include "messaging/wire/VersionNumber.h"
#include "registry/CapsTexts.h"
#include "registry/SuiteApplications.h"
#include "registry/TevoroTalkConnector.h"

#include <cstring>
#include <string_view>

namespace ScObjects {

namespace {

using Connector = TevoroTalkConnector;
using Info = QKConnectorAppInfo;

const std::string_view kApps = Connector::kAppSubdomainPrefix;
const std::string_view kGroups = Connector::kGroupSubdomainPrefix;

bool isApplication(const SoString& subdomain)
{
    return subdomain.view().starts_with(kApps);
}

// Below the groups, or their subdomain itself.
bool isGroups(const SoString& subdomain)
{
    SoString folder(subdomain);
    folder << "/";
    return folder.view().starts_with(kGroups);
}

struct TextKey {
    const char* key;
    SoString Info::*field;
};
constexpr TextKey kTextKeys[] = {
    {Connector::kGuidKey, &Info::specifier},
    {"ProductCode", &Info::specifier}, // of former stores
    {Connector::kLocationKey, &Info::path},
    {Connector::kWinClassNameKey, &Info::windowClassName},
    {Connector::kDisplayNameKey, &Info::displayName},
    {Connector::kBundleIdentifierKey, &Info::bundleIdentifier},
    {Connector::kExecutableBasenameKey, &Info::executableBasename},
    {Connector::kExecutableExtensionKey, &Info::executableExtension},
    {Connector::kOMVDictionaryKey, &Info::omvDictionary},
    {Connector::kDeveloperInstallPathKey, &Info::developerInstallPath},
    {Connector::kRedirectToKey, &Info::redirectTo},
};

struct SwitchKey {
    const char* key;
    bool Info::*field;
};
constexpr SwitchKey kSwitchKeys[] = {
    {Connector::kAllowMultipleInstancesKey, &Info::allowMultipleInstances},
    {Connector::kIsShellToolKey, &Info::isShellTool},
    {Connector::kMessageAuthenticationKey, &Info::messageAuthentication},
    {Connector::kMessageDigestKey, &Info::messageDigest},
    {Connector::kSupportsQsdtKey, &Info::supportsQSDT},
};

template <typename Row, std::size_t kCount>
const Row* rowOf(const Row (&rows)[kCount], const SoString& key)
{
    for (const Row& row : rows)
        if (key == row.key)
            return &row;
    return nullptr;
}

// What follows from a value that was read.
void complete(const TextKey& row, Info& info)
{
    if (row.field == &Info::specifier)
        info.specifier = info.specifier.lowercase();
    // An application in the web has its address there.
    if (row.field == &Info::executableBasename && info.path.isEmpty())
        info.path = PCDIterator::getURLFromQMTConfigPath(info.executableBasename);
}

capsStatus readField(
    const PCDWrapper& wrapper, const SoString& subdomain, const SoString& key, Info& info)
{
    const auto* const text = rowOf(kTextKeys, key);
    const auto* const toggle = rowOf(kSwitchKeys, key);
    SoString value;
    if (text != nullptr)
        value = info.*text->field;
    else if (toggle == nullptr && key != Connector::kTevoroTalkVersionKey)
        return kCapsSuccess; // somebody else's key
    const capsStatus status = PCDIterator::getPCDValue(wrapper, subdomain, key, value);
    if (status != kCapsSuccess)
        return status;
    if (text != nullptr) {
        info.*text->field = value;
        complete(*text, info);
    } else if (toggle != nullptr) {
        info.*toggle->field = value == "true";
    } else {
        info.talkVersion = TevoroTalkData::versionNumber(value);
    }
    return status;
}

// Nothing that a browser would take for more than a name.
bool isHostName(std::string_view host)
{
    return host.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.")
        == std::string_view::npos;
}

} // namespace

PCDIterator::~PCDIterator() = default;

bool PCDIterator::run(PCDWrapper& wrapper)
{
    onStart(wrapper);
    if (!wrapper.isGood())
        return false;
    // Before the walk: what is written meanwhile counts as a later change.
    if (wrapper.capsGetLastModTime(&m_capsLastModTime) != kCapsSuccess)
        m_capsLastModTime = 0;
    if (wrapper.pcdGetLastModTime(&m_pcdLastModTime) != kCapsSuccess)
        m_pcdLastModTime = 0;
    capsList list = nullptr;
    const capsStatus status = wrapper.pcdGetDomainDataSubdomains(wrapper.getDomain(), &list);
    if (status != kCapsSuccess)
        return status == kCapsNoData;
    for (const SoString& subdomain : capsTexts(list))
        if (!visit(wrapper, subdomain))
            return false;
    onEnd(wrapper);
    return true;
}

bool PCDIterator::visit(PCDWrapper& wrapper, const SoString& subdomain)
{
    capsList keys = nullptr;
    if (wrapper.pcdGetDomainDataKeys(wrapper.getDomain(), subdomain, &keys) != kCapsSuccess)
        return false;
    if (!isApplication(subdomain))
        return true;
    QKConnectorAppInfo info;
    const std::vector<SoString> own = capsTexts(keys);
    onStartSubDomain(wrapper, subdomain, info);
    for (const SoString& key : own)
        onKey(wrapper, subdomain, key, info);
    onEndSubDomain(wrapper, subdomain, info);
    return true;
}

capsStatus PCDIterator::getPCDValue(
    const PCDWrapper& wrapper, const SoString& subdomain, const char* key, SoString& out)
{
    const char* value = nullptr;
    const capsStatus status = wrapper.pcdGetDomainData(wrapper.getDomain(), subdomain, key, &value);
    if (status == kCapsSuccess && value != nullptr)
        out = value;
    return status;
}

SoString PCDIterator::getURLFromQMTConfigPath(const SoString& path)
{
    constexpr std::string_view kScheme = "https://";
    const std::string_view suffix = TevoroTalkData::kWebDomainSuffix;
    if (!path.view().starts_with(kScheme))
        return {};
    const std::string_view rest = path.view().substr(kScheme.size());
    const std::string_view host = rest.substr(0, rest.find('/'));
    const bool isOurs = host.size() > suffix.size() && host.ends_with(suffix) && isHostName(host);
    return isOurs ? path : SoString();
}

bool PCDIterator::onStart(PCDWrapper&)
{
    return true;
}

bool PCDIterator::onEnd(PCDWrapper&)
{
    return true;
}

bool PCDIterator::onStartSubDomain(PCDWrapper&, const SoString&, QKConnectorAppInfo&)
{
    return true;
}

bool PCDIterator::onEndSubDomain(
    PCDWrapper& wrapper, const SoString& subdomain, QKConnectorAppInfo& info)
{
    if (isGroups(subdomain))
        return true;
    // As it stands: only what a key says is converted to lower case.
    if (info.specifier.isEmpty() && subdomain.view().size() > kApps.size() + 1)
        info.specifier = SoString(subdomain.view().substr(kApps.size()));
    return info.specifier.isEmpty() || onAppInfo(wrapper, info);
}

bool PCDIterator::onKey(
    PCDWrapper& wrapper, const SoString& subdomain, const SoString& key, QKConnectorAppInfo& info)
{
    if (!isApplication(subdomain))
        return true;
    if (!isGroups(subdomain)) {
        const capsStatus status = readField(wrapper, subdomain, key, info);
        return status == kCapsSuccess || onError(wrapper, subdomain, key);
    }
    if (!key.view().starts_with(Connector::kGroupKeyPrefix))
        return true;
    SoString value;
    const capsStatus status = getPCDValue(wrapper, subdomain, key, value);
    return status == kCapsSuccess ? takeGroup(wrapper, key, value)
                                  : onError(wrapper, subdomain, key);
}

bool PCDIterator::takeGroup(PCDWrapper& wrapper, const SoString& key, const SoString& value)
{
    if (value.view().size() <= kGroups.size())
        return true;
    const SoString entry(value.view().substr(kGroups.size()));
    return onGroupInfo(wrapper, key, entry.lowercase());
}

bool PCDIterator::onError(PCDWrapper&, const SoString&, const SoString&)
{
    return false;
}

} // namespace ScObjects
