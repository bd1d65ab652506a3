#include "messaging/process/Launcher.h"

#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/LaunchHandlers.h"
#include "platform/common/files/SmallFile.h"
#include "platform/common/services/ProcessControl.h"
#include "platform/common/services/ProgramStart.h"
#include "platform/common/threads/Lock.h"

#include <algorithm>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace ScObjects::TevoroTalkUtils {

using namespace TevoroTalkData;

namespace {

constinit Pt::Lock gStartedLock;
// One for each process id. They stay after the end of the process, because that is when the id may
// become another's. Never destroyed: threads may ask while the program ends.
constinit std::vector<Pt::ProcessIdentity>* gStarted TEVORO_GUARDED_BY(gStartedLock) = nullptr;

void noteStarted(const Pt::ProcessIdentity& process)
{
    const Pt::Locked lock(gStartedLock);
    if (gStarted == nullptr)
        gStarted = new std::vector<Pt::ProcessIdentity>;
    std::erase_if(*gStarted, [&](const auto& each) { return each.id == process.id; });
    gStarted->push_back(process);
}

TevoroTalk* mainInstance()
{
    return TevoroTalk::get(nullptr);
}

bool openInWeb(const SoString& path)
{
    const TevoroTalk* const instance = mainInstance();
    SoString address(path);
    address << "?sender=";
    if (instance != nullptr)
        address << instance->getAppName();
    return !Pt::openWebAddress(std::string(address.view()));
}

SoString numberIn(unsigned long number)
{
    return SoString(std::string_view(std::to_string(number)));
}

} // namespace

// The messages and handlers of one launch, while the process id is still to come.
class Launcher::Preparation {
public:
    // Nothing without parameters or without a main instance.
    Preparation(const SoString& specifier, const SoString* parameters)
        : m_instance(parameters != nullptr ? mainInstance() : nullptr)
        , m_context(TevoroTalk::getSharedContext())
    {
        if (m_instance == nullptr || m_context == nullptr)
            return;
        m_key = kLaunchKey;
        m_key << m_instance->getAppName();
        const SoString queueName = getLaunchMsgQueueName(specifier);
        auto toAny = makeParameters(*m_instance, *m_context, queueName, *parameters);
        SoString ownQueue = TevoroTalk::Specifier(specifier, false).appName();
        ownQueue << "#";
        m_toProcess = makeParameters(*m_instance, *m_context, ownQueue, *parameters);
        queue(*m_instance, std::move(toAny));
        auto script = makeProbe(specifier, *parameters);
        watch(*m_instance, m_key, script->serialNumber, queueName);
        queue(*m_instance, std::move(script));
    }

    void finish(unsigned long pid)
    {
        if (m_toProcess == nullptr)
            return;
        m_toProcess->target << numberIn(pid);
        const std::uint32_t serialNumber = m_toProcess->serialNumber;
        queue(*m_instance, std::move(m_toProcess));
        watch(*m_instance, m_key, serialNumber, "");
    }

private:
    // A script that does nothing: that it is received shows that the new process listens.
    std::unique_ptr<Message> makeProbe(const SoString& specifier, const SoString& parameters)
    {
        auto message = makeMessage(*m_instance, *m_context, specifier);
        message->type = kQuillscriber;
        message->responseRequest = QK_RECEIVED;
        message->body << "// " << m_key << "\n// " << parameters << "\n";
        return message;
    }

    TevoroTalk* m_instance; // null if there is nothing to prepare
    TevoroTalkContext* m_context;
    SoString m_key;
    std::unique_ptr<Message> m_toProcess; // its target lacks the process id
};

std::unique_ptr<TevoroTalk::Message> Launcher::makeMessage(
    const TevoroTalk& instance, TevoroTalkContext& context, const SoString& target)
{
    auto message = std::make_unique<Message>(); // null without memory, as SoHeap has it
    if (message == nullptr)
        throw std::bad_alloc();
    message->target = target;
    message->sender = instance.getAppName();
    message->serialNumber = context.getNextSerialNumber();
    message->timeout = kLaunchLife;
    return message;
}

std::unique_ptr<TevoroTalk::Message> Launcher::makeParameters(const TevoroTalk& instance,
    TevoroTalkContext& context,
    const SoString& target,
    const SoString& parameters)
{
    auto message = makeMessage(instance, context, target);
    message->type = kLaunchType;
    message->body = parameters;
    return message;
}

