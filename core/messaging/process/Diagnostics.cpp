// What a process tells about itself: lines PATH;FLAG;LABEL;VALUE; of a tree, and the report that
// people read. docs/wire-format.md shows some of the lines.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/runtime/ClockWatch.h"
#include "messaging/runtime/GrowingText.h"
#include "messaging/wire/Identity.h"
#include "messaging/wire/InfoNode.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

constexpr long kMarks = 16; // what a line of the report has beside its texts, with room to spare

// Numbers have no sign here.
SoString stepText(const ClockWatch::Step& step)
{
    SoString text;
    text << long{std::abs(step.seconds)} << (step.seconds < 0 ? "s back" : "s forward") << " at "
         << TevoroTalkUtils::getTimeString(&step.at);
    return text;
}

void appendSilentTarget(SoString& out, const SoString& parent, const std::string& name)
{
    SoString node(parent);
    node << "/" << name.c_str();
    appendLeaf(out, node, "", name.c_str(), "does not read");
}

// Those that hold sends up, where there are any.
void appendSilentTargets(SoString& out, const SoString& path, const InterAppStream* stream)
{
    if (stream == nullptr)
        return;
    const std::vector<std::string> names = stream->silentTargets().names();
    if (names.empty())
        return;
    SoString node(path);
    node << "/silent";
    appendLine(out, node, "", "1", "Silent", textOf(static_cast<long>(names.size())));
    for (const std::string& name : names)
        appendSilentTarget(out, node, name);
}

void appendReportLine(SoString& report,
    const SoString& path,
    const SoString& label,
    const SoString& value,
    bool hasChildren)
{
    // The first slash is the root's and counts for no level.
    const long depth = std::count(path.get() + 1, path.get() + path.length(), '/');
    // An empty line above each branch, so that people see where it begins.
    growFor(report, depth + label.length() + value.length() + kMarks);
    if (hasChildren)
        report << "\n";
    for (long i = 0; i < depth; ++i)
        report << "\t";
    report << label;
    if (hasChildren)
        report << ": ";
    if (!value.isEmpty())
        report << (hasChildren ? "" : " = ") << value;
    report << "\n";
}

// Lines as a report; ends at the first line that is none.
SoString reportOf(const SoString& lines)
{
    constexpr const char* kRule = "----------------------\n";
    SoString report = "TevoroTalk Diagnostics\n";
    report << kRule;
    SoString path;
    SoString label;
    SoString value;
    bool hasChildren = false;
    const char* at = lines;
    // Nodes without a FLAG, such as that of missing headers, end the report, on purpose: readers
    // have always stopped there.
    while ((at = TevoroTalkUtils::parseInfoLine(at, path, label, value, hasChildren)) != nullptr)
        appendReportLine(report, path, label, value, hasChildren);
    report << kRule;
    return report;
}

} // namespace

void TevoroTalkContext::appendDiagnostics(SoString& out, const SoString& path) const
{
    SoString node(path);
    node << "/context";
    // Not completed: completion asks other processes, and this may run on the thread that answers
    // theirs.
    const TevoroTalk::Specifier self(getAppSpecifier(), false);
    const SoString group = self.group(nullptr);
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    appendLine(out, node, "", "1", "Info", "");
    appendLeaf(out, node, "/name", "Name", self);
    // What a ping of this process would answer; the thread that answers pings may be this one.
    appendLeaf(
        out, node, "/status", "Status", m_thread->getValueForKey(TevoroTalkThread::QK_STATUS));
    appendLeafUnlessEmpty(out, node, "/group", "Group", group);
    appendLeaf(out, node, "/path", "Path", TevoroTalk::Specifier::getApplicationPath(self));
    appendLeaf(out, node, "/version", "Version", kVersion);
    appendLeaf(out, node, "/build", "Build", (std::string("QS ") + kBuild).c_str());
    appendLeaf(out, node, "/nextsnr", "Next serial number", textOf(nextSerialNumber()));
    appendLeaf(out, node, "/logging", "Logging:", onOrOff(isLogging()));
    appendLeaf(out, node, "/now", "Now", TevoroTalkUtils::getTimeString(&now));
    if (const auto step = clockWatch().lastStep())
        appendLeaf(out, node, "/clockset", "Clock set", stepText(*step));
    node << "/messages";
    appendLine(out, node, "", "1", "Messages", "");
    appendLeaf(out, node, "/version", "Message Version", kMessageVersion);
    appendLeaf(out,
        node,
        "/authentication",
        "Authentication",
        onOrOff(TevoroTalk::Message::getAuthentication()));
    appendLeaf(out, node, "/digest", "Digest", onOrOff(TevoroTalk::Message::getCreateDigest()));
    if (isSaltOwn())
        appendLeaf(
            out, node, "/salt", "Salt", "of this process alone, as its file cannot be written");
}

