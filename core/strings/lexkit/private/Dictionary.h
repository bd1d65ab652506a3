// The dictionary behind the public handle: the table, its readers and writers, the lookup of a
// literal, and the main dictionary that all others fall back to. No locks: see the public header.
#pragma once

#include "lexkit/private/DictionaryEntry.h"
#include "lexkit/private/HashTable.h"
#include "lexkit/private/LiteralTag.h"

#include <vector>

namespace lexkit_private {

class DictionaryReader;

class Dictionary : public HashTable<ByteRunKey, DictionaryEntry> {
public:
    // The main dictionary; null for none.
    static Dictionary* sMainDictionary;

    Dictionary() = default;
    ~Dictionary();

    void Read(std::istream* stream);
    void Read(const char* data, int size, bool copyKeys);
    void Read(std::istream& stream);

    UnicodeRun Lookup(const char* literal, const lexkit::EncodingInfo* encoding);
    bool HasKey(const char* literal, const lexkit::EncodingInfo* encoding);
    unsigned long NumKeys() const { return NumItems(); }
    bool HasMoreKey() { return HasMoreItem(); }
    bool NextKey(char* buffer, unsigned long size, bool throwIfSmall) const;

    void SetAsMain() { sMainDictionary = this; }
    bool IsValid() const { return m_isValid; }

    unsigned long Serialize(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const;
    unsigned long Compile(std::ostream& stream, const lexkit::EncodingInfo* encoding) const;

    // The same for the dictionary with that id, which is made when it is not there.
    static void Read(std::istream* stream, unsigned long id);
    static UnicodeRun Lookup(
        const char* literal, unsigned long id, const lexkit::EncodingInfo* encoding);
    static void SetAsMain(unsigned long id);

private:
    void readBinary(DictionaryStream& source);
    void readBinaryBlock(const unsigned char* begin, const unsigned char* end, bool copyKeys);
    void readLines(DictionaryReader& reader);
    void AddEntry(const unsigned short* line);
    DictionaryEntry* findTag(const LiteralTag<char>& tag);

    bool m_isValid = true;
    std::vector<unsigned char> m_lineKey; // of the line in hand
};

} // namespace lexkit_private
