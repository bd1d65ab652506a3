#include "ZQPluginSupport/writing/DngFileWriter.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/original/DngFile.h"
#include "platform/common/files/FileBytes.h"

#include <cerrno>
#include <limits>
#include <utility>

#include <zlib.h>

namespace dng {

namespace {

constexpr std::uint16_t kStripPlaces = 273;
constexpr std::uint16_t kStripSizes = 279;
constexpr std::uint16_t kTilePlaces = 324;
constexpr std::uint16_t kTileSizes = 325;
constexpr std::uint16_t kLong = 4; // the type of whole numbers of four bytes
constexpr std::size_t kTypeInEntry = 2;
constexpr std::size_t kCountInEntry = 4;
constexpr std::size_t kValueInEntry = 8;
constexpr std::uint64_t kAlignment = 16;

ConversionFailure failureOf(const std::error_code& error)
{
    if (error == std::errc::no_space_on_device || error.value() == EDQUOT)
        return ConversionFailure(kZQPluginNoSpace);
    if (error == std::errc::file_too_large)
        return ConversionFailure(kZQPluginTooLarge);
    return ConversionFailure(kZQPluginWriteFailed);
}

void put(std::string& bytes, std::size_t place, std::uint64_t number, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        bytes.at(place + i) = static_cast<char>(number >> (8 * i) & 0xff);
}

unsigned long checksum(unsigned long before, std::span<const std::byte> bytes)
{
    return crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
}

std::uint64_t aligned(std::uint64_t place)
{
    return (place + kAlignment - 1) / kAlignment * kAlignment;
}

} // namespace

bool holds(std::span<const std::byte> file, const WrittenBytes& written)
{
    return file.size() == written.size
        && checksum(0, file.first(static_cast<std::size_t>(written.headSize)))
        == written.headChecksum
        && checksum(0, file.subspan(static_cast<std::size_t>(written.partsBegin)))
        == written.partsChecksum;
}

DngFileWriter::DngFileWriter(int descriptor, std::string head)
    : m_descriptor(descriptor)
    , m_head(std::move(head))
{
    findEntries();
    m_arrays = aligned(m_head.size());
    if (m_rawEntries.count > 1)
        m_head.resize(m_arrays + std::size_t{m_rawEntries.count} * 2 * sizeof(std::uint32_t));
    m_begin = m_end = aligned(m_head.size());
}

// The directories that DngHead makes, as the metadata library has left them.
void DngFileWriter::findEntries()
{
    const MemorySource source(
        std::span(reinterpret_cast<const std::uint8_t*>(m_head.data()), m_head.size()));
    const auto file = TiffFile::open(source);
    if (!file || file->isBigEndian())
        throw ConversionFailure(kZQPluginNotVerified);
    const auto entriesOf = [](const TiffDirectory& directory) {
        const TiffEntry* places = directory.find(kTilePlaces);
        const TiffEntry* sizes = directory.find(kTileSizes);
        if (!places || !sizes) {
            places = directory.find(kStripPlaces);
            sizes = directory.find(kStripSizes);
        }
        if (!places || !sizes || places->count != sizes->count)
            throw ConversionFailure(kZQPluginNotVerified);
        return Entries{places->entryPosition, sizes->entryPosition, places->count};
    };
    const auto below = file->below(file->first());
    m_rawEntries = entriesOf(below.size() == 2 ? below[0] : file->first());
    if (below.size() == 2)
        m_previewEntries = entriesOf(below[1]);
    if (const TiffEntry* original = file->first().find(kTagOriginalData))
        m_originalEntry = original->entryPosition;
}

DngFileWriter::Part DngFileWriter::append(std::span<const std::byte> bytes)
{
    if (m_end + bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw ConversionFailure(kZQPluginTooLarge);
    if (const std::error_code error = Pt::writeAt(m_descriptor, m_end, bytes))
        throw failureOf(error);
    const Part part{static_cast<std::uint32_t>(m_end), static_cast<std::uint32_t>(bytes.size())};
    m_end += bytes.size();
    m_checksum = checksum(m_checksum, bytes);
    return part;
}

// Streams of words begin at even places.
void DngFileWriter::align()
{
    static constexpr std::byte kNothing{0};
    if (m_end % 2 != 0)
        append(std::span(&kNothing, 1));
}

void DngFileWriter::addRawPart(std::span<const std::byte> bytes)
{
    align();
    m_raw.push_back(append(bytes));
}

void DngFileWriter::addPreview(std::span<const std::uint8_t> jpeg)
{
    align();
    m_preview.push_back(append(std::as_bytes(jpeg)));
}

void DngFileWriter::addOriginalPiece(std::span<const std::uint8_t> bytes)
{
    if (m_original.size == 0)
        align();
    const Part piece = append(std::as_bytes(bytes));
    if (m_original.size == 0)
        m_original.place = piece.place;
    m_original.size += piece.size;
}

WrittenBytes DngFileWriter::finish()
{
    set(m_rawEntries, m_raw);
    if (m_previewEntries.count > 0)
        set(m_previewEntries, m_preview);
    if (m_originalEntry != 0)
        setOriginal();
    const auto head = std::as_bytes(std::span(m_head.data(), m_head.size()));
    if (const std::error_code error = Pt::writeAt(m_descriptor, 0, head))
        throw failureOf(error);
    return {head.size(), m_begin, m_end, checksum(0, head), m_checksum};
}

void DngFileWriter::set(const Entries& entries, const std::vector<Part>& parts)
{
    if (parts.size() != entries.count)
        throw ConversionFailure(kZQPluginNotVerified);
    std::vector<std::uint32_t> places;
    std::vector<std::uint32_t> sizes;
    for (const Part& part : parts) {
        places.push_back(part.place);
        sizes.push_back(part.size);
    }
    setNumbers(entries.places, places);
    setNumbers(entries.sizes, sizes);
}

// One number stands in the entry itself.
void DngFileWriter::setNumbers(std::uint64_t entry, const std::vector<std::uint32_t>& numbers)
{
    const auto place = static_cast<std::size_t>(entry);
    put(m_head, place + kTypeInEntry, kLong, 2);
    put(m_head, place + kCountInEntry, numbers.size(), 4);
    if (numbers.size() == 1) {
        put(m_head, place + kValueInEntry, numbers[0], 4);
        return;
    }
    put(m_head, place + kValueInEntry, m_arrays, 4);
    for (const std::uint32_t number : numbers) {
        put(m_head, m_arrays, number, 4);
        m_arrays += sizeof number;
    }
}

void DngFileWriter::setOriginal()
{
    const auto place = static_cast<std::size_t>(m_originalEntry);
    put(m_head, place + kCountInEntry, m_original.size, 4);
    put(m_head, place + kValueInEntry, m_original.place, 4);
}

} // namespace dng
