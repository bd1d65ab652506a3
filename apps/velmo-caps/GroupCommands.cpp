#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/StoreNames.h"

#include <algorithm>

namespace velmo_caps_cli {

namespace {

std::vector<GroupEntry> entriesLike(const StoreView& view, const std::string& entry)
{
    std::vector<GroupEntry> entries = groupEntries(view);
    std::erase_if(entries, [&](const GroupEntry& each) { return each.entry != entry; });
    return entries;
}

} // namespace

ExitCode runGroupAdd(const CommandLine& line)
{
    const std::string entry = newGroupEntryOf(line.name);
    ChosenStores stores(line);
    if (!entriesLike(stores.view(), entry).empty())
        return ExitCode::kDone;
    velmo_caps::StoreWriter::Change change(stores.writer());
    change.set(groupsSubdomain(), groupKey(entry), groupValue(entry));
    ChosenStores::commit(change);
    return ExitCode::kDone;
}

ExitCode runGroupRemove(const CommandLine& line)
{
    ChosenStores stores(line);
    const std::string entry = lowerCase(line.name);
    const std::vector<GroupEntry> found = entriesLike(stores.view(), entry);
    if (found.empty()) {
        groupEntryOf(line.name); // others may have stored what is none
        const ExitCode code = stores.told();
        throw CommandError(code == ExitCode::kDone ? ExitCode::kNotThere : code,
            "there is no entry '" + entry + "'");
    }
    velmo_caps::StoreWriter::Change change(stores.writer());
    for (const GroupEntry& each : found)
        stores.remove(change, each.subdomain->name, each.key);
    ChosenStores::commit(change);
    return ExitCode::kDone;
}

} // namespace velmo_caps_cli
