#pragma once

#include "platform/common/services/PtConfig.h"
#include "platform/common/threads/Lock.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace Pt {

// One of the layer's services.
struct PlatformService {
    std::function<bool(const Config&)> isWanted;
    std::function<void(const Config&)> start;
    std::function<void()> stop;
};

// Those that PlatformInit starts, in the order of their start.
std::vector<PlatformService> platformServices();

// Starts services in their order and stops them in the reverse of the order in which they were
// started, with a count of uses; PlatformInit and its like stand on the one of the process. Any
// thread may call; calls wait for each other, so a service must not call back.
class PlatformStart {
public:
    explicit PlatformStart(std::vector<PlatformService> services);

    // Counts a use. The first one keeps the configuration and starts what it wants; a later one
    // only starts what it wants and is not running. When a start throws, what this call has started
    // is stopped, the use is not counted, and the exception goes on.
    void init(const Config& config);

    // The last use stops everything; all are tried, and the first exception goes on. Without a use
    // it does nothing.
    void uninit();

    // The configuration of the latest first use; as constructed before any.
    Config configuration();

private:
    bool isRunning(std::size_t service) const TEVORO_REQUIRES(m_lock);
    void stopDownTo(std::size_t running) TEVORO_REQUIRES(m_lock);

    const std::vector<PlatformService> m_services;
    Lock m_lock;
    int m_uses TEVORO_GUARDED_BY(m_lock) = 0;
    Config m_config TEVORO_GUARDED_BY(m_lock);
    std::vector<std::size_t> m_running TEVORO_GUARDED_BY(m_lock); // in the order of their start
};

} // namespace Pt
