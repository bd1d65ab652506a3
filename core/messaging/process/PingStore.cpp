// The ping store: keys, values and handlers, and what they say of the application's pump.
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/process/ThreadMsgHandlers.h"
#include "messaging/runtime/ClockWatch.h"
#include "messaging/wire/Forwarding.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace ScObjects {

using namespace TevoroTalkData;

TevoroTalkThread::PingData::~PingData()
{
    delete handler;
}

void TevoroTalkThread::fillStore()
{
    const ObjectLock lock(*this);
    setKeyValuePair(QK_ECHO_REQUEST, QK_ECHO_RESPONSE);
    setKeyValuePair(QK_STATUS, QK_IDLE);
    m_lastPump = 0; // the state that it starts in was no pump
    setHandler(QK_MAIN, new ThreadMainMsgHandler(m_context, this));
    setHandler(QK_LAUNCHED, new ThreadLaunchedMsgHandler(m_context));
    setHandler(QK_DIAGNOSTICS, new ThreadDiagnosticsMsgHandler(m_context));
    setHandler(QK_INFO, new ThreadInfoMsgHandler(m_context));
}

void TevoroTalkThread::removeExpiredPingData()
{
    const ObjectLock lock(*this);
    // In every round, so that a clock that was set is noticed soon.
    const Moment now = momentNow();
    // From the back, so that removing one does not move those still to be looked at.
    for (long i = m_pingData.length() - 1; i >= 0; --i) {
        const PingData& entry = *m_pingData[i];
        if (entry.expires == 0 || now.seconds < entry.expires + now.secondsSetSince(entry.shift))
            continue;
        const std::unique_ptr<PingData> expired(m_pingData.removeAt(i));
        expired->handler = nullptr; // its maker's again
    }
}

TevoroTalkThread::PingData* TevoroTalkThread::find(std::string_view key) const
{
    for (long i = 0; i < m_pingData.length(); ++i)
        if (m_pingData[i]->key.view() == key)
            return m_pingData[i];
    return nullptr;
}

long TevoroTalkThread::locateKey(const SoString& key) const
{
    const ObjectLock lock(*this);
    for (long i = 0; i < m_pingData.length(); ++i)
        if (m_pingData[i]->key == key)
            return i;
    return -1;
}

TevoroTalk::MsgHandler* TevoroTalkThread::findHandler(const SoString& key) const
{
    const ObjectLock lock(*this);
    const PingData* const entry = find(key.view());
    return entry != nullptr ? entry->handler : nullptr;
}

// Milliseconds; below zero if the clock went back. That it was set forward is no time that passed.
double TevoroTalkThread::sinceLastPump() const
{
    const std::int64_t forward = std::max<std::int64_t>(0, clockWatch().shift() - m_lastPumpShift);
    return TevoroTalkUtils::getUTCTimeMilliSeconds() - m_lastPump - static_cast<double>(forward);
}

// Ten times its usual pace without a pump.
bool TevoroTalkThread::hasStalled() const
{
    if (m_lastPump <= 0 || m_avgPumpInterval <= 0)
        return false;
    // Ten times, as docs/bus.md promises to whoever asks for the status.
    return sinceLastPump() > 10.0 * m_avgPumpInterval;
}

SoString TevoroTalkThread::getValueForKey(const SoString& key) const
{
    const ObjectLock lock(*this);
    const PingData* const entry = find(key.view());
    if (entry == nullptr)
        return {};
    // Only an idle application can have stalled: one that is pumping is at work, however long it
    // takes.
    if (key == QK_STATUS && entry->value == QK_IDLE && hasStalled())
        return QK_BUSY;
    return entry->value;
}

void TevoroTalkThread::notePump(std::string_view value)
{
    const double now = TevoroTalkUtils::getUTCTimeMilliSeconds();
    if (value == QK_PUMPING) {
        const double delta = sinceLastPump();
        // Pumps less than 10 ms apart belong to one burst, and would make the usual pace look
        // faster than it is.
        if (m_lastPump > 0 && delta > 10.0) {
            if (m_avgPumpInterval == 0)
                m_avgPumpInterval = delta;
            else if (10.0 * m_avgPumpInterval > delta) // else a stall, no pace
                // Half of the latest: the pace follows an application that changes its habits.
                m_avgPumpInterval = (m_avgPumpInterval + delta) / 2;
        }
        m_lastPump = now;
    } else if (value == QK_IDLE) {
        m_lastPump = now;
    }
    m_lastPumpShift = clockWatch().shift();
}

bool TevoroTalkThread::setKeyValuePair(const SoString& key, const SoString& value)
{
    if (key.isEmpty())
        return false;
    const ObjectLock lock(*this);
    if (key == QK_STATUS)
        notePump(value.view());
    const long index = locateKey(key);
    if (index >= 0 && value.isEmpty()) {
        delete m_pingData.removeAt(index);
    } else if (index >= 0) {
        m_pingData[index]->value = value;
    } else if (!value.isEmpty()) {
        auto entry = std::make_unique<PingData>(); // null without memory, as SoHeap has it
        if (entry == nullptr)
            return false;
        entry->key = key;
        entry->value = value;
        if (!m_pingData.append(entry.get()))
            return false;
        static_cast<void>(entry.release()); // the array's now
    }
    return true;
}

void TevoroTalkThread::setStatus(const char* value)
{
    ++m_waitingPumps;
    const ObjectLock lock(*this);
    --m_waitingPumps;
    PingData* const status = find(QK_STATUS);
    if (status == nullptr) {
        // The key was removed; made anew, it is there again for those who ask.
        setKeyValuePair(QK_STATUS, value);
        return;
    }
    notePump(value);
    status->value = value;
}

bool TevoroTalkThread::setHandler(const SoString& key, TevoroTalk::MsgHandler* handler)
{
    const ObjectLock lock(*this);
    if (locateKey(key) < 0)
        setKeyValuePair(key, key);
    PingData* const entry = find(key.view());
    if (entry == nullptr)
        return false;
    // Setting the same handler again must not delete it.
    if (entry->handler != handler)
        delete std::exchange(entry->handler, handler);
    return true;
}

bool TevoroTalkThread::setTimeout(const SoString& key, std::int32_t seconds)
{
    const ObjectLock lock(*this);
    PingData* const entry = find(key.view());
    if (entry == nullptr)
        return false;
    const Moment now = momentNow();
    entry->expires = seconds != 0 ? now.seconds + seconds : 0;
    entry->shift = now.shift;
    return true;
}

bool TevoroTalkThread::isIdle() const
{
    const ObjectLock lock(*this);
    const PingData* const entry = find(QK_STATUS);
    return entry != nullptr && entry->value == QK_IDLE && !hasStalled();
}

bool isPingReadOnly(const SoString& key)
{
    // A subscription is the one thing that another process may change here.
    return !isForwardingKey(key.view());
}

} // namespace ScObjects
