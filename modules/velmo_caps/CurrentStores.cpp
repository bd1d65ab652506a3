#include "velmo_caps/CurrentStores.h"

#include "platform/common/services/Clock.h"

#include <algorithm>

namespace velmo_caps {

namespace {

// Room above it for the changes that a process sees; counters of a wrong clock end here.
constexpr std::int64_t kHighestCounter = 0xF0000000;

std::uint32_t timeOf(const StoreReader& one, const StoreReader& other)
{
    const std::int64_t counter = std::max(one.counter(), other.counter());
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(counter, 1, kHighestCounter));
}

void addProblem(std::vector<std::string>& texts, const StoreReader& reader, const std::string& path)
{
    if (reader.problem() != StoreProblem::kNone)
        texts.push_back(problemText(reader.problem(), path));
}

} // namespace

// Whether one of them has changed; both are looked at in any case.
bool CurrentStores::look()
{
    if (!m_only.path.empty())
        return (m_only.kind == StoreKind::kMachine ? m_machine : m_user).look(m_only);
    const bool hasUserChanged = m_user.look(userStore());
    const bool hasMachineChanged = m_machine.look(machineStore());
    return hasUserChanged || hasMachineChanged;
}

void CurrentStores::follow()
{
    m_lastLook = Pt::systemClock().steadyNow();
    const bool hasChanged = look();
    const std::uint32_t time = timeOf(m_user, m_machine);
    if (m_time == 0)
        m_time = time;
    else if (hasChanged)
        m_time = std::max(m_time + 1, time);
}

void CurrentStores::refresh()
{
    m_user.refresh();
    m_machine.refresh();
    if (m_view && m_userEdition == m_user.edition() && m_machineEdition == m_machine.edition())
        return;
    m_view = std::make_shared<const StoreView>(m_machine.rows(), m_user.rows());
    m_userEdition = m_user.edition();
    m_machineEdition = m_machine.edition();
}

std::shared_ptr<const StoreView> CurrentStores::view()
{
    const Pt::Locked locked(m_lock);
    follow();
    refresh();
    return m_view;
}

std::shared_ptr<const StoreView> CurrentStores::recentView()
{
    const Pt::Locked locked(m_lock);
    if (!isRecent())
        follow();
    refresh();
    return m_view;
}

bool CurrentStores::isRecent() const
{
    return m_view && Pt::systemClock().steadyNow() - m_lastLook < kRecent;
}

void CurrentStores::expire()
{
    const Pt::Locked locked(m_lock);
    m_lastLook = {};
}

std::uint32_t CurrentStores::time()
{
    const Pt::Locked locked(m_lock);
    follow();
    return m_time;
}

std::vector<std::string> CurrentStores::problems()
{
    const Pt::Locked locked(m_lock);
    follow();
    refresh();
    std::vector<std::string> texts;
    addProblem(texts, m_user, m_only.path.empty() ? userStore().path : m_only.path);
    addProblem(texts, m_machine, m_only.path.empty() ? machineStore().path : m_only.path);
    return texts;
}

bool CurrentStores::isOfMachine(const SubdomainName& subdomain, const std::string& key)
{
    const Pt::Locked locked(m_lock);
    follow();
    refresh();
    for (const StoredSubdomain& each : m_machine.rows().subdomains)
        if (each.name == subdomain)
            return std::any_of(each.entries.begin(), each.entries.end(), [&](const auto& entry) {
                return entry.key == key && entry.value;
            });
    return false;
}

} // namespace velmo_caps
