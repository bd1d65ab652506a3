// A stream is a named mailbox of this process and, through it, the way to the mailboxes of others.
// Whole texts travel, one at a time, without a reply on the same way. The name belongs to one
// stream on the machine for this user; a stream that could not get its name is not good, and sends
// and receives nothing.
//
// Any thread may use a stream. Sending has a lock of its own, so that it does not hold up
// receiving; it may block for ten seconds. Deleting a stream frees its name and loses the texts
// that were not taken.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"
#include "messaging/SoVector.h"

#include <chrono>
#include <memory>

namespace Pt {
class LocalPort;
class LocalPortSender;
} // namespace Pt

namespace ScObjects {

// What the name of every port begins with.
extern const char* const gPortName;

class BaseInterAppStream : public SoLockable {
public:
    BaseInterAppStream(const SoString& specifier, bool flag);
    ~BaseInterAppStream() override;
    BaseInterAppStream(const BaseInterAppStream&) = delete;
    BaseInterAppStream& operator=(const BaseInterAppStream&) = delete;

    // Whether there is no text that was received and not collected.
    virtual bool isEmpty() const = 0;
    // The texts received so far, one right behind the other; empties the stream.
    virtual SoString getMessages() = 0;
    virtual bool isGood() const = 0;
    // True once the text lies in the mailbox of `target`; false at once when nobody holds it, and
    // after ten seconds when its holder makes no room.
    virtual bool send(const SoString& target, const SoString& text) const = 0;
    // Moves the oldest text that arrived to those to be collected. A NUL in it becomes a line feed.
    virtual bool receive() = 0;
    // Looks what has arrived, without waiting; whether there is something to receive.
    virtual bool messagePending() const = 0;
    // Whether nobody holds that name.
    virtual bool canOpen(const SoString& name, bool flag) const = 0;

    const SoString& getSpecifier() const { return m_specifier; }
    bool usesNX2Name() const { return true; }
    // Room for one text; grows to the size of the largest.
    long bufferSize() const;

protected:
    // Puts a text behind the collected ones. Takes over the block that it lies in.
    void collect(char* text, long length) TEVOROTALK_REQUIRES(this);

    SoString m_messages TEVOROTALK_GUARDED_BY(this);
    char* m_buffer TEVOROTALK_GUARDED_BY(this);
    long m_bufferSize TEVOROTALK_GUARDED_BY(this);
    // Constant after construction.
    SoString m_specifier;
    SoString m_portPrefix;
    SoString m_queueName;
};

class MacInterAppStream : public BaseInterAppStream {
public:
    // One text that arrived; the block belongs to whoever takes it.
    class DataRef final : public SoHeap {
    public:
        DataRef(const char* text, long textLength);
        ~DataRef() override;
        DataRef(const DataRef&) = delete;
        DataRef& operator=(const DataRef&) = delete;
        char* release();

        char* data; // null when there was no memory for it
        long length;
    };

    MacInterAppStream(const SoString& specifier, bool flag);
    ~MacInterAppStream() override;

    bool isEmpty() const override;
    SoString getMessages() override;
    bool isGood() const override;
    bool send(const SoString& target, const SoString& text) const override;
    // The same of a text that lies in two pieces.
    bool send(const SoString& target, const SoString& head, const SoString& rest) const;
    bool receive() override;
    bool messagePending() const override;
    bool canOpen(const SoString& name, bool flag) const override;

    SoVector<DataRef>& getMsgQueue() { return m_msgQueue; }
    // Whether a text arrived that was looked at by messagePending() and not received yet.
    bool hasUnreadTexts() const;
    // Whether the last look left texts of a sender in the port.
    bool hasMore() const;
    // Readable while messagePending() has something to look at; -1 without a port.
    int waitDescriptor() const;
    // From now on wait() ends for that descriptor too; before the first wait. False when the
    // process has no descriptors left, and always without a port.
    bool wakeOn(int descriptor);
    // Waits for a text, at most that long. Needs a port, and wakeOn(); one thread at a time.
    bool wait(std::chrono::milliseconds limit) const;

private:
    std::unique_ptr<Pt::LocalPort> m_port;
    std::unique_ptr<Pt::LocalPortSender> m_sender TEVOROTALK_THREAD_ATTRIBUTE(
        pt_guarded_by(m_sendLock));
    mutable SoVector<DataRef> m_msgQueue TEVOROTALK_GUARDED_BY(this);
    SoLockable m_sendLock;
};

class InterAppStream final : public MacInterAppStream {
public:
    // The stream that the process asks its questions over.
    class InitTerm {
    public:
        // Replaces it by one of that name with the suffix "ping".
        static void init(const SoString& appName);
        static void exit();
    };

    InterAppStream(const SoString& specifier, bool flag);

    // Made under another name when there is none; null when none can be had.
    static InterAppStream* get();
};

} // namespace ScObjects
