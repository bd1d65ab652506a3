#include "velmo-caps/ChosenStores.h"

#include "commandline/Output.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <filesystem>

namespace velmo_caps_cli {

using velmo_caps::StoreKind;
using velmo_caps::StorePlace;

namespace {

StorePlace writtenPlace(const CommandLine& line)
{
    if (!line.store.empty())
        return {StoreKind::kNamed, std::filesystem::absolute(line.store).string()};
    return line.machine ? velmo_caps::machineStore() : velmo_caps::userStore();
}

// The user's is read over the machine's.
StorePlace onlyPlace(const StorePlace& written)
{
    return written.kind == StoreKind::kUser ? StorePlace() : written;
}

} // namespace

ChosenStores::ChosenStores(const CommandLine& line)
    : m_place(writtenPlace(line))
    , m_stores(onlyPlace(m_place))
{
}

const StoreView& ChosenStores::view()
{
    if (!m_view)
        m_view = m_stores.view();
    return *m_view;
}

velmo_caps::StoreWriter& ChosenStores::writer()
{
    if (!m_writer)
        m_writer = std::make_unique<velmo_caps::StoreWriter>(
            m_place, [](const std::string& text) { commandline::printMessage(kProgram, text); });
    return *m_writer;
}

void ChosenStores::commit(velmo_caps::StoreWriter::Change& change)
{
    if (Pt::wasInterrupted())
        throw CommandError(ExitCode::kInterrupted, "interrupted; nothing was changed");
    change.commit();
}

void ChosenStores::remove(
    velmo_caps::StoreWriter::Change& change, const SubdomainName& subdomain, const std::string& key)
{
    if (m_place.kind == StoreKind::kUser && m_stores.isOfMachine(subdomain, key))
        change.hide(subdomain, key);
    else
        change.remove(subdomain, key);
}

void ChosenStores::removeAll(
    velmo_caps::StoreWriter::Change& change, const ViewSubdomain& subdomain)
{
    for (const velmo_caps::ViewEntry& entry : subdomain.entries)
        remove(change, subdomain.name, entry.key);
    if (m_place.kind == StoreKind::kUser && subdomain.isOfMachine)
        change.hideAll(subdomain.name);
}

ExitCode ChosenStores::told()
{
    if (m_place.kind == StoreKind::kNamed
        && conditionOf(m_place).problem == velmo_caps::StoreProblem::kMissing)
        throw velmo_caps::StoreError(velmo_caps::StoreProblem::kMissing, m_place.path);
    const auto problems = m_stores.problems();
    for (const std::string& text : problems)
        commandline::printMessage(kProgram, text);
    return problems.empty() ? ExitCode::kDone : ExitCode::kPlaceUnusable;
}

} // namespace velmo_caps_cli
