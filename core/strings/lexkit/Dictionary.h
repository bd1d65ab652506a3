// A string dictionary: texts by key. A literal "$$$/Some/Key=Default text" carries its own default,
// so that something shows when no dictionary or no entry is there.
//
// The object owns its entries; texts that were looked up outlive it. No locks: fill it, then use it
// from one thread at a time. Bytes of any kind may be read: they add entries or clear the validity
// flag, which has no other effect.
#pragma once

#include "lexkit/EncodingInfo.h"
#include "lexkit/Export.h"
#include "lexkit/LXErrException.h"
#include "lexkit/ZString.h"

#include <iosfwd>

namespace lexkit_private {
class Dictionary;
} // namespace lexkit_private

namespace lexkit {

// Whether "^e" means U+00E9. Read once, by the first conversion of escapes.
LEXKIT_EXPORT extern bool EnableZQHatEscapes;

class LEXKIT_EXPORT Dictionary {
public:
    Dictionary();
    ~Dictionary();
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    // Adds the entries of a whole stream or block, in text or binary form. In text form, a new
    // value replaces the old value of its key. A stream that is not open is empty. A null stream
    // and a null or empty block clear the validity flag. `copyKeys` only affects temporary keys:
    // the dictionary never refers to the block afterwards.
    void Read(std::istream* stream);
    void Read(const char* data, int size, bool copyKeys);
    // Reads the binary form only. The stream is at its id before, and behind its end afterwards.
    void Read(std::istream& stream);

    // The value for the literal's key here, else in the main dictionary, else the literal's own
    // default with its escapes converted. The default's bytes are in `encoding`; with null or the
    // system's encoding each byte is widened as a signed number, undecoded. Empty for a null or
    // empty literal, and for one that starts with "$" and not with "$$$".
    ZString Lookup(const char* literal, const EncodingInfo* encoding);

    // Whether this dictionary has the literal's key.
    bool HasKey(const char* literal, const EncodingInfo* encoding);
    unsigned long NumKeys() const;

    // Iteration in table order: call HasMoreKey before each NextKey. After false the next pass
    // starts over; so it does when the current key is removed because it is read again.
    bool HasMoreKey();
    // Copies the key and a NUL. If the buffer is too small, throws LXErrException or returns false.
    bool NextKey(char* buffer, unsigned long size, bool throwIfSmall);

    // Makes this the main dictionary, the fallback of all others, until it is destroyed.
    void SetAsMain();

    // False after a bad line or a failed read.
    bool IsValid() const;

    // Text form: UTF-16 in host order. Binary form 1.5: values in UTF-16 for a null encoding, else
    // in that encoding; numbers in host order, so only a big-endian host writes what readers accept
    // (see Compile). Returns the number of bytes written, without the tables of the binary form.
    // Check the stream for write errors.
    unsigned long Serialize(std::ostream& stream, bool binary, const EncodingInfo* encoding) const;

    // The same for the dictionary with that id, as ZString looks it up. It is created on first use
    // and lives as long as the process.
    static void Read(std::istream* stream, unsigned long id);
    static void SetAsMain(unsigned long id);

    // Writes the big-endian binary form, which readers on every machine accept.
    unsigned long Compile(std::ostream& stream, const EncodingInfo* encoding) const;

private:
    lexkit_private::Dictionary* m_dictionary;
};

} // namespace lexkit