void Launcher::queue(TevoroTalk& instance, std::unique_ptr<Message> message)
{
    instance.m_data->queueOutgoing(message.release());
}

void Launcher::queueParameters(TevoroTalk& instance,
    TevoroTalkContext& context,
    const SoString& target,
    const SoString& parameters)
{
    queue(instance, makeParameters(instance, context, target, parameters));
}

std::unique_ptr<TevoroTalk::Message> Launcher::makeWatcher(
    const TevoroTalk& instance, std::uint32_t serialNumber)
{
    auto watcher = std::make_unique<Message>();
    if (watcher == nullptr)
        throw std::bad_alloc();
    watcher->target = watcher->sender = instance.getAppName();
    watcher->type = kIgnore;
    watcher->responseRequest = QK_TIMEOUT;
    watcher->timeout = kLaunchLife;
    watcher->serialNumber = serialNumber;
    return watcher;
}

// The messages themselves ask for no notice of a time that is over; so something in the incoming
// queue runs out in their stead.
void Launcher::watch(
    TevoroTalk& instance, const SoString& key, std::uint32_t serialNumber, const SoString& flagOf)
{
    delete instance.changeHandler(new LaunchTimeoutMsgHandler(key, serialNumber, flagOf));
    delete instance.changeHandler(new LaunchReceivedMsgHandler(serialNumber));
    auto watcher = makeWatcher(instance, serialNumber);
    if (instance.m_data->incoming.append(watcher.get()))
        static_cast<void>(watcher.release()); // the queue's now
}

void Launcher::endWatch(TevoroTalk& instance, const char* handlerType, std::uint32_t serialNumber)
{
    const TevoroTalk::MsgHandler* const handler = instance.findHandler(handlerType, serialNumber);
    // One for all messages of that type is the application's own.
    if (handler != nullptr && handler->getSerialNumber() == serialNumber)
        delete instance.removeHandler(handlerType, serialNumber);
    instance.m_data->incoming.removeTimeoutMessage(serialNumber);
}

void Launcher::removeOutgoing(TevoroTalk& instance, std::uint32_t serialNumber)
{
    instance.m_data->outgoing.removeMessage(serialNumber);
}

bool Launcher::launch(const SoString& specifier,
    const SoString& path,
    const SoString* parameters,
    Focus,
    unsigned long* pid)
{
    if (pid != nullptr)
        *pid = 0;
    if (path.isEmpty())
        return false;
    try {
        if (path.view().starts_with(kWebScheme))
            return openInWeb(path);
        Preparation preparation(specifier, parameters);
        const std::string program(path.view());
        if (!Pt::pathExists(program))
            return false;
        std::error_code error;
        const auto process = Pt::startProgram(program, {}, error);
        if (!process) {
            // True all the same: what was prepared runs out.
            logText(("CANNOT START " + program + ": " + error.message()).c_str());
            return true;
        }
        noteStarted(*process);
        preparation.finish(process->id);
        if (pid != nullptr)
            *pid = process->id;
        return true;
    } catch (...) {
        return false;
    }
}

void Launcher::bringToFront(const SoString& path, SearchHint hint)
{
    if (hint != kByBundlePath)
        return;
    const auto processes = Pt::processesOfProgram(std::string(path.view()));
    if (!processes.empty())
        Pt::bringProcessToFront(processes.front());
}

void Launcher::adopt(const Pt::ProcessIdentity& process)
{
    noteStarted(process);
}

std::optional<Pt::ProcessIdentity> Launcher::startedProcess(unsigned long pid)
{
    const Pt::Locked lock(gStartedLock);
    if (gStarted == nullptr)
        return std::nullopt;
    const auto found = std::ranges::find(*gStarted, pid, &Pt::ProcessIdentity::id);
    return found != gStarted->end() ? std::optional(*found) : std::nullopt;
}

bool Launcher::isProcessRunning(unsigned long pid)
{
    const auto started = startedProcess(pid);
    return started ? Pt::isProcessRunning(*started) : Pt::isProcessRunning(pid);
}

} // namespace ScObjects::TevoroTalkUtils
