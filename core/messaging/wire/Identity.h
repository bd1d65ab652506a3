// Values that prove who wrote a message: random texts in the folder .velmo of the user's home that
// only this user can read, and digests salted with one of them. A digest shows that a message was
// written by a process of the same user on the same machine; it is no signature.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects::TevoroTalkData {

// 16 random bytes in hexadecimal digits without leading zeros: 16 to 32 digits. Empty when the
// system gives none.
SoString createRandomValue();

// What the identity file of that name holds; made on the first call. All processes of the user get
// the same value, also when two make it at once. Empty without a home folder.
SoString getID(const char* name);

// The salt of digests. Kept for the process once it was read, if it has 1 to 40 characters.
SoString getMD5ID();

// SHA-1 over salt, "+", text, "+", salt, each byte in hexadecimal digits without leading zeros: 20
// to 40 digits. Empty when there is no digest to be had.
SoString getDigest(std::string_view text, std::string_view salt);

// As TevoroTalkUtils::getMD5, of a text that lies in two pieces and inside of longer ones.
SoString digestOf(std::string_view text, std::string_view rest = {});

// Forgets the values kept for the process, so that they are read anew.
void forgetIdentity();

} // namespace ScObjects::TevoroTalkData
