#include "messaging/process/TevoroTalkSetupThread.h"

#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/process/TevoroTalkThread.h"
#include "platform/common/threads/CurrentThread.h"
#include "registry/TevoroTalkConnector.h"

#include <mutex>

namespace ScObjects {

namespace {

constexpr unsigned int kLookAgain = 10; // milliseconds

constinit std::atomic<TevoroTalkSetupThread*> gTevoroTalkSetupThread{nullptr};
constinit std::atomic<TevoroTalkContext*> gTevoroTalkContext{nullptr};
constinit std::atomic<bool> gSetupThreadDone{false};
// The handle of the thread that sets up in the background, while it does.
constinit std::atomic<unsigned long> gSetupThreadId{0};
// Milliseconds; 0.0 until set.
constinit std::atomic<double> gSetupThreadStarted{0.0};
constinit std::atomic<double> gSetupThreadEnded{0.0};
constinit std::atomic<double> gSetupThreadSynced{0.0};
// Several threads may need the context first.
constinit std::mutex gSyncLock;

bool setIfUnset(std::atomic<double>& time)
{
    // Only the first time counts: several threads may come to need the context at once.
    double unset = 0.0;
    return time.compare_exchange_strong(unset, TevoroTalkUtils::getUTCTimeMilliSeconds());
}

// How long the set-up took, and how much earlier it was done than it was needed or how long
// somebody had to wait for it.
SoString setupTimes()
{
    SoString text = "thread=";
    text << gSetupThreadEnded - gSetupThreadStarted << "ms, ";
    const double left = gSetupThreadSynced - gSetupThreadEnded;
    if (gSetupThreadSynced == 0.0)
        text << "(synchronous setup)";
    else if (left >= 0.0)
        text << "left=" << left << "ms";
    else
        text << "lost=" << -left << "ms";
    return text;
}

void SaveSetupTime()
{
    const TevoroTalkContext* const context = gTevoroTalkContext;
    if (gSetupThreadEnded == 0.0 || context == nullptr)
        return;
    const SoString text = setupTimes();
    context->getThread()->setKeyValuePair("SETUPTIME", text);
}

class TrackSetupTime {
public:
    TrackSetupTime() { setIfUnset(gSetupThreadStarted); }
    ~TrackSetupTime()
    {
        setIfUnset(gSetupThreadEnded);
        SaveSetupTime();
    }
    TrackSetupTime(const TrackSetupTime&) = delete;
    TrackSetupTime& operator=(const TrackSetupTime&) = delete;
};

void deleteWords(SoVector<SoString>& words)
{
    for (long i = words.length() - 1; i >= 0; --i)
        delete words.removeAt(i);
}

bool applyOption(const SoString& name, const SoString& value, TevoroTalk::Specifier& specifier)
{
    if (name == "-specifier")
        specifier = TevoroTalk::Specifier(value, false);
    else if (name == "-instance")
        specifier.setInstance(value);
    else
        return false;
    return true;
}

// A process may be told by its launcher which specifier or instance it is. The last word is no
// option, as nothing follows it; of the two options the first counts.
void applyLaunchOptions(const SoString& parameters, TevoroTalk::Specifier& specifier)
{
    SoVector<SoString> words;
    TevoroTalkUtils::parseOptions(parameters, words);
    for (long i = 0; i + 1 < words.length(); ++i) {
        if (applyOption(*words[i], *words[i + 1], specifier))
            break;
    }
    deleteWords(words);
}

void runLocked(const SoString& appName, bool awaitsInstance, SoString& error)
{
    if (const TevoroTalkConnector* const connector = TevoroTalkConnector::get())
        connector->getNumberOfRegisteredApplications(); // makes it load
    TevoroTalk::Specifier specifier(appName, true);
    SoString parameters;
    if (specifier.isEmpty() || !TevoroTalkUtils::getLaunchParameters(appName, parameters)) {
        error = "INVALIDSPEC";
        return;
    }
    if (!parameters.isEmpty())
        applyLaunchOptions(parameters, specifier);
    auto* const context = new TevoroTalkContext(specifier, awaitsInstance);
    // Before it becomes the current one: whoever finds it there may delete it, and that forgets it
    // here.
    gTevoroTalkContext = context;
    TevoroTalkContext::setCurrentContext(context);
    if (!parameters.isEmpty())
        context->getThread()->setKeyValuePair("LAUNCHPARAMS", parameters);
}

} // namespace

TevoroTalkSetupThread::TevoroTalkSetupThread(const SoString& appName)
    : m_appName(appName)
{
    const ObjectLock lock(*this);
    TevoroTalkSetupThread* none = nullptr;
    gTevoroTalkSetupThread.compare_exchange_strong(none, this);
}

TevoroTalkSetupThread::~TevoroTalkSetupThread()
{
    const ObjectLock lock(*this);
    TevoroTalkSetupThread* self = this;
    gTevoroTalkSetupThread.compare_exchange_strong(self, nullptr);
}

void TevoroTalkSetupThread::run()
{
    const ObjectLock lock(*this);
    gSetupThreadId = Pt::currentThreadHandle();
    {
        const TrackSetupTime time;
        runLocked(m_appName, false, m_errorText);
    }
    gSetupThreadId = 0;
    gSetupThreadDone = true;
    // Last: whoever sees this one takes the set-up for done.
    m_done = true;
}

bool TevoroTalkSetupThread::isSetupThreadRunning()
{
    // Also asked by the thread of the bus while somebody joins and deletes the set-up thread: the
    // flag, not the object, is what is looked at.
    return gTevoroTalkSetupThread != nullptr && !gSetupThreadDone;
}

bool TevoroTalkSetupThread::syncWithSetupThread()
{
    // The set-up itself asks for the context, and would wait for its own end.
    if (gSetupThreadId == Pt::currentThreadHandle())
        return true;
    // Without the lock, as the time is kept in the store of the bus's thread, which may be waiting
    // here.
    const bool somethingToWaitFor = gSetupThreadDone || gTevoroTalkSetupThread != nullptr;
    if (somethingToWaitFor && setIfUnset(gSetupThreadSynced))
        SaveSetupTime();
    const std::lock_guard lock(gSyncLock);
    TevoroTalkSetupThread* const thread = gTevoroTalkSetupThread;
    if (thread == nullptr)
        return true;
    while (!thread->m_done && !thread->isActive())
        Thread::sleep(kLookAgain);
    thread->waitForRunExit();
    delete thread;
    return true;
}

bool TevoroTalkSetupThread::startSetupThread(const SoString& appName)
{
    if (gSetupThreadDone)
        return false;
    auto* const thread = new TevoroTalkSetupThread(appName);
    if (thread->start() != 0) {
        // No thread to be had: the work is done here.
        delete thread;
        return runSetup(appName);
    }
    return true;
}

bool TevoroTalkSetupThread::runSetup(const SoString& appName, bool awaitsInstance)
{
    if (gSetupThreadDone)
        return false;
    SoString error;
    {
        const TrackSetupTime time;
        runLocked(appName, awaitsInstance, error);
    }
    gSetupThreadDone = true;
    return error.isEmpty();
}

void TevoroTalkSetupThread::forgetContext(const TevoroTalkContext* context)
{
    if (gTevoroTalkContext != context)
        return;
    gTevoroTalkContext = nullptr;
    startOver();
}

void TevoroTalkSetupThread::startOver()
{
    gSetupThreadDone = false;
    for (auto* const time : {&gSetupThreadStarted, &gSetupThreadEnded, &gSetupThreadSynced})
        *time = 0.0;
}

} // namespace ScObjects
