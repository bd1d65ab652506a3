#include "mfx/engine/dates/CiffDate.h"

#include "apps/mfx/engine/MovieBytes.h"

#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

std::string little(std::uint32_t value, int bytes)
{
    const std::string text = tests::bigEndian(value, bytes);
    return {text.rbegin(), text.rend()};
}

struct Record {
    std::uint32_t tag;
    std::string contents;
};

std::string heap(const std::vector<Record>& records)
{
    std::string contents;
    std::string directory = little(static_cast<std::uint32_t>(records.size()), 2);
    for (const Record& record : records) {
        directory += little(record.tag, 2)
            + little(static_cast<std::uint32_t>(record.contents.size()), 4)
            + little(static_cast<std::uint32_t>(contents.size()), 4);
        contents += record.contents;
    }
    return contents + directory + little(static_cast<std::uint32_t>(contents.size()), 4);
}

std::string rawFile(const std::string& root)
{
    return "II" + little(26, 4) + "HEAPCCDR" + std::string(12, '\0') + root;
}

std::string timeRecord(std::uint32_t seconds)
{
    return little(seconds, 4) + std::string(8, '\0');
}

const std::string kWhole = rawFile(heap({{0x2005, "picture"},
    {0x300A, heap({{0x0805, "text"}, {0x3002, heap({{0x180E, timeRecord(1'000'000'000)}})}})}}));

CaptureDate ciffDateOf(const std::string& bytes)
{
    std::istringstream stream(bytes);
    return ciffDate(stream);
}

TEST(CiffDateTest, FindsTheTimeRecordInItsHeaps)
{
    const CaptureDate date = ciffDateOf(kWhole);
    ASSERT_TRUE(date.moment);
    EXPECT_EQ(isoText(*date.moment), "2001-09-09T01:46:40");
    EXPECT_EQ(date.source, DateSource::kRawRecord);
}

TEST(CiffDateTest, KnowsItsForm)
{
    EXPECT_TRUE(isCiff(kWhole));
    EXPECT_FALSE(isCiff(kWhole.substr(0, 13)));
    EXPECT_FALSE(isCiff("II*" + std::string(20, '\0')));
    EXPECT_FALSE(isCiff("MM" + kWhole.substr(2)));
}

TEST(CiffDateTest, GivesNothingForADamagedFile)
{
    for (std::size_t length = 0; length < kWhole.size(); ++length)
        EXPECT_FALSE(ciffDateOf(kWhole.substr(0, length)).moment) << length;
    const std::string head = kWhole.substr(0, 26);
    for (const std::string& bad : {head + std::string(50, '\0'),
             head + std::string(50, '\xFF'),
             rawFile(heap({})),
             rawFile(heap({{0x180E, ""}})),
             rawFile(heap({{0x180E, "abc"}})),
             rawFile(heap({{0x180E, timeRecord(0)}})),
             rawFile(heap({{0x580E, timeRecord(1'000'000'000)}})),
             "II" + little(0xFFFFFFFF, 4) + kWhole.substr(6)})
        EXPECT_FALSE(ciffDateOf(bad).moment);
}

TEST(CiffDateTest, EndsOnHeapsThatHoldThemselves)
{
    // A thousand entries, each of which is the whole heap again.
    const std::uint32_t count = 1000;
    const std::uint32_t size = 2 + count * 10 + 4;
    std::string loop = little(count, 2);
    for (std::uint32_t i = 0; i < count; ++i)
        loop += little(0x300A, 2) + little(size, 4) + little(0, 4);
    EXPECT_FALSE(ciffDateOf(rawFile(loop + little(0, 4))).moment);
}

TEST(CiffDateTest, GoesOnlySoDeep)
{
    std::string nested = heap({{0x180E, timeRecord(1'000'000'000)}});
    for (int i = 0; i < 10; ++i)
        nested = heap({{0x300A, nested}});
    EXPECT_FALSE(ciffDateOf(rawFile(nested)).moment);
}

} // namespace
} // namespace mfx
