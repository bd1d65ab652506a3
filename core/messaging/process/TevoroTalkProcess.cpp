// The bus as a whole in this process: start and end, the pump, and what is asked of the current
// context.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/Thread.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/process/TevoroTalkSetupThread.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/wire/MessageGlobals.h"
#include "registry/TevoroTalkConnector.h"

#include <atomic>
#include <cstring>

namespace ScObjects {

namespace {

constexpr std::int64_t kConnectorRefresh = 60; // seconds

constinit std::atomic<std::int64_t> gConnectorLastChecked{0};

TevoroTalkContext* givenOrCurrent(TevoroTalkContext* context)
{
    return context != nullptr ? context : TevoroTalkContext::getCurrentContext();
}

void initParts(const SoString& appName)
{
    TevoroTalkConnector::InitTerm::init(appName);
    TevoroTalkData::MessageGlobals::init();
    Thread::InitTerm::init();
}

void refreshConnector(const TevoroTalkContext& context)
{
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    const std::int64_t last = gConnectorLastChecked;
    // At most once a minute, as pumps may come a thousand times a second; and when the clock went
    // back, or there would be none for as long.
    if (now >= last && now < last + kConnectorRefresh)
        return;
    if (TevoroTalkConnector* const connector = context.getConnector())
        connector->updateCache(false);
    gConnectorLastChecked = now;
}

} // namespace

bool TevoroTalk::InitTerm::init(const SoString& appName, bool synchronous)
{
    TevoroTalkUtils::init();
    InterAppStream::InitTerm::init(appName);
    initParts(appName);
    if (TevoroTalkContext::getCurrentContext() != nullptr)
        return false;
    TevoroTalkSetupThread::startOver(); // after one that failed
    return synchronous ? TevoroTalkSetupThread::runSetup(appName)
                       : TevoroTalkSetupThread::startSetupThread(appName);
}

void TevoroTalkData::startForInstance(const SoString& appName)
{
    // The stream of a former bus of this process is not this one's.
    InterAppStream::InitTerm::exit();
    initParts(appName);
    TevoroTalkSetupThread::startOver();
    TevoroTalkSetupThread::runSetup(appName, true);
    setContextOfFirstInstance(TevoroTalkContext::getCurrentContext());
}

bool TevoroTalk::InitTerm::exit()
{
    if (TevoroTalkContext::getCurrentContext() == nullptr)
        return false;
    // The context first: instances and thread use everything below to their end. The rest goes in
    // reverse order of init.
    TevoroTalkContext::setCurrentContext(nullptr);
    gConnectorLastChecked = 0;
    ScObjects::Thread::InitTerm::exit();
    TevoroTalkData::MessageGlobals::exit();
    TevoroTalkConnector::InitTerm::exit();
    InterAppStream::InitTerm::exit();
    TevoroTalkUtils::exit();
    return true;
}

TevoroTalkContext* TevoroTalk::getSharedContext()
{
    return TevoroTalkContext::getCurrentContext();
}

void TevoroTalk::setSharedContext(TevoroTalkContext* context)
{
    TevoroTalkContext::setCurrentContext(context);
}

TevoroTalk* TevoroTalk::get(TevoroTalkContext* context)
{
    const TevoroTalkContext* const meant = givenOrCurrent(context);
    return meant != nullptr ? meant->getMainInstance() : nullptr;
}

void TevoroTalk::set(TevoroTalk* instance, TevoroTalkContext* context)
{
    if (TevoroTalkContext* const meant = givenOrCurrent(context))
        meant->setMainInstance(instance);
}

TevoroTalk* TevoroTalk::get(const char* name, TevoroTalkContext* context)
{
    const TevoroTalkContext* const meant = givenOrCurrent(context);
    return meant != nullptr ? meant->findInstance(SoString(name)) : nullptr;
}

bool TevoroTalk::targetIsRunning(const char* specifier)
{
    return Specifier(specifier, true).isRunning();
}

bool TevoroTalk::bringToFront(const char* specifier, TevoroTalkContext* context)
{
    TevoroTalkContext* const meant = givenOrCurrent(context);
    const TevoroTalkConnector* const connector = meant != nullptr ? meant->getConnector() : nullptr;
    return connector != nullptr && connector->bringToFront(specifier, meant);
}

SoString TevoroTalk::getSharedAppName()
{
    const TevoroTalkContext* const context = TevoroTalkContext::getCurrentContext();
    return context != nullptr ? context->getAppSpecifier() : SoString();
}

int TevoroTalk::getNumberOfRegisteredApplications()
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getNumberOfRegisteredApplications() : 0;
}

SoString TevoroTalk::getApplicationSpecifier(int index)
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getApplicationSpecifier(index) : SoString();
}

SoString TevoroTalk::getDisplayName(
    const SoString& app, const SoString& version, const SoString& locale)
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getDisplayName(app, version, locale) : SoString();
}

SoString TevoroTalk::getLaunchOptions()
{
    const TevoroTalkContext* const context = TevoroTalkContext::getCurrentContext();
    if (context == nullptr || context->getThread() == nullptr)
        return {};
    // The parameters are put into the store at the end of the set-up.
    TevoroTalkSetupThread::syncWithSetupThread();
    return context->getThread()->getValueForKey("LAUNCHPARAMS");
}

bool TevoroTalk::suppressStartupScreen()
{
    return std::strstr(getLaunchOptions(), "-nostartupscreen") != nullptr;
}

bool TevoroTalk::pump(EnabledOperations operations, TevoroTalkContext* context)
{
    // The one way that never waits for the set-up.
    if (context == nullptr && TevoroTalkSetupThread::isSetupThreadRunning())
        return false;
    context = givenOrCurrent(context);
    if (context == nullptr)
        return false;
    refreshConnector(*context);
    // So that the bus's thread leaves the ports to this one, and others hear that the application
    // is at work.
    if (TevoroTalkThread* const thread = TevoroTalkThread::getMainThread())
        thread->setStatus(TevoroTalkThread::QK_PUMPING);
    bool dispatched = false;
    // By number and asked anew each time: a handler may make and delete instances.
    for (long i = 0; i < context->getNumberOfInstances(); ++i) {
        TevoroTalk* const instance = context->getNthInstance(i);
        if ((operations & kIncoming) != 0 && instance != nullptr && instance->dispatchIncoming())
            dispatched = true;
        while ((operations & kOutgoing) != 0 && instance != nullptr
            && instance->processOutgoingMessage())
            dispatched = true;
    }
    if (TevoroTalkThread* const thread = TevoroTalkThread::getMainThread())
        thread->setStatus(TevoroTalkThread::QK_IDLE);
    return dispatched;
}

bool TevoroTalk::Thread::setPingValue(const SoString& key, const SoString& value)
{
    TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    return thread != nullptr && thread->setKeyValuePair(key, value);
}

SoString TevoroTalk::Thread::getPingValue(const SoString& key)
{
    const TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    return thread != nullptr ? thread->getValueForKey(key) : SoString();
}

bool TevoroTalk::Thread::setPingHandler(const SoString& key, MsgHandler* handler)
{
    TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    return thread != nullptr && thread->setHandler(key, handler);
}

TevoroTalk::MsgHandler* TevoroTalk::Thread::getPingHandler(const SoString& key)
{
    const TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    return thread != nullptr ? thread->findHandler(key) : nullptr;
}

SoString TevoroTalk::Thread::ping(
    const char* target, const char* command, std::int32_t timeout, const SoString* body)
{
    const TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    if (thread == nullptr)
        return {};
    return thread->ping(Specifier(target, true), command, timeout, body);
}

} // namespace ScObjects
