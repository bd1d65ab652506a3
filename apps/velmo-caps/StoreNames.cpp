#include "velmo-caps/StoreNames.h"

#include "commandline/ExitCode.h"
#include "messaging/Specifier.h"

#include <algorithm>
#include <cctype>

namespace velmo_caps_cli {

using commandline::CommandError;
using commandline::ExitCode;
using velmo_caps::Face;
using velmo_caps::SubdomainName;

namespace {

using BusName = ScObjects::TevoroTalk::Specifier;

constexpr std::string_view kGroupsFolder = "/velmo/tevorotalk/groups/";
constexpr std::string_view kGroupKey = "Group";
constexpr std::string_view kWeb = "https://";

bool isOdd(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte == 0x7f || c == '/' || c == '#' || c == ';';
}

// The bus looks for the first and the last slash of an entry; what stands between is a version.
bool isOddInVersion(char c)
{
    return isOdd(c) && c != '/';
}

bool isLetterOrDigit(char c)
{
    return static_cast<unsigned char>(c) >= 0x80
        || std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// These separate the options of a launch, one of which is the name.
bool isLaunchMark(char c)
{
    return c == ':' || c == '=' || c == '"' || c == '\'';
}

bool hasEmptyPart(const std::string& specifier)
{
    return specifier.find("--") != std::string::npos || specifier.ends_with('-');
}

// As the bus writes it again after it has changed a part.
bool isReadBack(const std::string& specifier)
{
    BusName parts(specifier.c_str(), false);
    parts.setInstance(parts.instance());
    return parts.view() == specifier;
}

template <typename NameOf>
std::vector<const velmo_caps::ViewSubdomain*> applicationsWhere(
    const velmo_caps::StoreView& view, const std::string& wanted, NameOf nameOf)
{
    std::vector<const velmo_caps::ViewSubdomain*> found;
    for (const velmo_caps::ViewSubdomain& each : view.subdomains())
        if (applicationIn(each.name) && nameOf(each) == wanted)
            found.push_back(&each);
    return found;
}

} // namespace

std::string lowerCase(const std::string& text)
{
    return std::string(ScObjects::SoString(std::string_view(text)).lowercase().view());
}

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
                  " in at most 255 bytes without blanks, slashes, semicolons and number signs");
    return std::string(name.view());
}

// What begins with a brace is a payload to the other commands.
std::string newSpecifierOf(const std::string& text)
{
    std::string specifier = specifierOf(text);
    const auto name = BusName(specifier.c_str(), false).appName();
    if (specifier.starts_with('{') || std::ranges::none_of(name.view(), isLetterOrDigit)
        || specifier.find('*') != std::string::npos || std::ranges::any_of(specifier, isLaunchMark))
        throw CommandError(ExitCode::kUsage,
            "'" + text
                + "' is no name of an application: it needs a letter or digit, no asterisk, "
                  "colon, equals sign or quote, and no brace first");
    if (!isReadBack(specifier) || hasEmptyPart(specifier))
        throw CommandError(
            ExitCode::kUsage, "'" + text + "' is no name of an application: a part of it is empty");
    return specifier;
}

bool isGroups(std::string_view subdomain)
{
    return (std::string(subdomain) + '/').compare(0, kGroupsFolder.size(), kGroupsFolder) == 0;
}

bool isNameKey(std::string_view key)
{
    return key == "Specifier" || key == "ProductCode";
}

bool isPathKey(std::string_view key)
{
    return key == "Path" || key == "DeveloperInstallPath" || key == "QMTConfigPath";
}

bool isPlaceKey(std::string_view key)
{
    return key == "Path" || key == "RedirectTo" || key == "ExecutableBasename";
}

bool isWholePath(std::string_view path)
{
    if (!path.starts_with(kWeb))
        return path.starts_with('/');
    const std::size_t end = path.find_first_of("/?#", kWeb.size());
    return path.size() > kWeb.size() && end != kWeb.size();
}

std::string busNameOf(const velmo_caps::ViewSubdomain& application)
{
    std::string name;
    for (const velmo_caps::ViewEntry& each : application.entries)
        if (isNameKey(each.key))
            name = lowerCase(each.value);
    return name.empty() ? applicationIn(application.name).value_or(std::string()) : name;
}

std::vector<const velmo_caps::ViewSubdomain*> applicationsCalled(
    const velmo_caps::StoreView& view, const std::string& text)
{
    const auto entryNameOf = [](const velmo_caps::ViewSubdomain& each) {
        return applicationIn(each.name).value_or(std::string());
    };
    for (const std::string& wanted : {text, lowerCase(text)})
        if (auto found = applicationsWhere(view, wanted, busNameOf); !found.empty())
            return found;
    for (const std::string& wanted : {text, lowerCase(text)})
        if (auto found = applicationsWhere(view, wanted, entryNameOf); !found.empty())
            return found;
    return {};
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

GroupParts partsOf(const std::string& entry)
{
    const std::size_t first = entry.find('/');
    const std::size_t last = entry.rfind('/');
    if (first == last)
        return {entry, {}, {}};
    return {
        entry.substr(0, first), entry.substr(first + 1, last - first - 1), entry.substr(last + 1)};
}

std::string groupEntryOf(const std::string& text)
{
    const GroupParts parts = partsOf(text);
    if (parts.group.empty() || parts.version.empty() || std::ranges::any_of(parts.group, isOdd)
        || std::ranges::any_of(parts.version, isOddInVersion))
        throw CommandError(ExitCode::kUsage,
            "'" + text
                + "' is no group entry; write GROUP/VERSION/SPECIFIER, such as nx/3/tevoro-2.0");
    return lowerCase(parts.group + '/' + parts.version) + '/' + specifierOf(parts.specifier);
}

std::string newGroupEntryOf(const std::string& text)
{
    std::string entry = groupEntryOf(text);
    newSpecifierOf(entry.substr(entry.rfind('/') + 1));
    return entry;
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