void TevoroTalkThread::appendDiagnostics(SoString& out, const SoString& path) const
{
    const ObjectLock lock(*this);
    SoString node(path);
    node << "/thread";
    SoString interval = textOf(m_avgPumpInterval);
    interval << "ms";
    SoString since = textOf(std::max(0.0, sinceLastPump()));
    since << "ms ago";
    appendLine(out, node, "", "1", "Thread", getSpecifier());
    appendLeaf(out, node, "/avgpump", "Avg. pump interval", interval);
    appendLeaf(out, node, "/lastpump", "Last pump", since);
    appendSilentTargets(out, node, m_stream);
    if (m_pingData.length() == 0)
        return;
    node << "/ping";
    appendLine(out, node, "", "1", "Ping", textOf(m_pingData.length()));
    for (long i = 0; i < m_pingData.length(); ++i) {
        const PingData& entry = *m_pingData[i];
        SoString child(node);
        child << "/" << entry.key;
        appendLine(out, child, "", "1", entry.key, entry.value);
        SoString expiry = "undefined";
        if (entry.expires != 0) {
            expiry = "in ";
            const Moment now = momentNow();
            const std::int64_t point = entry.expires + now.secondsSetSince(entry.shift);
            expiry << long{point - now.seconds} << "secs at "
                   << TevoroTalkUtils::getTimeString(&point) << ";";
        }
        appendLeaf(out, child, "/timeout", "Timeout", expiry);
        appendLeaf(out,
            child,
            "/msghandler",
            "Handler",
            entry.handler != nullptr ? "installed" : "undefined");
    }
}

void TevoroTalk::appendDiagnostics(SoString& out, const SoString& path) const
{
    const SoString name = getAppName();
    SoString node(path);
    node << "/" << name;
    const char* role = "";
    // A context that an instance made for itself: the application never called init.
    if (get(getContext()) == this)
        role = contextOfFirstInstance() != nullptr ? "(main, init() hasn't been called)" : "(main)";
    appendLine(out, node, "", "1", name, role);
    const auto appendQueue = [&](const MessageQueue& queue, const char* child, const char* label) {
        SoString queuePath(node);
        queuePath << child;
        const long count = queue.appendDiagnostics(out, queuePath);
        appendLine(out, queuePath, "", "1", label, textOf(count));
    };
    appendQueue(m_data->incoming, "/in", "Incoming");
    appendQueue(m_data->outgoing, "/out", "Outgoing");
    appendSilentTargets(out, node, m_data->stream);
    m_data->appendDiagnostics(out, path);
}

void TevoroTalk::getDiagnostics(SoString& out, bool readable)
{
    out.shrink(0);
    SoString path = "/";
    path << getSharedAppName();
    if (const TevoroTalkContext* const context = getSharedContext()) {
        context->appendDiagnostics(out, path);
        context->getThread()->appendDiagnostics(out, path);
        SoString instances(path);
        instances << "/instances";
        appendLine(out, instances, "", "1", "Instances", textOf(context->getNumberOfInstances()));
        for (long i = 0; i < context->getNumberOfInstances(); ++i)
            if (const TevoroTalk* const instance = context->getNthInstance(i))
                instance->appendDiagnostics(out, instances);
        if (const TevoroTalkConnector* const connector = context->getConnector())
            connector->appendDiagnostics(out, path);
    }
    if (readable)
        out = reportOf(out);
}

} // namespace ScObjects
