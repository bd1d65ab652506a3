#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/StoreNames.h"

#include <vector>

namespace velmo_caps_cli {

namespace {

using Found = std::vector<const ViewSubdomain*>;

// A payload lies in several domains of both faces.
Found payload(const StoreView& view, const std::string& id)
{
    Found found;
    for (const ViewSubdomain& each : view.subdomains())
        if (each.name.name == id)
            found.push_back(&each);
    return found;
}

// As it was typed first: others may have stored it with capitals.
Found application(const StoreView& view, const std::string& text)
{
    for (const std::string& specifier : {text, specifierOf(text)})
        if (const ViewSubdomain* const found = view.find(applicationNamed(specifier)))
            return {found};
    return {};
}

} // namespace

ExitCode runRemove(const CommandLine& line)
{
    if (!line.name.starts_with('{'))
        specifierOf(line.name);
    ChosenStores stores(line);
    const Found found = line.name.starts_with('{') ? payload(stores.view(), line.name)
                                                   : application(stores.view(), line.name);
    if (found.empty()) {
        const ExitCode code = stores.told();
        throw CommandError(code == ExitCode::kDone ? ExitCode::kNotThere : code,
            "'" + line.name + "' is not registered");
    }
    velmo_caps::StoreWriter::Change change(stores.writer());
    for (const ViewSubdomain* const subdomain : found)
        for (const velmo_caps::ViewEntry& entry : subdomain->entries)
            stores.remove(change, subdomain->name, entry.key);
    change.commit();
    return ExitCode::kDone;
}

} // namespace velmo_caps_cli
