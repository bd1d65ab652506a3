#include "commandline/JsonLine.h"
#include "commandline/Output.h"
#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/StoreNames.h"

namespace velmo_caps_cli {

namespace {

using commandline::Json;

const char* originOf(const ViewSubdomain& subdomain)
{
    if (subdomain.isOfMachine && subdomain.isOfUser)
        return "both";
    return subdomain.isOfMachine ? "machine" : "user";
}

Json objectOf(const ViewSubdomain& subdomain)
{
    const std::string* const path = subdomain.find("Path");
    Json values = Json::object();
    for (const velmo_caps::ViewEntry& each : subdomain.entries)
        values[Pt::displayName(each.key)] = Pt::displayName(each.value);
    return {{"specifier", Pt::displayName(busNameOf(subdomain))},
        {"entry", Pt::displayName(*applicationIn(subdomain.name))},
        {"path", path == nullptr ? Json() : Json(Pt::displayName(*path))},
        {"store", originOf(subdomain)},
        {"values", values}};
}

void print(const ViewSubdomain& subdomain, bool json)
{
    const std::string* const path = subdomain.find("Path");
    if (json)
        commandline::printJson(objectOf(subdomain));
    else
        commandline::printLine(Pt::terminalText(busNameOf(subdomain)) + '\t'
            + (path == nullptr ? "" : Pt::terminalText(*path)));
}

// Both names are needed to mend it.
void tellOtherName(const ViewSubdomain& subdomain)
{
    const std::string entry = *applicationIn(subdomain.name);
    const std::string name = busNameOf(subdomain);
    if (name != entry)
        commandline::printMessage(kProgram,
            "the entry '" + entry + "' says that it is '" + name
                + "', and that is its name on the bus");
}

} // namespace

ExitCode runList(const CommandLine& line)
{
    ChosenStores stores(line);
    for (const ViewSubdomain& each : stores.view().subdomains())
        if (applicationIn(each.name)) {
            print(each, line.json);
            tellOtherName(each);
        }
    return stores.told();
}

ExitCode runGroups(const CommandLine& line)
{
    ChosenStores stores(line);
    for (const GroupEntry& each : groupEntries(stores.view())) {
        const GroupParts parts = partsOf(Pt::displayName(each.entry));
        if (line.json)
            commandline::printJson({{"group", parts.group},
                {"version", parts.version},
                {"specifier", parts.specifier},
                {"store", originOf(*each.subdomain)}});
        else
            commandline::printLine(Pt::terminalText(each.entry));
    }
    return stores.told();
}

} // namespace velmo_caps_cli
