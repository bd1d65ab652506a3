#include "platform/common/services/PtPlatformStart.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Pt {

PlatformStart::PlatformStart(std::vector<PlatformService> services)
    : m_services(std::move(services))
{
    const Locked locked(m_lock);
    // So that noting a service that has started cannot fail.
    m_running.reserve(m_services.size());
}

void PlatformStart::init(const Config& config)
{
    const Locked locked(m_lock);
    // The first call decides; later ones only add services that are not running yet.
    if (m_uses == 0)
        m_config = config;
    // Only what this call has started is stopped again when it fails.
    const std::size_t runningBefore = m_running.size();
    try {
        for (std::size_t each = 0; each < m_services.size(); ++each) {
            if (isRunning(each) || !m_services[each].isWanted(config))
                continue;
            m_services[each].start(config);
            m_running.push_back(each);
        }
    } catch (...) {
        try {
            stopDownTo(runningBefore);
        } catch (...) { // the start's failure is the one to tell
        }
        throw;
    }
    ++m_uses;
}

void PlatformStart::uninit()
{
    const Locked locked(m_lock);
    if (m_uses == 0 || --m_uses > 0)
        return;
    stopDownTo(0);
}

Config PlatformStart::configuration()
{
    const Locked locked(m_lock);
    return m_config;
}

bool PlatformStart::isRunning(std::size_t service) const
{
    return std::find(m_running.begin(), m_running.end(), service) != m_running.end();
}

void PlatformStart::stopDownTo(std::size_t running)
{
    std::exception_ptr first;
    while (m_running.size() > running) {
        const std::size_t last = m_running.back();
        // Before the stop, which may throw: no service is stopped twice.
        m_running.pop_back();
        try {
            m_services[last].stop();
        } catch (...) {
            // All services are stopped whatever happens; the first failure is the one that is told.
            if (!first)
                first = std::current_exception();
        }
    }
    if (first)
        std::rethrow_exception(first);
}

} // namespace Pt
