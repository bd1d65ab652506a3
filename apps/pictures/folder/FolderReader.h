// Follows one folder at a time: reads it on a thread of its own, and again whenever it changes.
//
// Lives on a thread with an event loop, and emits there. The first contents of a folder come twice:
// names alone as soon as they are known, then with sizes and times. A folder that cannot be read,
// or is gone, gives contents with a problem, and is looked at again every two seconds until it can.
// One on a disk that does not answer gives nothing, and holds up neither the owner nor, but for a
// few of them at once, the folders that come after it.
#pragma once

#include "pictures/folder/FolderContents.h"
#include "platform/common/files/FolderWatch.h"

#include <QObject>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <memory>
#include <vector>

namespace pictures {

class FolderReader : public QObject {
    Q_OBJECT
public:
    explicit FolderReader(QObject* parent = nullptr);
    // Waits until the disks have answered the calls that are under way.
    ~FolderReader() override;

    // Leaves the former folder. An empty path: follows none.
    void follow(const QString& folder);
    const QString& folder() const { return m_folder; }
    // Reads it again now: for file systems that do not tell of changes.
    void refresh();
    bool isReading() const { return m_reading; }

Q_SIGNALS:
    void contentsRead(const pictures::FolderContents& contents);
    // Sizes and times are known, too.
    void finished();

private:
    struct Task;

    void startThread();
    void leaveThread();
    void read();
    void takeWatch(Task& task);
    void take(const std::shared_ptr<Task>& task, const FolderContents& contents, bool isWhole);
    void noteChange();

    QString m_folder;
    std::unique_ptr<QThread> m_thread;
    QObject* m_worker = nullptr; // lives on m_thread
    std::vector<std::unique_ptr<QThread>> m_leftThreads; // they end with what they are at
    Pt::FolderWatch m_watch;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_again; // changes come in swarms: one reading a tenth of a second for all
    std::shared_ptr<Task> m_task; // the latest
    bool m_reading = false;
    bool m_isFirst = true;
    bool m_changedMeanwhile = false;
};

} // namespace pictures
