// A thread that is created before it runs: the constructor creates it, and start() lets it proceed
// to run(). So run() of a derived class is never called before that class is constructed.
//
// The owner starts it once, makes run() return, waits with waitForRunExit(), and then deletes it.
// The destructor neither stops nor waits; it only ends a thread that was never started.
#pragma once

#include "messaging/SoLock.h"

#include <atomic>

namespace ScObjects {

class ThreadData;

class TEVOROTALK_API Thread : public SoLockable {
public:
    // Counts the users of threads and locks. The thread of the first user counts as the main
    // thread. init() is true only for the first user, exit() only for the last.
    class TEVOROTALK_API InitTerm {
    public:
        static bool init();
        static bool exit();
    };

    // error() is 32 if the system refuses a thread.
    Thread();
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    virtual void run() = 0;
    // Waits for the end of the thread. Must not be called by the thread itself, nor by two threads
    // at once.
    virtual bool waitForRunExit();
    // Called on the thread before run(), and after run() has returned or thrown.
    virtual void runInit();
    virtual void runExit();
    virtual void wait(unsigned int milliseconds);
    // Releases what others may wait for. Does not end run(): a class whose run() loops overrides
    // it.
    virtual bool stop();
    // Returns 0, or error(). A second call does nothing.
    virtual long start();

    // True while the thread is inside its run.
    bool isActive() const { return m_active; }
    // 0; 32: no thread; -28: run() ran out of memory; -29: run() threw another exception.
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
