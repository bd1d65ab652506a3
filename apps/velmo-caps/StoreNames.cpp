#include "velmo-caps/StoreNames.h"

#include "commandline/ExitCode.h"
#include "messaging/Specifier.h"

#include <algorithm>

namespace velmo_caps_cli {

using commandline::CommandError;
using commandline::ExitCode;
using velmo_caps::Face;
using velmo_caps::SubdomainName;

namespace {

using BusName = ScObjects::TevoroTalk::Specifier;

constexpr std::string_view kGroupsFolder = "/velmo/tevorotalk/groups/";
constexpr std::string_view kGroupKey = "Group";

bool isOdd(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte == 0x7f || c == '/' || c == '#';
}

std::string lowerCase(const std::string& text)
{
    return std::string(ScObjects::SoString(std::string_view(text)).lowercase().view());
}

bool isGroups(std::string_view subdomain)
{
    return (std::string(subdomain) + '/').compare(0, kGroupsFolder.size(), kGroupsFolder) == 0;
}

} // namespace

const std::vector<std::string>& applicationKeys()
{
    static const std::vector<std::string> keys{"Specifier",
        "ProductCode",
        "Path",
        "WindowClassName",
        "BundleIdentifier",
        "DisplayName",
        "TevoroTalkVersion",
        "AllowMultipleInstances",
        "IsShellTool",
        "MessageAuthentication",
        "MessageDigest",
        "SupportsQSDT",
        "ExecutableBasename",
        "ExecutableExtensionMac",
        "OMVDictionary",
        "DeveloperInstallPath",
        "RedirectTo"};
    return keys;
}

bool isSwitch(std::string_view key)
{
    return key == "AllowMultipleInstances" || key == "IsShellTool" || key == "SupportsQSDT"
        || key == "MessageAuthentication" || key == "MessageDigest";
}

std::string specifierOf(const std::string& text)
{
    const BusName name(text.c_str(), false);
    if (name.isEmpty() || name.appName().isEmpty() || name == "groups"
        || std::any_of(text.begin(), text.end(), isOdd))
        throw CommandError(ExitCode::kUsage,
            "'" + text
                + "' is no specifier; write NAME-VERSION or NAME-VERSION-LOCALE, such as "
                  "tevoro-2.0,"
                  " in at most 255 bytes without blanks, slashes and number signs");
    return std::string(name.view());
}

SubdomainName applicationNamed(const std::string& specifier)
{
    return {Face::kPcd, kDomain, std::string(kApplications) + specifier};
}

std::optional<std::string> applicationIn(const SubdomainName& subdomain)
{
    const std::string_view name = subdomain.name;
    if (subdomain.face != Face::kPcd || subdomain.domain != kDomain
        || !name.starts_with(kApplications) || name.size() == kApplications.size()
        || isGroups(name))
        return std::nullopt;
    return std::string(name.substr(kApplications.size()));
}

std::string groupEntryOf(const std::string& text)
{
    const std::size_t first = text.find('/');
    const std::size_t second = text.find('/', first + 1);
    if (first == std::string::npos || second == std::string::npos || first == 0
        || second == first + 1 || std::any_of(text.begin(), text.begin() + long(first), isOdd)
        || std::any_of(text.begin() + long(first) + 1, text.begin() + long(second), isOdd))
        throw CommandError(ExitCode::kUsage,
            "'" + text
                + "' is no group entry; write GROUP/VERSION/SPECIFIER, such as nx/3/tevoro-2.0");
    return lowerCase(text.substr(0, second + 1)) + specifierOf(text.substr(second + 1));
}

SubdomainName groupsSubdomain()
{
    return {Face::kPcd, kDomain, std::string(kGroups)};
}

// The entry itself tells it from others: those of the user's store never cover the machine's.
std::string groupKey(const std::string& entry)
{
    return std::string(kGroupKey) + ':' + entry;
}

std::string groupValue(const std::string& entry)
{
    return std::string(kGroupsFolder) + entry;
}

std::vector<GroupEntry> groupEntries(const velmo_caps::StoreView& view)
{
    std::vector<GroupEntry> entries;
    for (const velmo_caps::ViewSubdomain& subdomain : view.subdomains()) {
        if (subdomain.name.face != Face::kPcd || subdomain.name.domain != kDomain
            || !isGroups(subdomain.name.name))
            continue;
        for (const velmo_caps::ViewEntry& each : subdomain.entries)
            if (each.key.starts_with(kGroupKey) && each.value.size() > kGroupsFolder.size())
                entries.push_back(
                    {&subdomain, each.key, lowerCase(each.value.substr(kGroupsFolder.size()))});
    }
    return entries;
}

} // namespace velmo_caps_cli
