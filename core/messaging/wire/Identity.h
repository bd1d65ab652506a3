// Values that prove who wrote a message: random texts in the folder .velmo of the user's home,
// which only this user can read, and digests salted with one of them. A digest shows that a message
// was written by a process of the same user on the same machine; it is not a signature.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects::TevoroTalkData {

// 16 random bytes in hexadecimal digits, each without leading zeros: 16 to 32 digits. Empty if the
// system gives none.
SoString createRandomValue();

// The content of the identity file of that name, which the first call creates. All processes of the
// user get the same value, even if two create it at once. Empty without a home folder.
SoString getID(const char* name);

// The salt of digests. Read once and cached for the process, if it has 1 to 40 characters. A value
// that could not be written is this process's alone, which is said once on standard error.
SoString getMD5ID();

// Whether the salt is this process's alone: nobody else can have its digests.
bool isSaltOwn();

// For when a digest does not match: if the salt is this process's alone, looks for the file again,
// at most once a second, and takes over what it holds, or writes the own value into it. Whether the
// salt is another one now. A salt that came from the file, or was written to it, never changes.
bool lookForSaltAgain();

// SHA-1 over salt, "+", text, "+", salt, each byte in hexadecimal digits without leading zeros: 20
// to 40 digits. Empty if the digest cannot be computed.
SoString getDigest(std::string_view text, std::string_view salt);

// Like TevoroTalkUtils::getMD5, for a text in two pieces that may be parts of longer texts.
SoString digestOf(std::string_view text, std::string_view rest = {});

// Clears the cached values, so that they are read again.
void forgetIdentity();

} // namespace ScObjects::TevoroTalkData
