#include "pictures/folder/FolderReader.h"

#include "pictures/folder/PathText.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace pictures {

using namespace std::chrono_literals;

namespace {

constexpr auto kAfterChange = 100ms;
constexpr auto kAfterProblem = 2s;
constexpr std::size_t kMaxLeftThreads = 8;

} // namespace

// One reading. Outlives the reader's interest in it.
struct FolderReader::Task {
    QString folder;
    bool namesFirst = false;
    bool isWatched = false; // by the owner, from before
    std::atomic<bool> cancelled = false;
    Pt::FolderWatch watch; // the thread's, until it hands over the first contents
};

FolderReader::FolderReader(QObject* parent)
    : QObject(parent)
{
    startThread();
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &FolderReader::refresh);
}

FolderReader::~FolderReader()
{
    if (m_task)
        m_task->cancelled = true;
    m_thread->quit();
    m_leftThreads.push_back(std::move(m_thread));
    for (const auto& thread : m_leftThreads)
        thread->wait();
}

void FolderReader::startThread()
{
    m_thread = std::make_unique<QThread>();
    m_worker = new QObject;
    m_worker->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread->setObjectName(QStringLiteral("folder"));
    m_thread->start();
}

// The disk may hold it up for ever.
void FolderReader::leaveThread()
{
    std::erase_if(m_leftThreads, [](const auto& thread) { return thread->isFinished(); });
    if (m_leftThreads.size() == kMaxLeftThreads)
        return;
    m_thread->quit();
    m_leftThreads.push_back(std::move(m_thread));
    startThread();
}

void FolderReader::follow(const QString& folder)
{
    m_folder = folder;
    m_isFirst = true;
    m_notifier.reset();
    m_watch = {};
    m_again.stop();
    if (m_task)
        m_task->cancelled = true;
    m_task.reset();
    if (std::exchange(m_reading, false))
        leaveThread();
    if (!m_folder.isEmpty())
        read();
}

void FolderReader::refresh()
{
    if (m_reading)
        m_changedMeanwhile = true;
    else if (!m_folder.isEmpty())
        read();
}

// It was made before the folder was read: what has changed since is noticed now.
void FolderReader::takeWatch(Task& task)
{
    if (!task.watch.isWatching())
        return;
    m_notifier.reset();
    m_watch = std::move(task.watch);
    task.watch = {};
    m_notifier =
        std::make_unique<QSocketNotifier>(m_watch.descriptor(), QSocketNotifier::Read, nullptr);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &FolderReader::noteChange);
}

void FolderReader::noteChange()
{
    if (!m_watch.takeChanges())
        return;
    if (!m_watch.isWatching())
        m_notifier->setEnabled(false); // deleted by the next watch: it is what calls us
    if (m_reading)
        m_changedMeanwhile = true;
    else if (!m_again.isActive())
        m_again.start(kAfterChange);
}

void FolderReader::read()
{
    m_again.stop();
    m_reading = true;
    m_changedMeanwhile = false;
    m_task = std::make_shared<Task>();
    m_task->folder = m_folder;
    m_task->namesFirst = m_isFirst;
    m_task->isWatched = m_watch.isWatching();
    const auto run = [this, task = m_task] {
        if (!task->isWatched)
            task->watch = Pt::FolderWatch(pathBytes(task->folder));
        FolderContents contents = listFolder(task->folder, &task->cancelled);
        const auto hand = [this, &task](const FolderContents& read, bool isWhole) {
            QMetaObject::invokeMethod(
                this,
                [this, task, read, isWhole] { take(task, read, isWhole); },
                Qt::QueuedConnection);
        };
        if (task->namesFirst)
            hand(contents, false);
        addFileStatus(contents, &task->cancelled);
        hand(contents, true);
    };
    QMetaObject::invokeMethod(m_worker, run, Qt::QueuedConnection);
}

void FolderReader::take(
    const std::shared_ptr<Task>& task, const FolderContents& contents, bool isWhole)
{
    if (task != m_task)
        return; // of a folder that nobody looks at any more
    m_isFirst = false;
    takeWatch(*task);
    if (!isWhole) {
        Q_EMIT contentsRead(contents);
        return;
    }
    m_reading = false;
    const bool again = m_changedMeanwhile;
    const bool hasProblem = !contents.problem.isEmpty();
    Q_EMIT contentsRead(contents);
    Q_EMIT finished();
    if (task != m_task || m_reading)
        return; // whoever was told has asked for another
    if (again)
        m_again.start(kAfterChange);
    else if (hasProblem || !m_watch.isWatching())
        m_again.start(kAfterProblem);
}

} // namespace pictures
