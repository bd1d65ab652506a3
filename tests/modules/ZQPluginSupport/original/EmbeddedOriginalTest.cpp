#include "ZQPluginSupport/original/EmbeddedOriginal.h"

#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "support/NoiseSource.h"

#include <gtest/gtest.h>

namespace {

using dng::EmbeddedOriginal;
using dng::UnpackResult;
using test::bytesOf;
using test::embedded;

// Noise and text by turns, so that blocks differ in size.
std::string rawFile(std::size_t size)
{
    std::string bytes = tests::NoiseSource(size).bytes(size);
    for (std::size_t at = 0; at < size; at += 1000)
        bytes.replace(at, std::min<std::size_t>(at % 700, size - at), at % 700, 'x');
    bytes.resize(size);
    return bytes;
}

struct Unpacked {
    UnpackResult result;
    std::string bytes;
    Pt::ContentDigest content;
};

Unpacked unpackedFrom(const std::string& value,
    const std::optional<dng::OriginalRecord>& record = {},
    std::uint16_t type = 7)
{
    // Not at the beginning, and with more behind it.
    const std::string file = "head" + value + "tail";
    dng::TiffEntry entry;
    entry.type = type;
    entry.count = static_cast<std::uint32_t>(value.size());
    entry.valueOffset = 4;
    Unpacked unpacked;
    const auto append = [&](std::span<const std::uint8_t> bytes) {
        unpacked.bytes.append(bytes.begin(), bytes.end());
        return true;
    };
    unpacked.result = dng::unpackOriginal(
        dng::MemorySource(bytesOf(file)), entry, record, append, &unpacked.content);
    return unpacked;
}

const std::size_t kSizes[] = {1, 2, 65535, 65536, 65537, 131072, 200000};

} // namespace

TEST(EmbeddedOriginalTest, GivesBackFilesOfAnySize)
{
    for (const std::size_t size : kSizes) {
        const std::string raw = rawFile(size);
        const auto record = test::recordOf("a", raw);
        const Unpacked unpacked = unpackedFrom(embedded(raw), record);
        EXPECT_EQ(unpacked.result, UnpackResult::kUnpacked) << size;
        EXPECT_TRUE(unpacked.bytes == raw) << size;
        EXPECT_EQ(unpacked.content, record.content);
    }
}

TEST(EmbeddedOriginalTest, HasEightPartsOfWhichOneIsThePreview)
{
    // The head of each part, as the layout is told: length, offsets of one block and of the end.
    const std::string value = embedded("raw", "preview");
    const auto number = [&](std::size_t at) { return test::TiffMaker(true).numbers({at}, 4); };
    ASSERT_EQ(value.substr(0, 8), number(3) + number(12));
    const std::string zeros(4, '\0');
    const std::size_t rawEnd = static_cast<unsigned char>(value[11]);
    EXPECT_EQ(value.substr(rawEnd, 12), zeros + zeros + zeros);
    EXPECT_EQ(value.substr(rawEnd + 12, 8), number(7) + number(12));
    const std::size_t previewEnd =
        rawEnd + 12 + static_cast<unsigned char>(value[rawEnd + 12 + 11]);
    EXPECT_EQ(value.substr(previewEnd), zeros + zeros + zeros);
    EXPECT_EQ(embedded(""), std::string(32, '\0'));
}

TEST(EmbeddedOriginalTest, IsTheSameOnAnyNumberOfThreads)
{
    const std::string raw = rawFile(1'000'000);
    const std::string expected = embedded(raw);
    for (const unsigned int threads : {1U, 2U, 5U}) {
        dng::WorkerThreads workers(threads);
        EXPECT_TRUE(embedded(raw, {}, &workers) == expected);
    }
}

