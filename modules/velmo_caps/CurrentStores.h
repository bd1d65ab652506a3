// Both stores as they are now, and one number that rises whenever either changes. Shared by all
// sessions of a process; any thread. Reading waits up to kCapsPatience for another process; the
// number does not.
#pragma once

#include "platform/common/threads/Lock.h"
#include "velmo_caps/StoreReader.h"
#include "velmo_caps/StoreView.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velmo_caps {

class CurrentStores {
public:
    // The user's and the machine's, wherever they lie at the moment of each call.
    CurrentStores()
        : m_only()
    {
    }
    // One store alone, as the machine's or as the user's.
    explicit CurrentStores(StorePlace only)
        : m_only(std::move(only))
    {
    }
    CurrentStores(const CurrentStores&) = delete;
    CurrentStores& operator=(const CurrentStores&) = delete;

    // As of now. Never null; keeps its texts for as long as it is held.
    std::shared_ptr<const StoreView> view();

    // The same, or as of kRecent ago: for reads that follow each other by the thousand, of which
    // each would ask the system a dozen times whether anything has changed.
    std::shared_ptr<const StoreView> recentView();
    static constexpr std::chrono::microseconds kRecent{200};

    // This process has written: nothing is recent any more.
    void expire();

    // Above 0; rises with every write that is seen, and is lowered by nothing.
    std::uint32_t time();

    // Why the view may lack something, one text a store.
    std::vector<std::string> problems();

    // Whether the machine's store has this, whatever the user's says.
    bool isOfMachine(const SubdomainName& subdomain, const std::string& key);

private:
    bool look() TEVORO_REQUIRES(m_lock);
    void follow() TEVORO_REQUIRES(m_lock);
    void refresh() TEVORO_REQUIRES(m_lock);
    bool isRecent() const TEVORO_REQUIRES(m_lock);

    const StorePlace m_only; // no path: both
    Pt::Lock m_lock;
    StoreReader m_user TEVORO_GUARDED_BY(m_lock);
    StoreReader m_machine TEVORO_GUARDED_BY(m_lock);
    std::uint32_t m_time TEVORO_GUARDED_BY(m_lock) = 0; // before the first look
    std::chrono::steady_clock::time_point m_lastLook TEVORO_GUARDED_BY(m_lock);
    std::shared_ptr<const StoreView> m_view TEVORO_GUARDED_BY(m_lock);
    std::uint64_t m_userEdition TEVORO_GUARDED_BY(m_lock) = 0; // of m_view
    std::uint64_t m_machineEdition TEVORO_GUARDED_BY(m_lock) = 0;
};

} // namespace velmo_caps
