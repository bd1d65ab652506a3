// The state of one process on the bus: its instances, the thread that serves them, the counter of
// message numbers, and the main instance, which is the default where a caller names none. One
// context is the current one. It is set up in the background (see TevoroTalkSetupThread); the first
// caller that needs it waits for that.
//
// Any thread may call. The context owns its thread, and the instances that are left at its end.
#pragma once

#include "messaging/SoVector.h"
#include "messaging/Specifier.h"

#include <atomic>
#include <optional>

namespace ScObjects {

class TevoroTalkConnector;
class TevoroTalkThread;

class TEVOROTALK_API TevoroTalkContext : public SoLockable {
public:
    // Starts the thread of the bus under that name; with `awaitsInstance` not before the main
    // instance has got its name.
    explicit TevoroTalkContext(const TevoroTalk::Specifier& specifier, bool awaitsInstance = false);
    // Waits for the thread to end: up to ten seconds if it is sending to a peer that does not read.
    ~TevoroTalkContext() override;
    TevoroTalkContext(const TevoroTalkContext&) = delete;
    TevoroTalkContext& operator=(const TevoroTalkContext&) = delete;

    // Waits for the set-up. Null if the bus was not started.
    static TevoroTalkContext* getCurrentContext();
    // Replaces the current context, which is deleted together with its instances: do not use them
    // afterwards. The new context continues its message numbers.
    static void setCurrentContext(TevoroTalkContext* context);

    // Counts 1, 2, 3 ... over all contexts of the process.
    std::uint32_t getNextSerialNumber();
    // The next number, without taking it.
    std::uint32_t nextSerialNumber() const;

    TevoroTalk* getMainInstance() const;
    void setMainInstance(TevoroTalk* instance);
    // A copy of an application has one number: the thread and the stream for questions take the
    // number that the main instance got, if they are called like it otherwise.
    void followMainInstance();
    long getNumberOfInstances() const;
    // Null if n is beyond the last.
    TevoroTalk* getNthInstance(long n) const;
    TevoroTalk* findInstance(TevoroTalk* instance) const;
    // The instance with exactly that name, or null.
    TevoroTalk* findInstance(const SoString& name) const;
    void appendInstance(TevoroTalk* instance);
    void removeInstance(const TevoroTalk* instance);
    void appendContext(const TevoroTalkContext& other);

    TevoroTalkThread* getThread() const;
    TevoroTalkConnector* getConnector() const;
    // The name of the main instance, else that of the thread, without a suffix.
    SoString getAppSpecifier() const;
    SoString getSignature() const;

    bool isLogging() const;
    void setLogging(bool on);

    void appendDiagnostics(SoString& out, const SoString& path) const;

    // Pauses the thread of the bus while this object lives, so that instances and their parts can
    // be changed. Must not be created while other locks of the bus are held.
    class PausedThread {
    public:
        explicit PausedThread(const TevoroTalkContext* context);

    private:
        std::optional<ObjectLock> m_lock;
    };

private:
    void succeed(TevoroTalkContext* former);

    TevoroTalkThread* m_thread = nullptr; // constant after construction
    std::uint32_t m_nextSerialNumber TEVOROTALK_GUARDED_BY(this);
    SoVector<TevoroTalk> m_instances TEVOROTALK_GUARDED_BY(this);
    // Atomic, not under the lock: every message reads it several times.
    std::atomic<TevoroTalk*> m_mainInstance{nullptr};
    std::atomic<bool> m_logging{false};
    mutable SoString m_signature TEVOROTALK_GUARDED_BY(this);
};

namespace TevoroTalkData {

// The context that a first instance created for itself, and which ends with the last instance; or
// null.
TevoroTalkContext* contextOfFirstInstance();
void setContextOfFirstInstance(TevoroTalkContext* context);
// Starts the bus for it, without a port: the instance takes its name first, and then
// followMainInstance() lets the others have theirs.
void startForInstance(const SoString& appName);

} // namespace TevoroTalkData
} // namespace ScObjects
