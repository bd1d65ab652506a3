#include "lexkit/private/DictionaryReader.h"

#include "lexkit/private/DictionaryStream.h"
#include "lexkit/private/unicode/ByteSwapUnicodeReader.h"
#include "lexkit/private/unicode/MultibyteReader.h"
#include "lexkit/private/unicode/UnicodeReader.h"

#include <cstring>

namespace lexkit_private {

namespace {

constexpr unsigned long kFirstCapacity = 256; // units of a line
constexpr std::size_t kChunk = std::size_t{64} * 1024; // bytes fetched at a time
constexpr std::size_t kMarkLength = 2;
constexpr unsigned short kMark = 0xFEFF;
constexpr unsigned short kSwappedMark = 0xFFFE;

unsigned short hostUnit(const unsigned char* bytes)
{
    unsigned short unit = 0;
    std::memcpy(&unit, bytes, sizeof unit);
    return unit;
}

bool isMark(unsigned short unit)
{
    return unit == kMark || unit == kSwappedMark;
}

std::unique_ptr<DictionaryReader> makeFor(
    unsigned short first, const DictionaryReader::Source& source)
{
    if (first == kMark)
        return std::make_unique<UnicodeReader>(source);
    if (first == kSwappedMark)
        return std::make_unique<ByteSwapUnicodeReader>(source);
    return std::make_unique<MultibyteReader>(source);
}

} // namespace

std::unique_ptr<DictionaryReader> DictionaryReader::Make(DictionaryStream& stream)
{
    unsigned char bytes[kMarkLength] = {};
    // A stream of one byte is a text without a mark.
    const bool isLong = stream.Read(bytes, kMarkLength) == kMarkLength;
    const unsigned short first = isLong ? hostUnit(bytes) : 0;
    if (!isMark(first))
        stream.Rewind();
    return makeFor(first, {&stream, nullptr, nullptr});
}

std::unique_ptr<DictionaryReader> DictionaryReader::Make(
    const unsigned char* begin, const unsigned char* end)
{
    if (static_cast<std::size_t>(end - begin) < kMarkLength)
        return nullptr;
    const unsigned short first = hostUnit(begin);
    return makeFor(first, {nullptr, isMark(first) ? begin + kMarkLength : begin, end});
}

DictionaryReader::DictionaryReader(const Source& source)
    : m_line(kFirstCapacity)
    , m_source(source)
{
}

DictionaryReader::~DictionaryReader() = default;

bool DictionaryReader::fetch()
{
    // A block was all there from the beginning.
    if (!m_source.stream)
        return false;
    // Only when the first line is wanted: a binary dictionary gets a reader as well, and never
    // reads a line from it.
    if (!m_chunk)
        m_chunk = std::make_unique_for_overwrite<unsigned char[]>(kChunk);
    m_source.cursor = m_chunk.get();
    m_source.end = m_chunk.get() + m_source.stream->Read(m_chunk.get(), kChunk);
    return m_source.cursor != m_source.end;
}

const unsigned short* DictionaryReader::endLine(unsigned short lineEnd)
{
    m_line.Append(0);
    m_lineEnd = lineEnd;
    return m_line.GetData();
}

} // namespace lexkit_private
