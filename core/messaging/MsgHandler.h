// The callback interface for messages. The instance owns the handlers that are added to it. They
// are called on the thread that pumps, with no lock held, so they may send. A handler must not
// remove handlers of its instance from another thread.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::MsgHandler : public SoHeap {
public:
    // What the message is. For the three answers the handler sees the type "Quillscriber".
    enum Reason : int {
        kOther = 0, // a type of the application's own, or the completion notice "Processed"
        kRequest = 1, // a request of type "Quillscriber" (a script) or "Debug"
        kReceived = 2, // answer: the message arrived in the target's queue
        kResult = 3, // answer: the body is what the target's handler left in `result`
        kError = 4, // answer: the message failed; the header "Error-Code" says why
        kTimeout = 5, // the request was not answered in time; the type stays "Timeout"
        kLog = 6, // an entry of the log
        kIdle = 7 // an idle round of the bus's thread
    };

    // Called after the constructor of an instance has added the handler.
    virtual void initialize(TevoroTalk* instance);
    // Returns 0 for success: `result` is then sent to a sender that asked for it. Any other number
    // is sent as an error code, with `result` as its text. `result` is null if nothing can be sent
    // back. An exception counts as error -29.
    virtual long handleMessage(int reason, Message& message, SoString* result) = 0;
    // The message type it handles; "Quillscriber" unless overridden. The text must not change and
    // must live as long as the handler.
    virtual const char* getMsgType() const;
    // The number of the one message it handles; it is deleted after that message. 0xFFFFFFFF (the
    // default) handles all messages of its type, and stays.
    virtual std::uint32_t getSerialNumber() const;
};

} // namespace ScObjects
