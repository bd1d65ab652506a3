#include "lexkit/private/HashTable.h"

#include "lexkit/private/BinaryFormReader.h"
#include "lexkit/private/DictionaryEntry.h"

namespace lexkit_private {

namespace {

constexpr int kFailed = -1;

int readVersion(HashTableGeneric& table,
    ByteSource& source,
    unsigned char major,
    unsigned char minor,
    bool copyKeys,
    unsigned char selector)
{
    // The selector is no failure, on purpose: dictionaries of later versions are ignored, and
    // default texts show.
    if (major != 1 || (minor != 0 && minor != 5))
        return selector;
    BinaryFormReader reader(table, source, selector, copyKeys);
    const bool isRead = minor == 5 ? reader.ReadVersion15() : reader.ReadVersion10();
    // Also after a failure: what was read before it can be looked up.
    table.RefreshIndex();
    return isRead ? 0 : kFailed;
}

} // namespace

template <typename Key, typename Entry>
int HashTable<Key, Entry>::Read(const unsigned char* begin,
    const unsigned char* end,
    unsigned char major,
    unsigned char minor,
    bool copyKeys,
    unsigned char selector)
{
    BlockSource source(begin, end);
    return readVersion(*this, source, major, minor, copyKeys, selector);
}

template <typename Key, typename Entry>
int HashTable<Key, Entry>::Read(
    DictionaryStream& stream, unsigned char major, unsigned char minor, unsigned char selector)
{
    StreamSource source(stream);
    return readVersion(*this, source, major, minor, false, selector);
}

// The only kind there is, made here so that the header needs no reader.
template class HashTable<ByteRunKey, DictionaryEntry>;

} // namespace lexkit_private
