// The thread of the bus as an application sees it: questions to other processes, and the store that
// answers theirs. All work on the thread of the current context; without one they answer false,
// empty or null.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::Thread {
public:
    // What other processes read under that key; an empty value takes it out.
    static bool setPingValue(const SoString& key, const SoString& value);
    static SoString getPingValue(const SoString& key);
    // Answers that key by a handler, on the thread of the bus. Takes ownership if it answers true.
    static bool setPingHandler(const SoString& key, MsgHandler* handler);
    static MsgHandler* getPingHandler(const SoString& key);

    // Asks another process for a key; its answer, or one of "UNDEFINED", "Timeout", "ISNOTRUNNING",
    // "ISNOTINSTALLED", "INVALIDSPEC", "NOINTERAPPSTREAM", "MSGTOSTRINGERROR", "NOERROR". Blocks
    // for at most `timeout` seconds and the time of a send; with 0 it only sends.
    static SoString ping(
        const char* target, const char* command, std::int32_t timeout, const SoString* body);
};

} // namespace ScObjects
