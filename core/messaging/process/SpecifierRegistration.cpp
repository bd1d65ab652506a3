// What the registry of installed applications knows of a specifier, and is told of it.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "registry/TevoroTalkConnector.h"

namespace ScObjects {

namespace {

TevoroTalkConnector* connectorOfSharedContext()
{
    const TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    return context != nullptr ? context->getConnector() : nullptr;
}

} // namespace

SoString TevoroTalk::Specifier::group(SoString* groupVersion) const
{
    if (groupVersion != nullptr)
        groupVersion->shrink(0);
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr ? connector->findGroupForSpecifier(*this, groupVersion)
                                : SoString();
}

SoString TevoroTalk::Specifier::getApplicationPath(const char* text)
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getApplicationPath(text, nullptr) : SoString();
}

bool TevoroTalk::Specifier::isInstalled() const
{
    return !isEmpty() && !getApplicationPath(get()).isEmpty();
}

bool TevoroTalk::Specifier::registerApplication(
    const SoString& path, const SoString* displayName, bool flag) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr
        && connector->registerApplication(*this, path, displayName, flag, false);
}

bool TevoroTalk::Specifier::unregisterApplication(const SoString* displayName) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->unregisterApplication(*this, displayName);
}

bool TevoroTalk::Specifier::addToGroup(const SoString& name, const SoString* groupVersion) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->addToGroup(*this, name, groupVersion);
}

bool TevoroTalk::Specifier::removeFromGroup(
    const SoString& name, const SoString* groupVersion) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->removeFromGroup(*this, name, groupVersion);
}

SoString TevoroTalk::Specifier::preferred(const SoString& target, const SoString& groupName) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    if (connector == nullptr)
        return {};
    const SoString inGroup =
        groupName.isEmpty() ? connector->findGroupForSpecifier(*this, nullptr) : groupName;
    SoString result;
    if (!inGroup.isEmpty())
        result = connector->findPreferredApp(*this, target, inGroup);
    // No preference means whatever was asked for.
    return result.isEmpty() ? target : result;
}

} // namespace ScObjects
