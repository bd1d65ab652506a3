// The message bus as an application sees it: one named mailbox with its queues and handlers.
//
// An application creates one instance, gives it a handler, and calls pump() whenever the instance's
// waitDescriptor() is readable. Handlers run inside pump(), on the thread that calls it. Any thread
// may send. Meanwhile a thread of the bus answers questions of other processes, even while the
// application is busy.
//
// An instance belongs to whoever creates it, until its context ends (InitTerm::exit) and deletes
// the remaining ones. Deleting an instance sends the timeout notices that others asked for, and
// waits for nothing else. A handler must not delete the instance that calls it.
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
namespace TevoroTalkUtils {
class Launcher;
}

class TEVOROTALK_API TevoroTalk : public SoLockable {
public:
    class Header; // Message.h
    class Message; // Message.h
    class Specifier; // Specifier.h
    class Thread; // TevoroTalkPing.h
    class MsgHandler; // MsgHandler.h

    // Which queues pump() processes. Bit values.
    enum EnabledOperations { kIncoming = 1, kOutgoing = 2, kBoth = 3 };
    enum Focus { kTakeFocus = 0, kKeepFocus = 1 };

    // Starts and ends the bus in this process.
    class TEVOROTALK_API InitTerm {
    public:
        // Sets up in the background, unless `synchronous`; the first operation that needs the bus
        // waits until the set-up is done. False if the bus is running already, or (synchronous) if
        // the name is unusable.
        static bool init(const SoString& appName, bool synchronous);
        // Deletes all instances and stops the thread of the bus. False if the bus is not running.
        static bool exit();
    };

    // Takes the name or, if it is held already, that name with an instance number from 1 to 8; see
    // getAppName(). Takes ownership of the handler, which may be null. With `mainInstance`, without
    // a context, and if the bus is not running, starts the bus, which ends with its last instance.
    TevoroTalk(
        const char* appName, MsgHandler* handler, bool mainInstance, TevoroTalkContext* context);
    ~TevoroTalk() override;
    TevoroTalk(const TevoroTalk&) = delete;
    TevoroTalk& operator=(const TevoroTalk&) = delete;

    // Sends a message, and sets its serial number, sender and full target. True if it was delivered
    // or, with `waitSeconds`, if processing ended in that time (also by an error or a timeout). If
    // the target is not running, `launch` starts it, and the message waits in the outgoing queue
    // for up to 600 seconds; without `launch`, returns false. Blocks for up to 10 seconds if the
    // target does not read, and for `waitSeconds`, pumping meanwhile.
    bool send(Message& message,
        bool launch,
        unsigned long waitSeconds,
        const SoString* launchOptions) const;
    // Answers a message that asked for "Result".
    bool sendResult(const Message& message, const SoString& result) const;

    // One step of the incoming side: reads one text from the port and, with `dispatch`, passes one
    // message to its handler. True if a message was dispatched.
    bool processIncomingMessage(std::uint32_t serialNumber, bool dispatch);
    // Tries to send each message of the outgoing queue once, in order. Always false.
    bool processOutgoingMessage();

    bool messagePending() const;
    bool incomingMessagePending() const;
    bool outgoingMessagePending() const;
    // Whether a message waits for exactly that target.
    bool outgoingMessagePending(const SoString& target) const;
    // May remove a message with another number: see MessageQueue::getNextMessage.
    bool removeIncomingMessage(std::uint32_t serialNumber);

    TevoroTalkContext* getContext() const;
    // Leaves its context, and uses that one from then on; null means the current one.
    void setContext(TevoroTalkContext* context);
    SoString getAppName() const;
    void setAppName(const char* name);

    // The handler for that type and number, else the one for the type with any number; else null.
    // With an empty type, any handler for that number.
    MsgHandler* findHandler(const SoString& type, std::uint32_t serialNumber);
    MsgHandler* findHandler(const char* type, std::uint32_t serialNumber);
    // Takes ownership of the handler. Returns the one it replaces, for the caller to delete, or
    // null.
    MsgHandler* changeHandler(MsgHandler* handler);
    // Removes a handler and returns it, for the caller to delete, or null.
    MsgHandler* removeHandler(const SoString& type, std::uint32_t serialNumber);
    bool deleteHandler(const MsgHandler* handler);
    bool deleteHandlers(std::uint32_t serialNumber);

