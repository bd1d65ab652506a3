// The receiver that an application puts on the bus. Owned by the instance it is added to. Called on
// the thread that pumps, with no lock held, so that it may send; it must not remove handlers of its
// instance from another thread.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::MsgHandler : public SoHeap {
public:
    // What a message is to its receiver.
    enum Reason : int {
        kOther = 0,
        kRequest = 1,
        kReceived = 2,
        kResult = 3,
        kError = 4,
        kTimeout = 5,
        kLog = 6,
        kIdle = 7
    };

    // Called once it was added by the constructor of an instance.
    virtual void initialize(TevoroTalk* instance);
    // 0 for success, and then `result` goes back to a sender who asked for it; any other number
    // goes back as an error with `result` as its text. `result` may be null when nothing can go
    // back. An exception counts as the error -29.
    virtual long handleMessage(int reason, Message& message, SoString* result) = 0;
    // The type of messages it takes; "Quillscriber" unless overridden. Valid, and the same, as long
    // as the handler.
    virtual const char* getMsgType() const;
    // The one message it belongs to, with which it goes; 0xFFFFFFFF (the default) takes all of its
    // type and stays.
    virtual std::uint32_t getSerialNumber() const;
};

} // namespace ScObjects
