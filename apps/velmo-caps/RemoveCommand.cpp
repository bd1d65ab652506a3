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

} // namespace

ExitCode runRemove(const CommandLine& line)
{
    ChosenStores stores(line);
    const Found found = line.name.starts_with('{') ? payload(stores.view(), line.name)
                                                   : applicationsCalled(stores.view(), line.name);
    if (found.empty()) {
        if (!line.name.starts_with('{'))
            specifierOf(line.name); // others may have stored what is none
        const ExitCode code = stores.told();
        throw CommandError(code == ExitCode::kDone ? ExitCode::kNotThere : code,
            "'" + line.name + "' is not registered");
    }
    velmo_caps::StoreWriter::Change change(stores.writer());
    for (const ViewSubdomain* const subdomain : found)
        stores.removeAll(change, *subdomain);
    ChosenStores::commit(change);
    return ExitCode::kDone;
}

} // namespace velmo_caps_cli
