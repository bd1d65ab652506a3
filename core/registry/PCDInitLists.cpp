#include "registry/PCDInitLists.h"

#include "messaging/Specifier.h"
#include "registry/CapsTexts.h"
#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

#include <string_view>

namespace ScObjects {

namespace {

// Payloads stand beside the applications, in the domain of the installed products.
constexpr capsDomain kProducts = 1;
constexpr capsDomain kDeployment = 4;
constexpr const char* kConfigPathKey = "QMTConfigPath";
constexpr int kLevels = 5;

// More than any installer writes; a store that answers every key must not hold us for ever.
constexpr int kMaxCodes = 10'000;

bool isFound(capsStatus status, const char* value)
{
    return status == kCapsSuccess && value != nullptr && *value != '\0';
}

SoString configPathOf(const PCDWrapper& wrapper, const SoString& payload)
{
    const char* value = nullptr;
    if (isFound(wrapper.capsGetPayloadData(payload, kDeployment, kConfigPathKey, &value), value))
        return value;
    value = nullptr;
    if (isFound(wrapper.pcdGetDomainData(kProducts, payload, kConfigPathKey, &value), value))
        return value;
    value = nullptr;
    if (isFound(wrapper.capsGetPayloadData(payload, 0, kConfigPathKey, &value), value))
        return value;
    return {};
}

SoString codeKey(int number)
{
    SoString key = TevoroTalkConnector::kTevoroTalkCodeKey;
    if (number > 0)
        key << std::int32_t{number};
    return key;
}

} // namespace

PCDInitLists::PCDInitLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups)
    : m_applications(applications)
    , m_groups(groups)
{
}

SoString PCDInitLists::getLocationFromQMTConfigPath(
    const QKConnectorAppInfo& info, const SoString& configPath)
{
    if (info.executableBasename.isEmpty())
        return {};
    std::string_view folder = configPath.view();
    // A file has a type; what has none is the folder itself.
    if (folder.find('.') != std::string_view::npos)
        for (int i = 0; i < kLevels && !folder.empty(); ++i) {
            const std::size_t slash = folder.rfind('/');
            folder = folder.substr(0, slash == std::string_view::npos ? 0 : slash);
        }
    if (folder.empty())
        return {};
    SoString location(folder);
    location << "/" << info.executableBasename;
    if (!info.executableExtension.isEmpty())
        location << "." << info.executableExtension;
    else
        location << (info.isShellTool ? ".term" : ".app");
    return location;
}

bool PCDInitLists::onStart(PCDWrapper& wrapper)
{
    m_applications.clear();
    for (long i = m_groups.length() - 1; i >= 0; --i)
        delete m_groups.removeAt(i);
    m_configPaths.clear();
    capsList list = nullptr;
    if (wrapper.pcdGetDomainDataSubdomains(kProducts, &list) != kCapsSuccess)
        return true;
    for (const SoString& subdomain : capsTexts(list))
        if (subdomain.view().starts_with('{'))
            readPayload(wrapper, subdomain);
    return true;
}

void PCDInitLists::readPayload(const PCDWrapper& wrapper, const SoString& payload)
{
    const SoString configPath = configPathOf(wrapper, payload);
    for (int i = 0; i < kMaxCodes && !configPath.isEmpty(); ++i) {
        const char* value = nullptr;
        if (wrapper.pcdGetDomainData(kProducts, payload, codeKey(i), &value) != kCapsSuccess)
            return;
        const SoString code = SoString(value).lowercase();
        if (!code.isEmpty())
            m_configPaths.emplace(code.get(), configPath);
    }
}

bool PCDInitLists::onEnd(PCDWrapper&)
{
    return m_applications.resolveRedirectTo();
}

// What was read so far may be the smaller part. The walk goes on, and what it still finds counts.
bool PCDInitLists::onError(PCDWrapper&, const SoString&, const SoString&)
{
    m_applications.clear();
    return false;
}

bool PCDInitLists::onAppInfo(PCDWrapper&, QKConnectorAppInfo& info)
{
    if (info.specifier.isEmpty())
        return true;
    if (info.windowClassName.isEmpty())
        info.windowClassName = TevoroTalk::Specifier(info.specifier, false).appName();
    if (info.path.isEmpty()) {
        const SoString code = TevoroTalkConnector::getAppSubdomainName(info.specifier.lowercase());
        const auto joined = m_configPaths.find(code.get());
        if (joined != m_configPaths.end())
            info.path = getLocationFromQMTConfigPath(info, joined->second);
    }
    // An application without a known place does not exist.
    if (!info.path.isEmpty() || !info.redirectTo.isEmpty())
        m_applications.append(new QKConnectorAppInfo(info));
    return true;
}

bool PCDInitLists::onGroupInfo(PCDWrapper&, const SoString&, const SoString& entry)
{
    m_groups.append(new SoString(entry));
    return true;
}

} // namespace ScObjects
