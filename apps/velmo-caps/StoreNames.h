// How applications, groups and payloads are called in the store, and which keys an application has.
// Free functions; any thread. What is no name is thrown as a CommandError for wrong usage.
#pragma once

#include "velmo_caps/StoreView.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmo_caps_cli {

inline constexpr std::string_view kApplications = "/velmo/tevorotalk/";
inline constexpr std::string_view kGroups = "/velmo/tevorotalk/groups";
inline constexpr std::int32_t kDomain = 1; // of all that the bus reads

// The keys of an application, in the order in which documents have them.
const std::vector<std::string>& applicationKeys();
bool isSwitch(std::string_view key); // "true", or off

// In lower case, as it is stored; checked by the bus's own rules.
std::string specifierOf(const std::string& text);

// The same for one that is to be registered: a name that an application can hold, and that the bus
// reads back as it stands.
std::string newSpecifierOf(const std::string& text);

// Whether the subdomain is that of the group entries, or lies below it.
bool isGroups(std::string_view subdomain);
// Keys that say what the bus calls an application.
bool isNameKey(std::string_view key);

// Whether the key's value is a place on this machine; the bus or an installer takes it as it
// stands.
bool isPathKey(std::string_view key);
// Whether the bus finds an application's program by that key.
bool isPlaceKey(std::string_view key);
// Whether it is absolute, or an https:// address with a host.
bool isWholePath(std::string_view path);

velmo_caps::SubdomainName applicationNamed(const std::string& specifier);
// The specifier of an application's subdomain; nothing for another one.
std::optional<std::string> applicationIn(const velmo_caps::SubdomainName& subdomain);

// By what name the bus knows that application: what its Specifier or ProductCode says, whichever
// comes last, else the end of its subdomain.
std::string busNameOf(const velmo_caps::ViewSubdomain& application);
// The applications that the bus knows by that name, as it is typed or in lower case; where there is
// none, the one whose subdomain ends so. Of the view.
std::vector<const velmo_caps::ViewSubdomain*> applicationsCalled(
    const velmo_caps::StoreView& view, const std::string& text);

std::string lowerCase(const std::string& text); // as the bus has it

struct GroupParts {
    std::string group;
    std::string version; // may have slashes
    std::string specifier;
};
// As the bus reads an entry: cut at its first and its last slash. Without two of them it is none,
// and all of it counts as the group.
GroupParts partsOf(const std::string& entry);

// GROUP/VERSION/SPECIFIER, in lower case.
std::string groupEntryOf(const std::string& text);
// The same, for one that is to be added.
std::string newGroupEntryOf(const std::string& text);
velmo_caps::SubdomainName groupsSubdomain();
std::string groupKey(const std::string& entry);
std::string groupValue(const std::string& entry);

struct GroupEntry {
    const velmo_caps::ViewSubdomain* subdomain = nullptr; // of the view
    std::string key;
    std::string entry; // GROUP/VERSION/SPECIFIER
};
// As the bus reads them, in order.
std::vector<GroupEntry> groupEntries(const velmo_caps::StoreView& view);

} // namespace velmo_caps_cli
