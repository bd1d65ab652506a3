#include "messaging/process/LaunchParameters.h"

#include "messaging/BusWords.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/files/PathAlias.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <algorithm>
#include <system_error>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Not by the process's own stream, which may not have its name yet.
bool isFree(const SoString& name)
{
    SoString port(kPortPrefix);
    port << name;
    return Pt::isLocalPortFree(port.view());
}

// One step, which ends early when a text has come, or when the program is to end.
void waitForText(const InterAppStream& stream, milliseconds step)
{
    constexpr milliseconds kGlance{100}; // whether it is to end
    try {
        Pt::DescriptorSet arrivals;
        arrivals.add(stream.waitDescriptor());
        const auto deadline = SteadyClock::now() + step;
        // A connection is no text yet.
        for (auto left = step; left.count() > 0 && !stream.messagePending() && Pt::waitsForOthers();
             left = std::chrono::ceil<milliseconds>(deadline - SteadyClock::now()))
            arrivals.wait(std::min(left, kGlance));
    } catch (const std::system_error&) {
        // No descriptors left.
        TevoroTalkUtils::sleep(static_cast<unsigned int>(step.count()));
    }
}

SoString launchFolder()
{
    const auto named = Pt::environmentVariable(kLaunchFolderVariable);
    return named && !named->empty() ? SoString(std::string_view(*named)) : SoString(kLaunchFolder);
}

bool isInLaunchFolder(const SoString& name)
{
    SoString path = TevoroTalkUtils::getLaunchFolderPath();
    path << TevoroTalkUtils::getFolderSeparator() << name;
    return TevoroTalkUtils::fileExists(path);
}

} // namespace

SoString TevoroTalkData::launchFlagName(const SoString& specifier)
{
    TevoroTalk::Specifier name(TevoroTalkUtils::getLaunchMsgQueueName(specifier), false);
    name.setSuffix(kLaunchFlag);
    return name;
}

SoString TevoroTalkData::launchPidQueueName(const SoString& specifier, unsigned long processId)
{
    SoString name = TevoroTalk::Specifier(specifier, false).appName();
    name << "#" << std::to_string(processId).c_str();
    return name;
}

bool TevoroTalkData::receiveLaunchParams(
    const SoString& queueName, SoString& parameters, unsigned int seconds, milliseconds step)
{
    InterAppStream stream(queueName, true);
    if (!stream.isGood())
        return true;
    constexpr auto kStepSeconds = static_cast<unsigned int>(kLaunchStep.count());
    for (unsigned int waited = 0; waited < seconds && !stream.messagePending();
         waited += kStepSeconds) {
        if (!Pt::waitsForOthers())
            return false;
        waitForText(stream, step);
    }
    if (!stream.messagePending() || !stream.receive() || stream.isEmpty())
        return false;
    const SoString text = stream.getMessages();
    if (!text.isEmpty()) {
        TevoroTalk::Message message;
        message.readFromString(text);
        parameters = message.body;
    }
    return true;
}

SoString TevoroTalkUtils::getLaunchMsgQueueName(const SoString& specifier)
{
    const TevoroTalk::Specifier parts(specifier, false);
    SoString name = parts.appName();
    for (const SoString& part : {parts.version(), parts.locale()})
        if (!part.isEmpty())
            name << "-" << part;
    name << "#launchparams";
    return name;
}

bool TevoroTalkUtils::getLaunchParameters(const SoString& specifier, SoString& parameters)
{
    parameters.shrink(0);
    const TevoroTalk::Specifier name(specifier, false);
    if (name.isEmpty())
        return false;
    const SoString flag = launchFlagName(name);
    if (isFree(flag))
        return true;
    const auto self = static_cast<unsigned long>(Pt::processId());
    return receiveLaunchParams(launchPidQueueName(flag, self), parameters, kOwnParametersWait)
        || receiveLaunchParams(getLaunchMsgQueueName(name), parameters, kParametersWait);
}

SoString TevoroTalkUtils::getLaunchFolderPath()
{
    return launchFolder();
}

SoString TevoroTalkUtils::getNextAppInstance(const SoString& name)
{
    SoString result(name);
    for (long count = 1; isInLaunchFolder(result); ++count) {
        result = name;
        result << "_" << count;
    }
    return result;
}

SoString TevoroTalkUtils::resolveAlias(const SoString& path)
{
    return SoString(std::string_view(Pt::resolveAlias(std::string(path.view()))));
}

bool TevoroTalkUtils::createAlias(const SoString& alias, const SoString& target)
{
    return !Pt::createAlias(std::string(alias.view()), std::string(target.view()));
}

} // namespace ScObjects
