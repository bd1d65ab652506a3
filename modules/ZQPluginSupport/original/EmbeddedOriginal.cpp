#include "ZQPluginSupport/original/EmbeddedOriginal.h"

#include "ZQPluginSupport/encoding/WorkerThreads.h"
#include "ZQPluginSupport/original/EmbeddedLayout.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include <zlib.h>

namespace dng {

namespace {

using Bytes = std::vector<std::uint8_t>;

// A camera has compressed its raw files already: higher levels cost much time for hardly a byte.
constexpr int kLevel = 1;

void putNumber(Bytes& to, std::uint32_t number)
{
    for (unsigned int shift = 32; shift != 0;)
        to.push_back(static_cast<std::uint8_t>(number >> (shift -= 8)));
}

// Nothing if the file cannot be read.
std::optional<Bytes> plainBlock(const ByteSource& file, std::size_t index)
{
    const std::uint64_t position = std::uint64_t{index} * kBlockBytes;
    Bytes plain(
        static_cast<std::size_t>(std::min<std::uint64_t>(kBlockBytes, file.size() - position)));
    return file.read(position, plain) ? std::optional(std::move(plain)) : std::nullopt;
}

std::optional<Bytes> compressedBlock(const ByteSource& file, std::size_t index)
{
    const std::optional<Bytes> plain = plainBlock(file, index);
    if (!plain)
        return std::nullopt;
    uLongf size = compressBound(static_cast<uLong>(plain->size()));
    Bytes block(size);
    if (compress2(block.data(), &size, plain->data(), static_cast<uLong>(plain->size()), kLevel)
        != Z_OK)
        throw std::bad_alloc(); // the only failure that there can be
    block.resize(size);
    block.shrink_to_fit();
    return block;
}

void forEach(
    WorkerThreads* threads, std::size_t count, const std::function<void(std::size_t index)>& work)
{
    if (threads) {
        threads->run(count, work);
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        work(i);
}

} // namespace

std::optional<EmbeddedOriginal> EmbeddedOriginal::of(
    const ByteSource& raw, const ByteSource* preview, WorkerThreads* threads)
{
    auto rawPart = compressed(raw, threads);
    auto previewPart = preview ? compressed(*preview, threads) : Part();
    if (!rawPart || !previewPart)
        return std::nullopt;
    EmbeddedOriginal result;
    result.m_raw = std::move(*rawPart);
    result.m_preview = std::move(*previewPart);
    result.m_size =
        sizeOf(result.m_raw) + sizeOf(result.m_preview) + (kParts - 2) * kEmptyPart.size();
    return result.m_size <= kMaxFile ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<EmbeddedOriginal::Part> EmbeddedOriginal::compressed(
    const ByteSource& file, WorkerThreads* threads)
{
    if (file.size() > kMaxFile)
        return std::nullopt;
    Part part;
    part.length = static_cast<std::uint32_t>(file.size());
    part.blocks.resize(blocksOf(part.length));
    std::atomic<bool> isRead = true;
    forEach(threads, part.blocks.size(), [&](std::size_t index) {
        if (auto block = compressedBlock(file, index))
            part.blocks[index] = std::move(*block);
        else
            isRead = false;
    });
    return isRead ? std::optional(std::move(part)) : std::nullopt;
}

std::uint64_t EmbeddedOriginal::sizeOf(const Part& part)
{
    std::uint64_t size = headBytes(part.length);
    for (const Bytes& block : part.blocks)
        size += block.size();
    return size;
}

bool EmbeddedOriginal::writePart(const Part& part, const ByteSink& sink)
{
    if (part.length == 0)
        return sink(kEmptyPart);
    Bytes head;
    putNumber(head, part.length);
    std::uint64_t offset = headBytes(part.length);
    putNumber(head, static_cast<std::uint32_t>(offset));
    for (const Bytes& block : part.blocks)
        putNumber(head, static_cast<std::uint32_t>(offset += block.size()));
    return sink(head)
        && std::all_of(part.blocks.begin(), part.blocks.end(), [&](const Bytes& block) {
               return sink(block);
           });
}

bool EmbeddedOriginal::write(const ByteSink& sink) const
{
    if (!writePart(m_raw, sink))
        return false;
    // The raw file's other half, type and maker, which only files of another system have.
    for (std::size_t part = 1; part < kPreviewPart; ++part)
        if (!sink(kEmptyPart))
            return false;
    if (!writePart(m_preview, sink))
        return false;
    for (std::size_t part = kPreviewPart + 1; part < kParts; ++part)
        if (!sink(kEmptyPart))
            return false;
    return true;
}

} // namespace dng
