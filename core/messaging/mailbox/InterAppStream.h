// A stream is a named mailbox of this process, and sends to the mailboxes of others. It transfers
// whole texts, one at a time and one way. Each name belongs to one stream per user and machine. A
// stream that could not get its name is not good: it neither sends nor receives.
//
// Any thread may use a stream. Sending has a lock of its own, so that it does not block receiving;
// it may block for ten seconds. Deleting a stream releases its name and drops unread texts.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/TevoroTalk.h"

#include <chrono>
#include <memory>

namespace Pt {
class LocalPort;
class LocalPortSender;
} // namespace Pt

namespace ScObjects {

// The prefix of all port names.
extern const char* const gPortName;

// How long a send waits for a process that does not read (docs/bus.md).
inline constexpr std::chrono::milliseconds kSendPatience{10'000};

class BaseInterAppStream : public SoLockable {
public:
    BaseInterAppStream(const SoString& specifier, bool flag);
    ~BaseInterAppStream() override;
    BaseInterAppStream(const BaseInterAppStream&) = delete;
    BaseInterAppStream& operator=(const BaseInterAppStream&) = delete;

    // Whether there is no received text that getMessages() would return.
    virtual bool isEmpty() const = 0;
    // Returns the texts received so far, concatenated; empties the stream.
    virtual SoString getMessages() = 0;
    virtual bool isGood() const = 0;
    // True once the text is in the mailbox of `target`. False at once if nobody holds that name,
    // and after a timeout of ten seconds if its holder does not read.
    virtual bool send(const SoString& target, const SoString& text) const = 0;
    // Moves the oldest text that arrived to those that getMessages() returns. Replaces each NUL
    // with a line feed.
    virtual bool receive() = 0;
    // Reads what has arrived, without waiting. Whether there is something to receive.
    virtual bool messagePending() const = 0;
    // Whether nobody holds that name.
    virtual bool canOpen(const SoString& name, bool flag) const = 0;

    const SoString& getSpecifier() const { return m_specifier; }
    bool usesNX2Name() const { return true; }
    // The size of the largest text so far, and no less than the first buffer's. A text stays in the
    // block in which it came, so that there is no buffer beside it.
    long bufferSize() const;

protected:
    // Appends a text to the collected ones. Takes ownership of its block.
    void collect(char* text, long length) TEVOROTALK_REQUIRES(this);

    SoString m_messages TEVOROTALK_GUARDED_BY(this);
    long m_bufferSize TEVOROTALK_GUARDED_BY(this);
    // Constant after construction.
    SoString m_specifier;
    SoString m_portPrefix;
    SoString m_queueName;
};

class MacInterAppStream : public BaseInterAppStream {
public:
    // One text that arrived. release() gives up ownership of its block.
    class DataRef final : public SoHeap {
    public:
        DataRef(const char* text, long textLength);
        ~DataRef() override;
        DataRef(const DataRef&) = delete;
        DataRef& operator=(const DataRef&) = delete;
        char* release();

        char* data; // null if there was no memory
        long length;
    };

    MacInterAppStream(const SoString& specifier, bool flag);
    ~MacInterAppStream() override;

    bool isEmpty() const override;
    SoString getMessages() override;
    bool isGood() const override;
    bool send(const SoString& target, const SoString& text) const override;
    // The same for a text in two pieces.
    bool send(const SoString& target, const SoString& head, const SoString& rest) const;
    // The same, but waits that long for a holder that makes no room, not ten seconds.
    bool sendWithin(std::chrono::milliseconds patience,
        const SoString& target,
        const SoString& head,
        const SoString& rest = SoString()) const;
    // A message as its text goes, to its target. False, too, when it has no target or no sender.
    bool sendMessage(const TevoroTalk::Message& message) const;
    bool receive() override;
    bool messagePending() const override;
    bool canOpen(const SoString& name, bool flag) const override;

    SoVector<DataRef>& getMsgQueue() { return m_msgQueue; }
    // Whether messagePending() has read a text that was not received yet.
    bool hasUnreadTexts() const;
    // Whether the last messagePending() left texts of a sender in the port.
    bool hasMore() const;
    // Readable while messagePending() has something to read; -1 without a port.
    int waitDescriptor() const;
    // Makes wait() also end for that descriptor; call it before the first wait. False if the
    // process has no descriptors left, and always without a port.
    bool wakeOn(int descriptor);
    // Waits for a text, up to that timeout. Requires a port, and wakeOn(); one thread at a time.
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
