#include "commandline/Output.h"
#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/ConfigurationDocument.h"
#include "velmo-caps/StoreNames.h"

#include <algorithm>
#include <cstdio>

namespace velmo_caps_cli {

namespace {

using Kind = DocumentBlock::Kind;

DocumentBlock groupsBlock(const StoreView& view)
{
    DocumentBlock block{Kind::kData, std::string(kGroups), {}, {}, 0};
    for (const GroupEntry& each : groupEntries(view)) {
        std::string number = std::to_string(block.values.size());
        number.insert(0, number.size() < 3 ? 3 - number.size() : 0, '0');
        block.values.push_back({"Group" + number, groupValue(each.entry), 0});
    }
    return block;
}

// Known keys in the order of the table, then the others as they come.
std::vector<DocumentValue> valuesOf(const ViewSubdomain& subdomain, const std::string& specifier)
{
    std::vector<DocumentValue> values;
    if (subdomain.find("Specifier") == nullptr)
        values.push_back({"Specifier", specifier, 0});
    const auto& keys = applicationKeys();
    for (const std::string& key : keys)
        if (const std::string* const value = subdomain.find(key))
            values.push_back({key, *value, 0});
    for (const velmo_caps::ViewEntry& each : subdomain.entries)
        if (std::find(keys.begin(), keys.end(), each.key) == keys.end())
            values.push_back({each.key, each.value, 0});
    return values;
}

ConfigurationDocument applicationDocument(const ViewSubdomain& subdomain)
{
    const std::string& code = subdomain.name.name;
    const std::string specifier = code.substr(kApplications.size());
    return {{Kind::kPayload, {}, {}, {{"TevoroTalkCode", code, 0}}, 0},
        {Kind::kData, code, {}, valuesOf(subdomain, specifier), 0}};
}

const ViewSubdomain& applicationFor(ChosenStores& stores, const std::string& text)
{
    if (const auto found = applicationsCalled(stores.view(), text); !found.empty())
        return *found.front();
    specifierOf(text); // others may have stored what is none
    const ExitCode code = stores.told();
    throw CommandError(
        code == ExitCode::kDone ? ExitCode::kNotThere : code, "'" + text + "' is not registered");
}

} // namespace

ExitCode runExport(const CommandLine& line)
{
    ChosenStores stores(line);
    const ConfigurationDocument document = line.name == "groups"
        ? ConfigurationDocument{groupsBlock(stores.view())}
        : applicationDocument(applicationFor(stores, line.name));
    std::string text = writeDocument(document);
    text.pop_back(); // the line brings its own end
    commandline::printLine(text);
    return stores.told();
}

} // namespace velmo_caps_cli
