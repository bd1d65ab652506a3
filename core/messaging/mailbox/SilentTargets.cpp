#include "messaging/mailbox/SilentTargets.h"

#include <algorithm>

namespace ScObjects::TevoroTalkData {

namespace {

constexpr std::chrono::minutes kWindow{1};

// Of all sends in a minute: a process may have any number of names that do not read.
constexpr std::chrono::seconds kMaxInAll{10};

// Names are whatever senders call themselves.
constexpr std::size_t kMaxRecords = 1000;

} // namespace

SilentTargets::Milliseconds SilentTargets::TimeInAMinute::in(Clock::time_point now) const
{
    return now - m_since < kWindow ? m_waited : Milliseconds(0);
}

void SilentTargets::TimeInAMinute::add(Milliseconds waited, Clock::time_point now)
{
    if (now - m_since >= kWindow) {
        m_waited = Milliseconds(0);
        m_since = now;
    }
    m_waited += waited;
}

SilentTargets::Milliseconds SilentTargets::patienceFor(
    std::string_view target, Milliseconds whole) const
{
    const Pt::Locked locked(m_lock);
    const auto now = Clock::now();
    const Milliseconds left = std::clamp(kMaxInAll - m_inAll.in(now), Milliseconds(0), whole);
    const auto found = m_records.find(std::string(target));
    if (found == m_records.end())
        return left;
    const Record& record = found->second;
    if (record.isSilent)
        return Milliseconds(0);
    return std::clamp(whole - record.time.in(now), Milliseconds(0), left);
}

void SilentTargets::hasRead(std::string_view target)
{
    const Pt::Locked locked(m_lock);
    const auto found = m_records.find(std::string(target));
    if (found == m_records.end())
        return;
    found->second.isSilent = false;
    if (found->second.time.in(Clock::now()).count() == 0)
        m_records.erase(found);
}

void SilentTargets::hasNotRead(std::string_view target, Milliseconds waited)
{
    const auto now = Clock::now();
    const Pt::Locked locked(m_lock);
    if (m_records.size() >= kMaxRecords)
        std::erase_if(
            m_records, [&](const auto& entry) { return entry.second.time.in(now).count() == 0; });
    if (m_records.size() >= kMaxRecords)
        m_records.clear();
    Record& record = m_records[std::string(target)];
    record.isSilent = true;
    record.time.add(waited, now);
    m_inAll.add(waited, now);
}

bool SilentTargets::isSilent(std::string_view target) const
{
    const Pt::Locked locked(m_lock);
    const auto found = m_records.find(std::string(target));
    return found != m_records.end() && found->second.isSilent;
}

std::vector<std::string> SilentTargets::names() const
{
    std::vector<std::string> names;
    const Pt::Locked locked(m_lock);
    for (const auto& [name, record] : m_records)
        if (record.isSilent)
            names.push_back(name);
    std::ranges::sort(names);
    return names;
}

} // namespace ScObjects::TevoroTalkData
