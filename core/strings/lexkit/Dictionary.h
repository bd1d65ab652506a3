// A string dictionary: texts by key. A literal "$$$/Some/Key=Default text" carries its own default,
// so that something shows when no dictionary or no entry is there.
//
// The object owns its entries; texts that were looked up live on without it. No locks: fill it,
// then use it from one thread at a time. Bytes of any kind may be read: they give entries, or
// clear the validity flag, which nothing else looks at.
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

// Whether "^e" stands for U+00E9. Looked at once, by the first conversion of escapes.
LEXKIT_EXPORT extern bool EnableZQHatEscapes;

class LEXKIT_EXPORT Dictionary {
public:
    Dictionary();
    ~Dictionary();
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    // Adds what a whole stream or block holds, in text or binary form. Of a key in text form that
    // is there already, the new value stands. A stream that is not open holds nothing; a null
    // one, and a null or empty block, clear the validity flag. `copyKeys` governs temporary keys
    // alone: the dictionary never refers to the block afterwards.
    void Read(std::istream* stream);
    void Read(const char* data, int size, bool copyKeys);
    // The binary form alone, from a stream that stands at its id; it stands behind it afterwards.
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
    // starts over; so does removing the current key by reading it anew.
    bool HasMoreKey();
    // Copies the key and a NUL. When the buffer is too small: LXErrException or false.
    bool NextKey(char* buffer, unsigned long size, bool throwIfSmall);

    // Makes this the main dictionary, to which every other one falls back, until it is destroyed.
    void SetAsMain();

    // False once a bad line or a failed read was met.
    bool IsValid() const;

    // Text form: UTF-16 in host order. Binary form 1.5: values in UTF-16 for a null encoding, else
    // in that encoding, numbers in host order, so that only a big-endian host writes what readers
    // take; see Compile. The bytes written, without the tables of the binary form. Whether the
    // stream took them, the stream tells.
    unsigned long Serialize(std::ostream& stream, bool binary, const EncodingInfo* encoding) const;

    // The same for the dictionary that ZString looks up by its id. It is made when it is not there,
    // and lives as long as the process.
    static void Read(std::istream* stream, unsigned long id);
    static void SetAsMain(unsigned long id);

    // The binary form as readers on every machine expect it.
    unsigned long Compile(std::ostream& stream, const EncodingInfo* encoding) const;

private:
    lexkit_private::Dictionary* m_dictionary;
};

} // namespace lexkit
