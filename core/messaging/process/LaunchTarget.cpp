// Whether and how an application is launched that does not run.
#include "messaging/BusWords.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/Launcher.h"
#include "messaging/process/TevoroTalkThread.h"
#include "platform/common/ports/StartTurn.h"
#include "registry/TevoroTalkConnector.h"

#include <cstring>

namespace ScObjects {

using namespace TevoroTalkData;
using TevoroTalkUtils::Launcher;

namespace {

using Specifier = TevoroTalk::Specifier;

bool hasAtMost(std::size_t limit, const char* text)
{
    return std::memchr(text, '\0', limit + 1) != nullptr; // does not look beyond the end
}

Specifier withoutInstance(const Specifier& specifier)
{
    Specifier result(specifier);
    result.setInstance("");
    return result;
}

bool hasPath(const Specifier& target, const TevoroTalkContext& context)
{
    const TevoroTalkConnector* const connector = context.getConnector();
    const SoString asker = context.getAppSpecifier();
    return connector != nullptr
        && (!connector->getApplicationPath(target, asker).isEmpty()
            || !connector->getApplicationPath(withoutInstance(target), asker).isEmpty());
}

SoString parametersFor(const Specifier& target, const char* parameters)
{
    SoString text = "-specifier ";
    text << target << " -nostartupscreen";
    if (const SoString instance = target.instance(); !instance.isEmpty())
        text << " -instance " << instance;
    if (*parameters != '\0')
        text << " " << parameters;
    return text;
}

SoString keyFor(const Specifier& target)
{
    SoString key = kLaunchKey;
    key << withoutInstance(target); // its suffix is gone already
    return key;
}

void offer(const SoString& key, const SoString& parameters)
{
    TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    if (thread == nullptr)
        return;
    thread->setKeyValuePair(key, parameters);
    thread->setTimeout(key, kLaunchLife);
}

void withdraw(const SoString& key)
{
    if (TevoroTalkThread* const thread = TevoroTalkThread::getMainThread())
        thread->setKeyValuePair(key, "");
}

bool takesParameters(const Specifier& target, const char* parameters)
{
    return std::strstr(parameters, kNoParameters) == nullptr && target != kTakesNoParameters;
}

bool launchWith(const Specifier& target,
    const char* parameters,
    TevoroTalk::Focus focus,
    TevoroTalk& instance,
    TevoroTalkContext& context)
{
    SoString text = parametersFor(target, parameters);
    // Whoever asks for them gets them even where they are not passed on.
    const SoString key = keyFor(target);
    offer(key, text);
    if (!takesParameters(target, parameters))
        text.shrink(0);
    Launcher::queueParameters(
        instance, context, TevoroTalkUtils::getLaunchMsgQueueName(target), text);
    TevoroTalkConnector* const connector = context.getConnector();
    const bool isLaunched = connector != nullptr
        && connector->launchTarget(target, text, focus == TevoroTalk::kTakeFocus, &context);
    if (!isLaunched)
        withdraw(key);
    return isLaunched;
}

// Somebody else may have started it since this process looked.
bool isComing(const Specifier& target, const Pt::StartTurn& turn, TevoroTalkConnector& connector)
{
    if (const auto& process = turn.coming()) {
        Launcher::adopt(*process);
        connector.noteProcess(target, process->id);
    }
    return target.isRunning();
}

bool launchInTurn(const Specifier& target,
    const char* parameters,
    TevoroTalk::Focus focus,
    TevoroTalk& instance,
    TevoroTalkContext& context)
{
    TevoroTalkConnector& connector = *context.getConnector(); // it has told the path
    SoString port(kPortPrefix);
    port << target;
    Pt::StartTurn turn(port.view(), kMaxTurnWait);
    if (isComing(target, turn, connector))
        return true;
    const bool isLaunched = launchWith(target, parameters, focus, instance, context);
    if (const auto process = Launcher::startedProcess(connector.getProcessID(target)))
        turn.note(*process);
    return isLaunched;
}

} // namespace

bool TevoroTalk::launchTarget(
    const char* target, const char* parameters, Focus focus, TevoroTalkContext* context)
{
    if (target == nullptr || !hasAtMost(kMaxLaunchTarget, target))
        return false;
    if (parameters == nullptr)
        parameters = "";
    if (!hasAtMost(kMaxLaunchParameters, parameters))
        return false;
    if (context == nullptr)
        context = getSharedContext();
    TevoroTalk* const instance = context != nullptr ? context->getMainInstance() : nullptr;
    if (instance == nullptr)
        return false;
    Specifier specifier(target, true);
    // A process does not launch itself.
    if (specifier.isEmpty() || context->findInstance(specifier) != nullptr)
        return false;
    specifier.setSuffix("");
    if (specifier.isRunning())
        return true;
    return hasPath(specifier, *context)
        && launchInTurn(specifier, parameters, focus, *instance, *context);
}

} // namespace ScObjects