    // A descriptor for an event loop (poll, epoll, QSocketNotifier). Readable while pump() has
    // something to do for this instance: messages to read or to dispatch, or a deadline that has
    // passed. Belongs to the instance and never changes; do not read or close it. -1 if the process
    // has no descriptors left.
    int waitDescriptor() const;
    // Waits until waitDescriptor() is readable, up to that timeout; negative waits for ever.
    bool waitForMessage(int milliseconds) const;

    static TevoroTalkContext* getSharedContext();
    static void setSharedContext(TevoroTalkContext* context);
    // The main instance of that context (null: the current one), or null.
    static TevoroTalk* get(TevoroTalkContext* context);
    static void set(TevoroTalk* instance, TevoroTalkContext* context);
    // The instance with exactly that name, or null.
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
    // Which registry this process asks: "default" or "PCD" is the configuration store. "refresh"
    // reads the present one anew on its next use, "removeAll" unregisters everything in it. False,
    // and no change, if the name is unknown or its store cannot be read. No other thread may be
    // asking the former one meanwhile; the bus's own is paused.
    static bool useConnector(const SoString& name);
    // The document of one application, or of all "groups", in the registry of that name.
    static SoString getConnectorConfig(const SoString& name, const SoString& which);
    // Takes over what this process's registry lacks. False if anything failed.
    static bool importFromConnector(const SoString& name);
    // Looks whether the registry has changed. With `force`, starts over in any case.
    static bool updateConnectorCache(bool force);
    static SoString getLaunchOptions();
    static bool suppressStartupScreen();

    // Processes what is waiting in all instances of the context when it is called; right after
    // waitForMessage(), only the text that ended the wait. True if a message was dispatched: more
    // may be waiting. null means the current context; returns false at once during set-up.
    static bool pump(EnabledOperations operations, TevoroTalkContext* context);

    // Writes the diagnostics of this process, as lines or as a readable report; replaces `out`.
    static void getDiagnostics(SoString& out, bool readable);
    // This instance's part of it, below `path`.
    void appendDiagnostics(SoString& out, const SoString& path) const;

private:
    friend class TevoroTalkContext;
    friend class TevoroTalkThread;
    friend class ThreadForwardMsgHandler;
    friend class TevoroTalkUtils::Launcher;

    class PumpLimit;

    // What kind of message is sent: that says how long it waits for a target that does not read.
    enum class Kind { kMessage, kAnswer, kRetry, kCopy };

    bool sendFrom(Message& message,
        bool launch,
        unsigned long waitSeconds,
        const SoString* launchOptions,
        Kind kind) const;
    bool transmit(const Message& message, Kind kind) const;
    bool sendCopy(Message& message) const;
    bool isOnBusThread() const;
    bool sendResponse(const Message& message, const char* word, Message* reply) const;
    bool sendError(
        const Message& message, const char* text, long code, unsigned long waitSeconds) const;
    bool waitForResponse(const Message& message, unsigned long seconds) const;
    bool deliverHere(const Message& message) const;
    bool deliverThere(const Message& message,
        bool launch,
        const SoString* launchOptions,
        Kind kind,
        const char*& failure) const;
    void watchForTimeout(const Message& message) const;
    void waitForTarget(const SoString& target) const;
    bool dispatchIncoming();
    bool dispatchArrived(PumpLimit& limit, bool& dispatched);
    bool dispatchMessage(Message* message);
    bool textPending() const;
    void takeIn(bool mustWait);
    bool putOneIncomingMessageInQueue();
    void sendReceipt(const Message& message) const;
    void handleMessage(Message& message);
    void handleCopy(const Message& message, Message& copy);
    void finishMessage(const Message& message);
    bool isCalled(const SoString& name) const;
    bool hasUnreadTexts() const;
    long unreadTexts() const;
    bool canTakeIn() const;
    bool canReadPort() const;
    int portDescriptor() const;
    void keepName() const;
    void giveUpName() const;
    SoString getInfoRoot(const char* queue) const;

    TevoroTalkData::PrivateData* m_data;
};

} // namespace ScObjects
