// What the connector tells in the diagnostics tree: every application, whether it runs, and what
// those that run tell of themselves. Takes up to 22 seconds for each that runs and does not answer,
// on the thread of the bus two for all; the connector's lock is not held meanwhile.
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/wire/InfoNode.h"
#include "registry/TevoroTalkConnector.h"

#include <chrono>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

using Specifier = TevoroTalk::Specifier;

constexpr std::int32_t kInfoSeconds = 10;

// What others are asked for one tree. The thread of the bus, which an application's own pump waits
// for, asks briefly, and those who do not answer no second time.
class Questions {
public:
    SoString statusOf(const Specifier& specifier)
    {
        if (!m_isBrief)
            return specifier.status();
        return ask(specifier, TevoroTalkThread::QK_STATUS, nullptr);
    }
    SoString infoOf(const Specifier& specifier, const char* what, const SoString& status)
    {
        const SoString body = what;
        if (!m_isBrief)
            return TevoroTalk::Thread::ping(
                specifier, TevoroTalkThread::QK_INFO, kInfoSeconds, &body);
        return isAnswer(status) ? ask(specifier, TevoroTalkThread::QK_INFO, &body) : SoString();
    }

private:
    using SteadyClock = std::chrono::steady_clock;

    static bool isOnBusThread()
    {
        const TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
        return thread != nullptr && thread->isCurrent();
    }
    static bool isAnswer(const SoString& status)
    {
        return status != QK_TIMEOUT && status != TevoroTalkThread::QK_UNDEFINED;
    }
    SoString ask(const Specifier& specifier, const char* key, const SoString* body) const
    {
        constexpr std::int32_t kBriefly = 1; // second
        return SteadyClock::now() < m_deadline
            ? TevoroTalk::Thread::ping(specifier, key, kBriefly, body)
            : SoString(QK_TIMEOUT);
    }

    const bool m_isBrief = isOnBusThread();
    const SteadyClock::time_point m_deadline = SteadyClock::now() + std::chrono::seconds(1);
};

SoString childOf(const SoString& path, const SoString& name)
{
    SoString child(path);
    child << "/" << name;
    return child;
}

// This process answers for itself: the thread that would be asked may be the one that asks.
const TevoroTalkContext* contextOf(const Specifier& specifier)
{
    const TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    return context != nullptr && context->getAppSpecifier() == specifier ? context : nullptr;
}

SoString statusOf(const Specifier& specifier, Questions& questions)
{
    const TevoroTalkContext* const own = contextOf(specifier);
    return own != nullptr ? own->getThread()->getValueForKey(TevoroTalkThread::QK_STATUS)
                          : questions.statusOf(specifier);
}

// What the tree has anyway, from here.
bool isKnownAnyway(const SoString& label)
{
    return label == "Name" || label == "Path" || label == "Status";
}

// The lines of an answer, below the node in place of the application's own root. Ends at the first
// line that is none, as every reader does.
void appendAnswer(SoString& out,
    const SoString& node,
    const Specifier& specifier,
    const SoString& answer,
    bool withAll)
{
    const SoString root = childOf("", specifier);
    SoString path;
    SoString label;
    SoString value;
    bool hasChildren = false;
    const char* at = answer;
    while ((at = TevoroTalkUtils::parseInfoLine(at, path, label, value, hasChildren)) != nullptr) {
        if (!withAll && (path == root || isKnownAnyway(label)))
            continue;
        if (path == root || path.view().starts_with(childOf(root, "").view()))
            path.removeFront(root.length());
        SoString below(node);
        below << path;
        appendLine(out, below, "", hasChildren ? "1" : "0", label, value);
    }
}

void appendRunningAppInfo(SoString& out,
    const SoString& node,
    const Specifier& specifier,
    const SoString& status,
    Questions& questions)
{
    if (const TevoroTalkContext* const own = contextOf(specifier)) {
        own->appendDiagnostics(out, node);
        own->getThread()->appendDiagnostics(out, node);
        return;
    }
    appendAnswer(out, node, specifier, questions.infoOf(specifier, "context", status), false);
    appendAnswer(out, node, specifier, questions.infoOf(specifier, "thread", status), true);
}

