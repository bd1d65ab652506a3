// What one process has on the bus: its instances, the thread that serves them, the counter of
// message numbers, and the main instance, which is meant when a caller names none. One context is
// the current one; it is made in the background (see TevoroTalkSetupThread), and whoever asks for
// it first waits for that.
//
// Any thread may call. The context owns its thread, and what instances are left at its end.
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
    // Starts the thread of the bus under that name.
    explicit TevoroTalkContext(const TevoroTalk::Specifier& specifier);
    // Waits for the thread to end, up to ten seconds if it is sending to a peer that does not read.
    ~TevoroTalkContext() override;
    TevoroTalkContext(const TevoroTalkContext&) = delete;
    TevoroTalkContext& operator=(const TevoroTalkContext&) = delete;

    // Waits for the set-up; null when the bus was not started.
    static TevoroTalkContext* getCurrentContext();
    // The new one takes over the instances of the current one, which is then deleted, and they with
    // it: whoever changes contexts does not use them afterwards.
    static void setCurrentContext(TevoroTalkContext* context);

    // 1, 2, 3 ... over all contexts of the process.
    std::uint32_t getNextSerialNumber();
    // The one that comes next; takes nothing.
    std::uint32_t nextSerialNumber() const;

    TevoroTalk* getMainInstance() const;
    void setMainInstance(TevoroTalk* instance);
    long getNumberOfInstances() const;
    // Null beyond the last.
    TevoroTalk* getNthInstance(long n) const;
    TevoroTalk* findInstance(TevoroTalk* instance) const;
    // By exactly that name.
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

    // Keeps the thread of the bus from working as long as this lives: what instances are there, and
    // what they consist of, may change meanwhile. Must not be made with other locks of the bus
    // held.
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
    // Asked for several times by every message: without the lock.
    std::atomic<TevoroTalk*> m_mainInstance{nullptr};
    std::atomic<bool> m_logging{false};
    mutable SoString m_signature TEVOROTALK_GUARDED_BY(this);
};

namespace TevoroTalkData {

// The context that was made on behalf of a first instance, and dies with the last one; null for
// none.
TevoroTalkContext* contextOfFirstInstance();
void setContextOfFirstInstance(TevoroTalkContext* context);

} // namespace TevoroTalkData
} // namespace ScObjects
