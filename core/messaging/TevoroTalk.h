// The message bus, as an application holds it: one named mailbox with its queues and handlers.
//
// An application makes one instance, hands it a handler, and calls pump() whenever the instance's
// waitDescriptor() is readable; handlers run inside pump(), on the thread that calls it. Any thread
// may send. A thread of the bus answers questions of other processes meanwhile, also while the
// application is busy.
//
// An instance belongs to whoever makes it, until its context ends (InitTerm::exit), which deletes
// what is left. Deleting an instance sends the time-out notices that others asked for, and does not
// wait for anything else. A handler must not delete the instance that calls it.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"

#include <cstdint>

namespace ScObjects {

class TevoroTalkContext;
class TevoroTalkThread;
namespace TevoroTalkData {
class PrivateData;
}

class TEVOROTALK_API TevoroTalk : public SoLockable {
public:
    class Header; // Message.h
    class Message; // Message.h
    class Specifier; // Specifier.h
    class Thread; // TevoroTalkPing.h
    class MsgHandler; // MsgHandler.h

    // Which queues a pump works off. Values are bits.
    enum EnabledOperations { kIncoming = 1, kOutgoing = 2, kBoth = 3 };
    enum Focus { kTakeFocus = 0, kKeepFocus = 1 };

    // Starts and ends the bus in this process.
    class TEVOROTALK_API InitTerm {
    public:
        // In the background, unless `synchronous`: the first operation that needs the bus then
        // waits for the rest. False when the bus runs already, or (synchronous) when the name is
        // unusable.
        static bool init(const SoString& appName, bool synchronous);
        // Deletes all instances and stops the thread of the bus. False when it does not run.
        static bool exit();
    };

    // Takes the name, or that name with an instance number from 1 to 8 when it is held; see
    // getAppName() for which. Takes ownership of the handler, which may be null. With
    // `mainInstance`, no context and no bus yet, starts the bus, which ends with its last instance.
    TevoroTalk(
        const char* appName, MsgHandler* handler, bool mainInstance, TevoroTalkContext* context);
    ~TevoroTalk() override;
    TevoroTalk(const TevoroTalk&) = delete;
    TevoroTalk& operator=(const TevoroTalk&) = delete;

    // Sends a message; it gets a serial number, a sender and its full target. True when it was
    // delivered or, with `waitSeconds`, when it was worked off in that time (or answered by an
    // error or a time-out). A target that does not run is started with `launch`, and the message
    // waits for it in the outgoing queue for up to 600 seconds; false without. Blocks for up to 10
    // seconds when the target does not read, and for `waitSeconds`, pumping meanwhile.
    bool send(Message& message,
        bool launch,
        unsigned long waitSeconds,
        const SoString* launchOptions) const;
    // Answers a message that asked for "Result".
    bool sendResult(const Message& message, const SoString& result) const;

    // One step of the incoming side: takes in one text of the port, and with `dispatch` hands one
    // message to its handler. True if a message was dispatched.
    bool processIncomingMessage(std::uint32_t serialNumber, bool dispatch);
    // Tries all that waits in the outgoing queue once, in order. Always false.
    bool processOutgoingMessage();

    bool messagePending() const;
    bool incomingMessagePending() const;
    bool outgoingMessagePending() const;
    // Also one with another number may go: see MessageQueue::getNextMessage.
    bool removeIncomingMessage(std::uint32_t serialNumber);

    TevoroTalkContext* getContext() const;
    // Leaves the context it is in; null for the current one.
    void setContext(TevoroTalkContext* context);
    SoString getAppName() const;
    void setAppName(const char* name);

    // The handler of a type and number, else of the type alone; null when there is none. With an
    // empty type any handler of that number.
    MsgHandler* findHandler(const SoString& type, std::uint32_t serialNumber);
    MsgHandler* findHandler(const char* type, std::uint32_t serialNumber);
    // Takes ownership of the handler; what it replaces, or null, is the caller's to delete.
    MsgHandler* changeHandler(MsgHandler* handler);
    // Takes a handler out; the caller's to delete, or null.
    MsgHandler* removeHandler(const SoString& type, std::uint32_t serialNumber);
    bool deleteHandler(const MsgHandler* handler);
    bool deleteHandlers(std::uint32_t serialNumber);

    // One descriptor for an event loop (poll, epoll, QSocketNotifier): readable while pump() has
    // something to do for this instance, messages to take in or to dispatch, or a deadline that
    // passed. Belongs to the instance and stays the same for its life; do not read or close it. -1
    // when the process has no descriptors left.
    int waitDescriptor() const;
    // Waits until waitDescriptor() is readable, at most that long; negative for ever.
    bool waitForMessage(int milliseconds) const;

    static TevoroTalkContext* getSharedContext();
    static void setSharedContext(TevoroTalkContext* context);
    // The main instance of that context, or of the current one when it is null; null without.
    static TevoroTalk* get(TevoroTalkContext* context);
    static void set(TevoroTalk* instance, TevoroTalkContext* context);
    // The instance of exactly that name.
    static TevoroTalk* get(const char* name, TevoroTalkContext* context);
    // May ask other processes; see Specifier::isRunning.
    static bool targetIsRunning(const char* specifier);
    static bool bringToFront(const char* specifier, TevoroTalkContext* context);
    static bool launchTarget(
        const char* target, const char* parameters, Focus focus, TevoroTalkContext* context);
    static SoString getSharedAppName();
    static int getNumberOfRegisteredApplications();
    static SoString getApplicationSpecifier(int index);
    static SoString getDisplayName(
        const SoString& app, const SoString& version, const SoString& locale);
    static SoString getLaunchOptions();
    static bool suppressStartupScreen();

    // Works off what waits in all instances of the context (null: the current one, and without
    // waiting nothing while that is being set up) when it is called; right after waitForMessage()
    // the text that ended the wait. True if a message was dispatched: then more may be there.
    static bool pump(EnabledOperations operations, TevoroTalkContext* context);

    // The tree that describes this process, as lines or as a report for people; replaces `out`.
    static void getDiagnostics(SoString& out, bool readable);
    // This instance's part of it, below `path`.
    void appendDiagnostics(SoString& out, const SoString& path) const;

private:
    friend class TevoroTalkContext;
    friend class TevoroTalkThread;

    bool sendFrom(Message& message,
        bool launch,
        unsigned long waitSeconds,
        const SoString* launchOptions,
        bool isAnswer) const;
    bool sendResponse(const Message& message, const char* word, Message* reply) const;
    bool sendError(
        const Message& message, const char* text, long code, unsigned long waitSeconds) const;
    bool waitForResponse(const Message& message, unsigned long seconds) const;
    bool deliverHere(const Message& message) const;
    bool deliverThere(const Message& message,
        bool launch,
        const SoString* launchOptions,
        const char*& failure) const;
    void watchForTimeout(const Message& message) const;
    void waitForTarget(const SoString& target) const;
    bool dispatchIncoming();
    bool dispatchArrived(bool& dispatched);
    bool dispatchNext(std::uint32_t serialNumber);
    bool textPending() const;
    void takeIn(bool mustWait);
    bool putOneIncomingMessageInQueue();
    void sendReceipt(const Message& message) const;
    void handleMessage(Message& message);
    void handleCopy(const Message& message, Message& copy);
    void finishMessage(const Message& message);
    bool isCalled(const SoString& name) const;
    bool hasUnreadTexts() const;
    int portDescriptor() const;
    SoString getInfoRoot(const char* queue) const;

    TevoroTalkData::PrivateData* m_data;
};

} // namespace ScObjects
