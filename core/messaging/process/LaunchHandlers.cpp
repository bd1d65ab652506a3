#include "messaging/process/LaunchHandlers.h"

#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/process/Launcher.h"
#include "messaging/process/TevoroTalkThread.h"

namespace ScObjects {

using namespace TevoroTalkData;
using TevoroTalkUtils::Launcher;

namespace {

TevoroTalk* instanceOf(const SoString& name)
{
    return TevoroTalk::get(name, nullptr);
}

} // namespace

LaunchTimeoutMsgHandler::LaunchTimeoutMsgHandler(
    const SoString& pingKey, std::uint32_t serialNumber, const SoString& queueName)
    : m_pingKey(pingKey)
    , m_serialNumber(serialNumber)
{
    if (!queueName.isEmpty())
        m_flagStream = std::make_unique<InterAppStream>(launchFlagName(queueName), true);
}

// The flag goes first: whoever starts from here on need not look for parameters.
LaunchTimeoutMsgHandler::~LaunchTimeoutMsgHandler()
{
    m_flagStream.reset();
    removeKey();
}

void LaunchTimeoutMsgHandler::removeKey() const
{
    if (TevoroTalkThread* const thread = TevoroTalkThread::getMainThread())
        thread->setKeyValuePair(m_pingKey, "");
}

long LaunchTimeoutMsgHandler::handleMessage(int, TevoroTalk::Message& message, SoString* result)
{
    removeKey();
    if (TevoroTalk* const instance = instanceOf(message.target))
        Launcher::endWatch(*instance, QK_RECEIVED, m_serialNumber);
    if (result != nullptr)
        *result = TevoroTalkThread::QK_LAUNCHED;
    return 0;
}

const char* LaunchTimeoutMsgHandler::getMsgType() const
{
    return QK_TIMEOUT;
}

LaunchReceivedMsgHandler::LaunchReceivedMsgHandler(std::uint32_t serialNumber)
    : m_serialNumber(serialNumber)
{
}

long LaunchReceivedMsgHandler::handleMessage(int, TevoroTalk::Message& message, SoString*)
{
    TevoroTalk* const instance = instanceOf(message.target);
    if (instance == nullptr)
        return 0;
    Launcher::endWatch(*instance, QK_TIMEOUT, m_serialNumber);
    for (const std::uint32_t companion : m_companions) {
        Launcher::endWatch(*instance, QK_TIMEOUT, companion);
        Launcher::removeOutgoing(*instance, companion);
    }
    return 0;
}

const char* LaunchReceivedMsgHandler::getMsgType() const
{
    return QK_RECEIVED;
}

} // namespace ScObjects
