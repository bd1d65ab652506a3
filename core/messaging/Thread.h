// A thread that exists before it may run: the constructor makes it, start() lets it go on to run(),
// so that run() of a derived class is never called before that class is whole.
//
// The owner starts it once, makes its run() end, waits for that with waitForRunExit(), and then
// deletes it. Deleting neither stops nor waits; only a thread that was never started is ended by
// the destructor.
#pragma once

#include "messaging/SoLock.h"

#include <atomic>

namespace ScObjects {

class ThreadData;

class TEVOROTALK_API Thread : public SoLockable {
public:
    // Counts the users of threads and locks. The thread of the first one is taken for the main
    // thread. Both answer true only on the first and on the last step.
    class TEVOROTALK_API InitTerm {
    public:
        static bool init();
        static bool exit();
    };

    // error() is 32 when the system gives no thread.
    Thread();
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    virtual void run() = 0;
    // Waits for the end of the thread. Not to be called by the thread itself, nor by two at once.
    virtual bool waitForRunExit();
    // Called on the thread before run(), and after it has ended or thrown.
    virtual void runInit();
    virtual void runExit();
    virtual void wait(unsigned int milliseconds);
    // Gives up what others may wait for. Does not end run(): a class whose run() loops overrides
    // it.
    virtual bool stop();
    // 0, or what hinders. A second call does nothing.
    virtual long start();

    // True while the thread is inside its run.
    bool isActive() const { return m_active; }
    // 0; 32 when there is no thread; -28 when run() ended out of memory, -29 by another exception.
    long error() const { return m_error; }
    bool isCurrent() const;

    // One sleep of the system: a signal may end it early.
    static void sleep(unsigned int milliseconds);
    // 0 on the main thread, else the system's handle of the calling thread.
    static unsigned long getCurrentID();

private:
    void go();
    void runGuarded();

    ThreadData* m_data;
    std::atomic<unsigned long> m_threadId{0};
    std::atomic<long> m_error{0};
    std::atomic<bool> m_active{false};
    bool m_started = false; // used by the thread that made this one
};

} // namespace ScObjects