TEST(EmbeddedOriginalTest, IsNothingForAFileThatCannotBeRead)
{
    class Broken final : public dng::ByteSource {
    public:
        std::uint64_t size() const override { return 100'000; }
        bool read(std::uint64_t position, std::span<std::uint8_t>) const override
        {
            return position == 0;
        }
    };
    EXPECT_FALSE(EmbeddedOriginal::of(Broken(), nullptr, nullptr));
    const std::string raw = "raw";
    const dng::MemorySource good(bytesOf(raw));
    const Broken broken;
    EXPECT_FALSE(EmbeddedOriginal::of(good, &broken, nullptr));
}

TEST(EmbeddedOriginalTest, IsNothingForAFileTooLargeForADng)
{
    class Endless final : public dng::ByteSource {
    public:
        std::uint64_t size() const override { return EmbeddedOriginal::kMaxFile + 1; }
        bool read(std::uint64_t, std::span<std::uint8_t>) const override
        {
            ADD_FAILURE() << "it was read";
            return false;
        }
    };
    EXPECT_FALSE(EmbeddedOriginal::of(Endless(), nullptr, nullptr));
}

TEST(EmbeddedOriginalTest, StopsWhenTheSinkRefuses)
{
    const std::string raw = rawFile(200'000);
    const dng::MemorySource source(bytesOf(raw));
    const auto made = EmbeddedOriginal::of(source, &source, nullptr);
    int pieces = 0;
    EXPECT_TRUE(made->write([&](auto) { return ++pieces > 0; }));
    for (int last = 1; last <= pieces; ++last) {
        int calls = 0;
        EXPECT_FALSE(made->write([&](auto) { return ++calls < last; }));
        EXPECT_EQ(calls, last);
    }
    const std::string value = embedded(raw);
    dng::TiffEntry entry;
    entry.type = 7;
    entry.count = static_cast<std::uint32_t>(value.size());
    EXPECT_EQ(dng::unpackOriginal(
                  dng::MemorySource(bytesOf(value)), entry, {}, [](auto) { return false; }),
        UnpackResult::kSinkRefused);
}

TEST(EmbeddedOriginalTest, IsDamagedIfTheRecordIsAnotherFiles)
{
    const std::string raw = rawFile(70'000);
    std::string other = raw;
    other[69'999] = static_cast<char>(other[69'999] ^ 1);
    EXPECT_EQ(
        unpackedFrom(embedded(raw), test::recordOf("a", other)).result, UnpackResult::kDamaged);
    auto longer = test::recordOf("a", raw);
    ++longer.content.size;
    EXPECT_EQ(unpackedFrom(embedded(raw), longer).result, UnpackResult::kDamaged);
}

TEST(EmbeddedOriginalTest, IsDamagedOrWholeHoweverItIsCutOff)
{
    const std::string raw = rawFile(66'000);
    const std::string value = embedded(raw);
    const auto record = test::recordOf("a", raw);
    const std::size_t needed = value.size() - 7 * 4; // the parts behind it are not looked at
    for (std::size_t length = 0; length < value.size(); length += length < 40 ? 1 : 997) {
        const Unpacked unpacked = unpackedFrom(value.substr(0, length), record);
        EXPECT_EQ(
            unpacked.result, length < needed ? UnpackResult::kDamaged : UnpackResult::kUnpacked)
            << length;
    }
    EXPECT_EQ(unpackedFrom(value.substr(0, needed - 1), record).result, UnpackResult::kDamaged);
    EXPECT_EQ(unpackedFrom(value.substr(0, needed), record).result, UnpackResult::kUnpacked);
}

TEST(EmbeddedOriginalTest, IsNeverCalledGoodWithAByteFlipped)
{
    const std::string raw = rawFile(300) + std::string(66'000, 'x'); // two small blocks
    const std::string good = embedded(raw);
    const auto record = test::recordOf("a", raw);
    for (const bool hasRecord : {true, false})
        for (std::size_t at = 0; at < good.size(); ++at) {
            std::string value = good;
            value[at] = static_cast<char>(value[at] ^ 0x55);
            const Unpacked unpacked =
                unpackedFrom(value, hasRecord ? std::optional(record) : std::nullopt);
            if (unpacked.result == UnpackResult::kUnpacked)
                EXPECT_TRUE(unpacked.bytes == raw) << at;
            else
                EXPECT_EQ(unpacked.result, UnpackResult::kDamaged) << at;
        }
}

TEST(EmbeddedOriginalTest, TakesNoOffsetsThatCannotBe)
{
    const test::TiffMaker big(true);
    const std::string good = embedded(std::string(65537, 'x'));
    const auto with = [&](std::size_t index, std::size_t offset) {
        return std::string(good).replace(4 + 4 * index, 4, big.numbers({offset}, 4));
    };
    const auto offset = [&](std::size_t index) {
        std::size_t result = 0;
        for (const char byte : good.substr(4 + 4 * index, 4))
            result = result << 8U | static_cast<unsigned char>(byte);
        return result;
    };
    ASSERT_EQ(unpackedFrom(good).result, UnpackResult::kUnpacked);
    ASSERT_EQ(unpackedFrom(with(0, offset(0))).result, UnpackResult::kUnpacked);
    for (const std::string& value : {with(0, offset(0) - 1),
             with(0, offset(0) + 1),
             with(0, 0),
             with(1, offset(0)),
             with(1, offset(1) - 1),
             with(1, offset(2)),
             with(2, offset(1)),
             with(2, offset(2) + 1),
             with(2, good.size() + 1),
             with(2, 0xffffffff)})
        EXPECT_EQ(unpackedFrom(value).result, UnpackResult::kDamaged);
    // A gap before the first block, which is whole.
    std::string gap = big.numbers({65537, offset(0) + 1, offset(1) + 1, offset(2) + 1}, 4);
    gap += 'x' + good.substr(gap.size());
    EXPECT_EQ(unpackedFrom(gap).result, UnpackResult::kDamaged);
    EXPECT_EQ(
        unpackedFrom(big.numbers({0xffffffff}, 4) + good.substr(4)).result, UnpackResult::kDamaged);
}

TEST(EmbeddedOriginalTest, IsNoValueOfAnotherType)
{
    const std::string value = embedded("raw");
    EXPECT_EQ(unpackedFrom(value, {}, 1).result, UnpackResult::kUnpacked);
    EXPECT_EQ(unpackedFrom(value, {}, 2).result, UnpackResult::kDamaged);
    EXPECT_EQ(unpackedFrom(value, {}, 4).result, UnpackResult::kDamaged)
        << "the count is not bytes";
}
