#include "platform/common/devices/PtIoThread.h"

#include "platform/common/threads/Lock.h"
#include "platform/common/threads/PtMutex.h"
#include "platform/common/threads/PtSemaphore.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Pt {

namespace {

constexpr int kMaxWorkers = 8;

// The workers for files and what tells them to end.
class FileWorkerSet {
public:
    explicit FileWorkerSet(int count)
    {
        const int wanted = std::clamp(count, 0, kMaxWorkers);
        FileWorkers.reserve(static_cast<std::size_t>(wanted)); // what has begun must find its place
        try {
            for (int i = 0; i < wanted; ++i) {
                auto worker = std::make_unique<IoThread>();
                worker->begin();
                FileWorkers.push_back(std::move(worker));
            }
        } catch (...) {
            end();
            throw;
        }
    }
    FileWorkerSet(const FileWorkerSet&) = delete;
    FileWorkerSet& operator=(const FileWorkerSet&) = delete;

    void end()
    {
        {
            const MutexHeld held(FileMutex_);
            m_isShutDown = true;
        }
        for (std::size_t i = 0; i < FileWorkers.size(); ++i)
            FileSema_.post();
        for (const auto& each : FileWorkers)
            each->join();
        FileWorkers.clear();
    }

    int count() const { return static_cast<int>(FileWorkers.size()); }

private:
    Mutex FileMutex_;
    Semaphore FileSema_;
    bool m_isShutDown TEVORO_GUARDED_BY(FileMutex_) = false;
    std::vector<std::unique_ptr<IoThread>> FileWorkers;
};

Lock gLock;
// A plain pointer: the end of the process does not wait for workers.
FileWorkerSet* gWorkers TEVORO_GUARDED_BY(gLock) = nullptr;

} // namespace

void IoFileInit(int workers)
{
    const Locked locked(gLock);
    if (!gWorkers)
        gWorkers = new FileWorkerSet(workers);
}

void IoFileUninit()
{
    const Locked locked(gLock);
    FileWorkerSet* const ended = std::exchange(gWorkers, nullptr);
    if (!ended)
        return;
    ended->end(); // when it throws, a worker may still use the set, which stays then
    delete ended; // by hand: a smart pointer's end would not let the semaphore's failure out
}

int IoFileWorkerCount()
{
    const Locked locked(gLock);
    return gWorkers ? gWorkers->count() : 0;
}

void IoSocketInit(int) { }

void IoSocketUninit() { }

} // namespace Pt
