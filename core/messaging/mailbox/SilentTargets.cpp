#include "messaging/mailbox/SilentTargets.h"

#include <algorithm>

namespace ScObjects::TevoroTalkData {

namespace {

constexpr std::chrono::minutes kWindow{1};

// Names are whatever senders call themselves.
constexpr std::size_t kMaxRecords = 1000;

} // namespace

SilentTargets::Milliseconds SilentTargets::patienceFor(
    std::string_view target, Milliseconds whole) const
{
    const std::lock_guard lock(m_lock);
    const auto found = m_records.find(std::string(target));
    if (found == m_records.end())
        return whole;
    const Record& record = found->second;
    if (record.isSilent)
        return Milliseconds(0);
    const bool isOver = Clock::now() - record.since >= kWindow;
    return isOver ? whole : std::clamp(whole - record.waited, Milliseconds(0), whole);
}

void SilentTargets::hasRead(std::string_view target)
{
    const std::lock_guard lock(m_lock);
    const auto found = m_records.find(std::string(target));
    if (found == m_records.end())
        return;
    found->second.isSilent = false;
    if (Clock::now() - found->second.since >= kWindow)
        m_records.erase(found);
}

void SilentTargets::hasNotRead(std::string_view target, Milliseconds waited)
{
    const auto now = Clock::now();
    const std::lock_guard lock(m_lock);
    if (m_records.size() >= kMaxRecords)
        std::erase_if(
            m_records, [&](const auto& entry) { return now - entry.second.since >= kWindow; });
    if (m_records.size() >= kMaxRecords)
        m_records.clear();
    Record& record = m_records[std::string(target)];
    if (now - record.since >= kWindow) {
        record.waited = Milliseconds(0);
        record.since = now;
    }
    record.isSilent = true;
    record.waited += waited;
}

bool SilentTargets::isSilent(std::string_view target) const
{
    const std::lock_guard lock(m_lock);
    const auto found = m_records.find(std::string(target));
    return found != m_records.end() && found->second.isSilent;
}

} // namespace ScObjects::TevoroTalkData
