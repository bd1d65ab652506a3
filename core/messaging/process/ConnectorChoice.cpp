// Which connector this process asks for applications: another one, a look into another one, or what
// another one knows.
#include "messaging/Message.h"
#include "messaging/TevoroTalkContext.h"
#include "registry/TevoroTalkConnector.h"

#include <memory>

namespace ScObjects {

namespace {

using ConnectorPointer = std::unique_ptr<TevoroTalkConnector>;

ConnectorPointer makeGood(const SoString& name)
{
    ConnectorPointer made(TevoroTalkUtils::createConnector(TevoroTalk::getSharedAppName(), name));
    return made && made->isGood() ? std::move(made) : nullptr;
}

// What the registry says of this application's own messages.
void takeMessageSettings(const TevoroTalkConnector& connector)
{
    const SoString self = TevoroTalk::getSharedAppName();
    TevoroTalk::Message::setAuthentication(connector.getMessageAuthentication(self));
    TevoroTalk::Message::setCreateDigest(connector.getMessageDigest(self));
}

} // namespace

bool TevoroTalk::useConnector(const SoString& name)
{
    TevoroTalkConnector* const current = TevoroTalkConnector::get();
    if (current != nullptr && name == "refresh") {
        current->clearCache();
        return true;
    }
    if (current != nullptr && name == "removeAll")
        return current->removeAll();
    const SoString kind = name.isEmpty() || name == "default" ? SoString("PCD") : name;
    if (current != nullptr && current->getName() == kind)
        return true;
    ConnectorPointer fresh(TevoroTalkUtils::createConnector(getSharedAppName(), kind));
    if (!fresh)
        return false;
    takeMessageSettings(*fresh);
    // The thread of the bus may be asking the former one, which ends here.
    const TevoroTalkContext::PausedThread pause(getSharedContext());
    TevoroTalkConnector::set(fresh.release());
    return true;
}

SoString TevoroTalk::getConnectorConfig(const SoString& name, const SoString& which)
{
    const TevoroTalkConnector* const current = TevoroTalkConnector::get();
    if (current != nullptr && current->getName() == name)
        return current->getConnectorConfig(which);
    const ConnectorPointer other = makeGood(name);
    return other ? other->getConnectorConfig(which) : SoString();
}

bool TevoroTalk::importFromConnector(const SoString& name)
{
    TevoroTalkConnector* const current = TevoroTalkConnector::get();
    if (current == nullptr || !current->isGood() || current->getName() == name)
        return false;
    const ConnectorPointer other = makeGood(name);
    if (!other)
        return false;
    const bool isDone = current->importFrom(*other);
    takeMessageSettings(*current);
    return isDone;
}

bool TevoroTalk::updateConnectorCache(bool force)
{
    if (TevoroTalkConnector::get() == nullptr)
        useConnector("default");
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr && connector->isGood() && connector->updateCache(force);
}

} // namespace ScObjects
