// Pings: questions to the bus threads of other processes, and the store of values that answers
// theirs. All functions use the thread of the current context; without one they return false, empty
// or null.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::Thread {
public:
    // Sets the value that other processes read under that key; an empty value removes the key.
    static bool setPingValue(const SoString& key, const SoString& value);
    static SoString getPingValue(const SoString& key);
    // Lets a handler answer that key, on the thread of the bus. Takes ownership if it returns true.
    static bool setPingHandler(const SoString& key, MsgHandler* handler);
    static MsgHandler* getPingHandler(const SoString& key);

    // Asks another process for a key. Returns its answer, or one of "UNDEFINED", "Timeout",
    // "ISNOTRUNNING", "ISNOTINSTALLED", "INVALIDSPEC", "NOINTERAPPSTREAM", "MSGTOSTRINGERROR",
    // "NOERROR". Blocks for at most `timeout` seconds plus the time of a send; 0 only sends.
    static SoString ping(
        const char* target, const char* command, std::int32_t timeout, const SoString* body);
};

} // namespace ScObjects
