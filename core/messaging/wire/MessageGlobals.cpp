#include "messaging/wire/MessageGlobals.h"

#include "registry/TevoroTalkConnector.h"

#include <atomic>

namespace ScObjects::TevoroTalkData {

namespace {

constinit std::atomic<MessageGlobals*> gMessageGlobals{nullptr};

} // namespace

MessageGlobals::MessageGlobals()
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    if (connector == nullptr)
        return;
    // -1 is the application that made the connector: this one.
    const SoString self = connector->getApplicationSpecifier(-1);
    m_authentication = connector->getMessageAuthentication(self);
    m_createDigest = connector->getMessageDigest(self);
}

void MessageGlobals::init()
{
    if (gMessageGlobals != nullptr)
        return;
    auto* const fresh = new MessageGlobals;
    MessageGlobals* none = nullptr;
    // Two threads may get here at once; the second one throws its object away.
    if (!gMessageGlobals.compare_exchange_strong(none, fresh))
        delete fresh;
}

void MessageGlobals::exit()
{
    // Made anew, with the defaults, if a message is written after the end of the bus.
    delete gMessageGlobals.exchange(nullptr);
}

MessageGlobals& MessageGlobals::get()
{
    init();
    return *gMessageGlobals;
}

void MessageGlobals::setAuthentication(bool on)
{
    m_authentication = on;
}

bool MessageGlobals::getAuthentication() const
{
    return m_authentication;
}

void MessageGlobals::setCreateDigest(bool on)
{
    m_createDigest = on;
}

bool MessageGlobals::getCreateDigest() const
{
    return m_createDigest;
}

} // namespace ScObjects::TevoroTalkData
