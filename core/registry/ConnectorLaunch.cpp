// Starting applications by what their records tell, and bringing them to the front.
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/Launcher.h"
#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

#include <memory>

namespace ScObjects {

using TevoroTalkUtils::Launcher;

namespace {

// A numbered copy gets a record of its own, which says which process it is.
void noteCopy(QKConnectorAppInfoList& list,
    const QKConnectorAppInfo& base,
    const SoString& specifier,
    std::uint32_t pid)
{
    if (list.setProcessID(specifier, pid))
        return;
    auto copy = std::make_unique<QKConnectorAppInfo>(base); // null without memory, as SoHeap has it
    if (copy == nullptr)
        return;
    copy->specifier = specifier;
    copy->processID = pid;
    list.append(copy.release());
}

} // namespace

bool TevoroTalkConnector::launchTarget(
    const SoString& specifier, const SoString& parameters, bool focus, TevoroTalkContext*)
{
    QKConnectorAppInfo record;
    {
        const ObjectLock lock(*this);
        const QKConnectorAppInfoList* const list = getAppInfoList();
        if (list == nullptr || !list->find(specifier, record) || record.path.isEmpty())
            return false;
    }
    // Without the lock: the launch sets up ports and handlers.
    unsigned long pid = 0;
    const bool isLaunched = Launcher::launch(specifier,
        TevoroTalkUtils::startedPath(record.path),
        parameters.isEmpty() ? nullptr : &parameters,
        focus ? Launcher::kTakeFocus : Launcher::kKeepFocus,
        &pid);
    noteProcess(specifier, pid);
    return isLaunched;
}

void TevoroTalkConnector::noteProcess(const SoString& specifier, unsigned long pid)
{
    const auto number = static_cast<std::uint32_t>(pid);
    if (Specifier(specifier, false).instance().isEmpty()) {
        setProcessID(specifier, number);
        return;
    }
    const ObjectLock lock(*this);
    QKConnectorAppInfoList* const list = getAppInfoList();
    QKConnectorAppInfo record;
    if (list != nullptr && list->find(specifier, record))
        noteCopy(*list, record, specifier, number);
}

bool TevoroTalkConnector::bringToFront(const char* specifier, TevoroTalkContext*) const
{
    const Specifier whole(specifier, true);
    QKConnectorAppInfo record;
    {
        const ObjectLock lock(*this);
        const QKConnectorAppInfoList* const list = getAppInfoList();
        if (list == nullptr || !list->find(whole, record))
            return false;
    }
    Launcher::bringToFront(record.path, Launcher::kByBundlePath);
    return true;
}

} // namespace ScObjects
