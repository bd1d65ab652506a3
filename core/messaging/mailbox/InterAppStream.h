// A stream is a named mailbox of this process, and sends to the mailboxes of others. It transfers
// whole texts, one at a time and one way. Each name belongs to one stream per user and machine. A
// stream that could not get its name is not good: it neither sends nor receives.
//
// Any thread may use a stream. A send may wait for ten seconds, and holds up neither receiving nor
// the sends of other threads. Deleting a stream releases its name and drops unread texts.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/TevoroTalk.h"
#include "messaging/mailbox/SilentTargets.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <memory>

namespace ScObjects {

// The prefix of all port names.
extern const char* const gPortName;

// How long a send waits for a process that does not read (docs/bus.md).
inline constexpr std::chrono::milliseconds kSendPatience{10'000};

// The same where somebody else's question may wait behind the send.
inline constexpr std::chrono::milliseconds kBriefPatience{100};

// A second copy of an application is instance 1, and there are nine copies at most.
inline constexpr int kMaxInstances = 8;

// What may wait unread, in a stream and again in a queue behind it: that many texts, or bytes and
// one text. The rest stays in the port, and its senders wait (docs/bus.md).
struct UnreadBound {
    std::size_t texts;
    std::size_t bytes;

    // The bound now: eight times as large while a send of this process is under way, which may wait
    // for somebody who waits for this process.
    static UnreadBound now();
};

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
    // The same, but does not wait for a target that has let such a send wait for nothing, until it
    // has read something.
    bool sendUnlessSilent(std::chrono::milliseconds patience,
        const SoString& target,
        const SoString& head,
        const SoString& rest = SoString()) const;
    // A message as its text goes, to its target. False, too, when it has no target or no sender.
    bool sendMessage(const TevoroTalk::Message& message) const;
    bool sendMessageUnlessSilent(
        std::chrono::milliseconds patience, const TevoroTalk::Message& message) const;
    TevoroTalkData::SilentTargets& silentTargets() const { return m_silentTargets; }
    bool receive() override;
    bool messagePending() const override;
    bool canOpen(const SoString& name, bool flag) const override;

    SoVector<DataRef>& getMsgQueue() { return m_msgQueue; }
    // Whether messagePending() has read a text that was not received yet.
    bool hasUnreadTexts() const;
    long unreadTexts() const;
    // Whether messagePending() would read another text. If not, the port stays readable.
    bool hasRoom() const;
    // Whether the last messagePending() left texts of a sender in the port.
    bool hasMore() const;
    // Readable while messagePending() has something to read; -1 without a port.
    int waitDescriptor() const;
    // Makes wait() also end for that descriptor; call it before the first wait. False if the
    // process has no descriptors left, and always without a port.
    bool wakeOn(int descriptor);
    // Puts the files of the name back if something has removed them: see LocalPort::keepName.
    void keepName() const;
    // Removes them, for good: see LocalPort::giveUpName.
    void giveUpName() const;
    // Waits for a text, up to that timeout. Requires a port, and wakeOn(); one thread at a time.
    bool wait(std::chrono::milliseconds limit) const;
    // Gives the name up; from then on the stream is not good. Not while somebody is in wait().
    void closePort();

private:
    std::unique_ptr<Pt::LocalPort> m_port;
    std::unique_ptr<Pt::LocalPortSender> m_sender; // its own locks guard it
    void keepUnread(const char* text, long length) const TEVOROTALK_REQUIRES(this);
    Pt::LocalPort::Bound roomLeft() const TEVOROTALK_REQUIRES(this);

    mutable SoVector<DataRef> m_msgQueue TEVOROTALK_GUARDED_BY(this);
    mutable std::size_t m_unreadBytes TEVOROTALK_GUARDED_BY(this) = 0;
    mutable TevoroTalkData::SilentTargets m_silentTargets;
};

class InterAppStream final : public MacInterAppStream {
public:
    // The stream that the process asks its questions over.
    class InitTerm {
    public:
        // Replaces it by one of that name with the suffix "ping".
        static void init(const SoString& appName);
        static void exit();
        // Takes the number that `appName` has, if it is called like it otherwise; made if it is
        // missing. False if somebody else has that name: then there is none, but for the last
        // attempt, which takes whatever number is free.
        static bool follow(const SoString& appName, bool isLast);
        // Whether it is there under that name.
        static bool isCalled(const SoString& name);
        // See keepName() and giveUpName(); nothing when there is none.
        static void keepName();
        static void giveUpName();
    };

    InterAppStream(const SoString& specifier, bool flag);

    // Made under another name when there is none; null when none can be had.
    static InterAppStream* get();
};

} // namespace ScObjects
