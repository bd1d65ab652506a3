#include "lexkit/private/Dictionary.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/BinaryFormId.h"
#include "lexkit/private/BinaryFormWriter.h"
#include "lexkit/private/DictionaryLine.h"
#include "lexkit/private/DictionaryMap.h"
#include "lexkit/private/DictionaryReader.h"
#include "lexkit/private/DictionaryStream.h"
#include "lexkit/private/unicode/UnicodeUtil.h"

#include <cstring>
#include <ostream>

namespace lexkit_private {

namespace {

// The byte-order mark of a text dictionary, written in the order of the machine.
constexpr unsigned short kMark = 0xFEFF;

// Each byte by itself as a signed number, undecoded. Straight into its run, since most defaults
// have no escapes: this is what every lookup costs where there is no dictionary.
UnicodeRun widened(const char* bytes, unsigned long length)
{
    unsigned short* units = nullptr;
    UnicodeRun run = UnicodeRun::Unfilled(length * sizeof *units, units);
    std::transform(bytes, bytes + length, units, [](char byte) {
        return static_cast<unsigned short>(static_cast<signed char>(byte));
    });
    return run;
}

// A default text: decoded with the encoding, or widened for null and the system's encoding.
UnicodeRun defaultText(const LiteralTag<char>& tag, const lexkit::EncodingInfo* encoding)
{
    if (tag.valueLength == 0)
        return {};
    if (!encoding || encoding->GetSelector() == lexkit::EncodingInfo::kSystem)
        return DictionaryEntry::ConvertEscapeSequences(widened(tag.value, tag.valueLength));
    Buffer<unsigned short> units(0);
    UnicodeUtil::StringToUnicode(
        reinterpret_cast<const unsigned char*>(tag.value), tag.valueLength, units, encoding);
    return DictionaryEntry::ConvertEscapeSequences(units.GetData(), units.GetCount());
}

} // namespace

Dictionary* Dictionary::sMainDictionary = nullptr;

Dictionary::~Dictionary()
{
    // Other dictionaries must not fall back to a destroyed one.
    if (sMainDictionary == this)
        sMainDictionary = nullptr;
}

void Dictionary::Read(std::istream* stream)
{
    if (!stream) {
        m_isValid = false;
        return;
    }
    DictionaryStream source(*stream);
    // The reader looks at the mark first, and then everything is rewound to find out which form
    // this is. So in a stream the mark is part of the first line; docs/dictionaries.md says what
    // that means.
    const auto reader = DictionaryReader::Make(source);
    char head[kBinaryIdLength];
    const bool isBinary = source.Read(head, kBinaryIdLength) == kBinaryIdLength && isBinaryId(head);
    source.Rewind();
    if (isBinary) {
        readBinary(source);
    } else {
        source.StopKeeping();
        readLines(*reader);
    }
    // After the reading: entries that came before the failure of a disk stay.
    if (source.HasFailed())
        m_isValid = false;
}

void Dictionary::Read(std::istream& stream)
{
    DictionaryStream source(stream);
    readBinary(source);
}

void Dictionary::readBinary(DictionaryStream& source)
{
    // A binary dictionary is read once from front to back.
    source.StopKeeping();
    unsigned char head[kBinaryHeadLength];
    const bool isWhole = source.Read(head, kBinaryHeadLength) == kBinaryHeadLength;
    if (!isWhole || !isBinaryId(head)) {
        m_isValid = false;
        return;
    }
    const unsigned char* const version = head + kBinaryIdLength;
    // Other results, from an unknown version, count as an empty dictionary and not as a bad one.
    if (HashTable::Read(source, version[0], version[1], version[2]) == -1)
        m_isValid = false;
}

void Dictionary::Read(const char* data, int size, bool copyKeys)
{
    if (!data || size <= 0) {
        m_isValid = false;
        return;
    }
    const auto* const begin = reinterpret_cast<const unsigned char*>(data);
    const auto* const end = begin + size;
    if (static_cast<std::size_t>(size) >= kBinaryIdLength && isBinaryId(begin)) {
        readBinaryBlock(begin, end, copyKeys);
        return;
    }
    const auto reader = DictionaryReader::Make(begin, end);
    // A block of one byte holds no line in either encoding.
    if (!reader) {
        m_isValid = false;
        return;
    }
    readLines(*reader);
}

void Dictionary::readBinaryBlock(
    const unsigned char* begin, const unsigned char* end, bool copyKeys)
{
    // A head with nothing behind it is no dictionary.
    if (static_cast<std::size_t>(end - begin) <= kBinaryHeadLength) {
        m_isValid = false;
        return;
    }
    const unsigned char* const version = begin + kBinaryIdLength;
    const int result = HashTable::Read(
        begin + kBinaryHeadLength, end, version[0], version[1], copyKeys, version[2]);
    if (result == -1)
        m_isValid = false;
}

void Dictionary::readLines(DictionaryReader& reader)
{
    // An empty line would otherwise become an entry with an empty key.
    while (const unsigned short* const line = reader.ReadALine())
        if (*line != 0)
            AddEntry(line);
}

void Dictionary::AddEntry(const unsigned short* line)
{
    LiteralTag<unsigned short> tag;
    if (!ParseEntry(line, tag)) {
        m_isValid = false;
        return;
    }
    // Keys are bytes: literals in programs have them that way, so only the low byte of a unit is
    // kept.
    m_lineKey.resize(tag.keyLength);
    std::transform(tag.key, tag.key + tag.keyLength, m_lineKey.begin(), [](unsigned short unit) {
        return static_cast<unsigned char>(unit & 0xFF);
    });
    const ByteRunKey key(m_lineKey.data(), tag.keyLength, false);
    // Made before the old entry goes, which therefore survives a failure here.
    auto entry = DictionaryEntry::Make(
        key, DictionaryEntry::ConvertEscapeSequences(tag.value, tag.valueLength));
    // A binary dictionary may have left the key more than once.
    while (Remove(key)) { }
    Insert(std::move(entry));
}

DictionaryEntry* Dictionary::findTag(const LiteralTag<char>& tag)
{
    return Find(ByteRunKey(tag.key, tag.keyLength, false));
}

UnicodeRun Dictionary::Lookup(const char* literal, const lexkit::EncodingInfo* encoding)
{
    LiteralTag<char> tag;
    if (!ParseLiteral(literal, tag))
        return {};
    const DictionaryEntry* entry = findTag(tag);
    // One level only: the main dictionary has no fallback of its own but the default text.
    if (!entry && sMainDictionary && sMainDictionary != this)
        entry = sMainDictionary->findTag(tag);
    return entry ? entry->GetValue() : defaultText(tag, encoding);
}

// Keys are bytes, so the encoding does not matter. The main dictionary is not asked, on purpose:
// the question is about this one.
bool Dictionary::HasKey(const char* literal, const lexkit::EncodingInfo*)
{
    LiteralTag<char> tag;
    return ParseLiteral(literal, tag) && findTag(tag);
}

bool Dictionary::NextKey(char* buffer, unsigned long size, bool throwIfSmall) const
{
    const auto* const entry = static_cast<const DictionaryEntry*>(NextItem());
    const unsigned long length = entry ? entry->GetLength() : 0;
    if (buffer && size > length) {
        // An empty key has no bytes at all, and memcpy must not be given null.
        if (length > 0)
            std::memcpy(buffer, entry->GetData(), length);
        buffer[length] = 0;
        return true;
    }
    if (throwIfSmall)
        throw LXErrException(LXErrException::kBufferTooSmall);
    return false;
}

unsigned long Dictionary::Serialize(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const
{
    unsigned long head = sizeof kMark;
    if (binary)
        head = zbfwrite_zbfid(stream, encoding ? zbfid_utf8 : zbfid);
    else
        stream.write(reinterpret_cast<const char*>(&kMark), sizeof kMark);
    return head + HashTableGeneric::Serialize(stream, binary, encoding);
}

unsigned long Dictionary::Compile(std::ostream& stream, const lexkit::EncodingInfo* encoding) const
{
    // The head says UTF-8 for every encoding that is not null: no other selector has a meaning in a
    // file.
    const unsigned long head = zbfwrite_zbfid(stream, encoding ? zbfid_utf8 : zbfid);
    return head + BinaryFormWriter(stream, encoding, BinaryFormWriter::Order::kBig).Write(*this);
}

void Dictionary::Read(std::istream* stream, unsigned long id)
{
    DictionaryMap::Instance()[id].Read(stream);
}

UnicodeRun Dictionary::Lookup(
    const char* literal, unsigned long id, const lexkit::EncodingInfo* encoding)
{
    return DictionaryMap::Instance()[id].Lookup(literal, encoding);
}

void Dictionary::SetAsMain(unsigned long id)
{
    DictionaryMap::Instance()[id].SetAsMain();
}

} // namespace lexkit_private