SoString executableName(const TevoroTalkConnector& connector, const Specifier& specifier)
{
    SoString name = connector.getExecutableBasename(specifier);
    if (!name.isEmpty())
        name << "." << connector.getExecutableExtension(specifier);
    return name;
}

// What the records say.
void appendRecord(SoString& out,
    const SoString& node,
    const TevoroTalkConnector& connector,
    const Specifier& specifier)
{
    const SoString name =
        connector.getDisplayName(specifier.appName(), specifier.version(), specifier.locale());
    appendLeafUnlessEmpty(out, node, "/group", "Group", specifier.group(nullptr));
    appendLeaf(out, node, "/path", "Path", connector.getApplicationPath(specifier, nullptr));
    appendLeafUnlessEmpty(out, node, "/displayname", "Display Name", name);
    appendLeaf(out,
        node,
        "/authentication",
        "MsgAuthentication",
        onOrOff(connector.getMessageAuthentication(specifier)));
    appendLeaf(out, node, "/digest", "MsgDigest", onOrOff(connector.getMessageDigest(specifier)));
    appendLeaf(out, node, "/qsdt", "QSDT", onOrOff(connector.supportsQSDT(specifier)));
    appendLeafUnlessEmpty(
        out, node, "/bundleid", "BundleID", connector.getBundleIdentifier(specifier));
}

void appendApplication(SoString& out,
    const SoString& parent,
    const TevoroTalkConnector& connector,
    const Specifier& specifier,
    bool isRunning,
    Questions& questions)
{
    const SoString node = childOf(parent, specifier);
    const SoString status = isRunning ? statusOf(specifier, questions) : SoString();
    appendLine(out, node, "", "1", specifier, status);
    appendRecord(out, node, connector, specifier);
    appendLeaf(out, node, "/status", "Status", isRunning ? status : SoString("(not running)"));
    if (isRunning)
        appendRunningAppInfo(out, node, specifier, status, questions);
    appendLeafUnlessEmpty(out, node, "/exename", "ExeName", executableName(connector, specifier));
}

} // namespace

void TevoroTalkConnector::appendDiagnostics(SoString& out, const SoString& path) const
{
    const SoString targets = childOf(path, "targets");
    const SoString installed = childOf(targets, "installed");
    const SoString running = childOf(targets, "running");
    const int count = getNumberOfRegisteredApplications();
    appendLine(out, targets, "", "1", "Targets", textOf(std::int32_t{count}));
    appendLeaf(out, targets, "/connector", "Connector", getName());
    appendLine(out, installed, "", "1", "Installed", "0");
    appendLine(out, running, "", "1", "Running", "0");
    std::int32_t numberRunning = 0;
    Questions questions;
    for (int i = 0; i < count; ++i) {
        const Specifier specifier(getApplicationSpecifier(i), false);
        const bool isRunning = specifier.isRunning();
        numberRunning += isRunning ? 1 : 0;
        appendApplication(
            out, isRunning ? running : installed, *this, specifier, isRunning, questions);
    }
    // Again, as now they are known.
    appendLine(out, installed, "", "1", "Installed", textOf(count - numberRunning));
    appendLine(out, running, "", "1", "Running", textOf(numberRunning));
    appendGroups(out, targets);
}

void TevoroTalkConnector::appendGroups(SoString& out, const SoString& targets) const
{
    const ObjectLock lock(*this);
    const SoString groups = childOf(targets, "groups");
    if (m_groupsCache == nullptr || m_groupsCache->length() == 0) {
        appendLine(out, groups, "", "0", "Groups", "(no groups defined)");
        return;
    }
    appendLine(out, groups, "", "1", "Groups", textOf(m_groupsCache->length()));
    SoString former;
    for (long i = 0; i < m_groupsCache->length(); ++i) {
        SoString generation;
        SoString specifier;
        for (const char c : (*m_groupsCache)[i]->view()) {
            if (c == '/') {
                generation += specifier;
                specifier.shrink(0);
            } else {
                specifier += c;
            }
        }
        const SoString node = childOf(groups, generation);
        if (generation != former) {
            // With a field more than other nodes: the first application of the generation.
            SoString value = ";";
            value << specifier;
            appendLine(out, node, "", "1", generation, value);
            former = generation;
        }
        appendLeaf(out, childOf(node, specifier), "", specifier, "");
    }
}

} // namespace ScObjects
