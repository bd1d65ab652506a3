// The port of a main instance. A copy of an application has one number, which its three ports show:
// its own, that of its thread (#thread) and that of its questions (#ping). The instance takes the
// number first, and the other two follow.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects {

class InterAppStream;

namespace TevoroTalkData {

// The port of that name or, if the name or one of its companions belongs to another process, of its
// first numbered copy (1 to 8) that is free; null when none is. A name with a number of its own is
// taken as it is. `ownThread` is the port of this process's thread, empty while it has none.
InterAppStream* openMainStream(const SoString& name, const SoString& ownThread);

// The port of exactly that name; null when somebody has it.
InterAppStream* openExactly(const SoString& name);

// Whether two names differ at most in their numbers.
bool isSameButForNumber(const SoString& a, const SoString& b);

} // namespace TevoroTalkData
} // namespace ScObjects
