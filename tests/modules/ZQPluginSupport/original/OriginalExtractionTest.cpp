#include "ZQPluginSupport/original/OriginalExtraction.h"

#include "core/platform/support/FileFixture.h"
#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "support/NoiseSource.h"
#include "support/disks/Mounts.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using dng::ExtractOutcome;
using dng::ExtractResult;
using test::MadeDng;
using testing::UnorderedElementsAre;

class OriginalExtractionTest : public test::FileFixture {
protected:
    void SetUp() override { std::filesystem::create_directory(path("out")); }

    ExtractResult extract(const std::string& dng, const std::string& name = "a.dng")
    {
        put(name, dng);
        return dng::extractOriginal(path(name), path("out"));
    }
    std::vector<std::string> extracted() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path("out")))
            found.push_back(entry.path().filename().string());
        return found;
    }

    const std::string m_raw = tests::NoiseSource(1).bytes(150'000);
    const std::string m_good = MadeDng{.record = test::recordOf("CRW_1.CRW", m_raw),
        .name = "other.CRW",
        .value = test::embedded(m_raw)}
                                   .bytes();
};

std::string nameOf(const ExtractResult& result)
{
    return std::filesystem::path(result.path).filename().string();
}

} // namespace

TEST_F(OriginalExtractionTest, WritesTheRawFileUnderItsName)
{
    const ExtractResult result = extract(m_good);
    EXPECT_EQ(result.outcome, ExtractOutcome::kExtracted);
    EXPECT_EQ(result.path, path("out") + "/CRW_1.CRW");
    EXPECT_TRUE(result.isProven);
    EXPECT_TRUE(test::read(result.path) == m_raw);
    EXPECT_THAT(extracted(), UnorderedElementsAre("CRW_1.CRW"));
}

TEST_F(OriginalExtractionTest, SaysThatTheSameFileIsThereAlready)
{
    extract(m_good);
    const ExtractResult again = extract(m_good);
    EXPECT_EQ(again.outcome, ExtractOutcome::kExists);
    EXPECT_EQ(again.path, path("out") + "/CRW_1.CRW");
    EXPECT_TRUE(again.isProven);
    EXPECT_THAT(extracted(), UnorderedElementsAre("CRW_1.CRW"));
}

TEST_F(OriginalExtractionTest, NeverReplacesAnotherFile)
{
    put("out/CRW_1.CRW", "another");
    std::filesystem::create_symlink("nowhere", path("out/CRW_1-1.CRW"));
    std::filesystem::create_directory(path("out/CRW_1-2.CRW"));
    const ExtractResult result = extract(m_good);
    EXPECT_EQ(result.outcome, ExtractOutcome::kExtracted);
    EXPECT_EQ(nameOf(result), "CRW_1-3.CRW");
    EXPECT_EQ(bytes("out/CRW_1.CRW"), "another");
    EXPECT_EQ(extract(m_good).outcome, ExtractOutcome::kExists);
    EXPECT_EQ(nameOf(extract(m_good)), "CRW_1-3.CRW");
}

TEST_F(OriginalExtractionTest, ComparesMoreThanTheSize)
{
    put("out/CRW_1.CRW", std::string(m_raw.size(), 'x'));
    EXPECT_EQ(nameOf(extract(m_good)), "CRW_1-1.CRW");
}

TEST_F(OriginalExtractionTest, TakesTheNameThatTheDngHas)
{
    const std::string value = test::embedded(m_raw);
    const auto nameFor = [&](const std::optional<std::string>& record,
                             const std::optional<std::string>& tag) {
        MadeDng dng{.name = tag, .value = value};
        if (record)
            dng.record = test::recordOf(*record, m_raw);
        std::filesystem::remove_all(path("out"));
        std::filesystem::create_directory(path("out"));
        return nameOf(extract(dng.bytes(), "picture.x.dng"));
    };
    EXPECT_EQ(nameFor("a.CRW", "b.CRW"), "a.CRW");
    EXPECT_EQ(nameFor({}, "b.CRW"), "b.CRW");
    EXPECT_EQ(nameFor({}, {}), "picture.x.raw");
    EXPECT_EQ(nameFor({}, "../b.CRW"), "picture.x.raw");
    EXPECT_EQ(nameFor({}, "/b.CRW"), "picture.x.raw");
    EXPECT_EQ(nameFor({}, ".profile"), "picture.x.raw");
    EXPECT_EQ(nameFor({}, "b\033[2J"), "picture.x.raw");
    EXPECT_EQ(nameFor(".profile", "b.CRW"), "b.CRW");
    EXPECT_EQ(nameFor("without", {}), "without");
}

TEST_F(OriginalExtractionTest, NumbersANameWithoutASuffix)
{
    put("out/raw", "another");
    const MadeDng dng{.record = test::recordOf("raw", m_raw), .value = test::embedded(m_raw)};
    EXPECT_EQ(nameOf(extract(dng.bytes())), "raw-1");
}

TEST_F(OriginalExtractionTest, SaysThatWithoutARecordItIsNotProven)
{
    const ExtractResult result = extract(MadeDng{.value = test::embedded(m_raw)}.bytes());
    EXPECT_EQ(result.outcome, ExtractOutcome::kExtracted);
    EXPECT_FALSE(result.isProven);
    EXPECT_TRUE(test::read(result.path) == m_raw);
}

TEST_F(OriginalExtractionTest, TellsWhyThereIsNothing)
{
    const auto record = test::recordOf("a", m_raw);
    EXPECT_EQ(
        dng::extractOriginal(path("none.dng"), path("out")).outcome, ExtractOutcome::kNotThere);
    EXPECT_EQ(dng::extractOriginal(path("out"), path("out")).outcome, ExtractOutcome::kNotADng);
    EXPECT_EQ(extract("").outcome, ExtractOutcome::kNotADng);
    EXPECT_EQ(extract("\xff\xd8\xff\xe0 a JPEG").outcome, ExtractOutcome::kNotADng);
    EXPECT_EQ(extract(MadeDng{}.bytes()).outcome, ExtractOutcome::kNoOriginal);
    EXPECT_EQ(extract(MadeDng{.record = record}.bytes()).outcome, ExtractOutcome::kNoOriginal);
    EXPECT_EQ(
        extract(MadeDng{.value = test::embedded("")}.bytes()).outcome, ExtractOutcome::kNoOriginal);
    EXPECT_EQ(extract(MadeDng{.value = "xyz"}.bytes()).outcome, ExtractOutcome::kDamaged);
    EXPECT_EQ(extract(MadeDng{.record = record, .value = test::embedded("other")}.bytes()).outcome,
        ExtractOutcome::kDamaged);
    EXPECT_THAT(extracted(), UnorderedElementsAre());
}

// Its head stands at the front, as in every DNG of ours; so the tag is there, and its value is not.
TEST_F(OriginalExtractionTest, TellsThatHalfADngIsDamaged)
{
    std::string half = m_good;
    const dng::MemorySource source(test::bytesOf(half));
    const auto file = dng::openDng(source);
    ASSERT_TRUE(file);
    const dng::TiffEntry* const value = file->first().find(dng::kTagOriginalData);
    ASSERT_NE(value, nullptr);
    constexpr std::size_t kOffsetInEntry = 8;
    half[value->entryPosition + kOffsetInEntry + 2] = '\x7f'; // far behind the end
    EXPECT_EQ(extract(half).outcome, ExtractOutcome::kDamaged);
    EXPECT_THAT(extracted(), UnorderedElementsAre());
}

TEST_F(OriginalExtractionTest, TellsThatItCannotWrite)
{
    put("a.dng", m_good);
    const ExtractResult none = dng::extractOriginal(path("a.dng"), path("nowhere"));
    EXPECT_EQ(none.outcome, ExtractOutcome::kCannotWrite);
    EXPECT_EQ(none.path, "");
    EXPECT_EQ(
        dng::extractOriginal(path("a.dng"), path("a.dng")).outcome, ExtractOutcome::kCannotWrite);
}

TEST_F(OriginalExtractionTest, TellsThatTheDiskIsFull)
{
    if (!test::canMount())
        GTEST_SKIP() << "only root may mount, and not in every container";
    put("a.dng", m_good);
    {
        const test::MemoryMount disk(path("out"), 64 << 10U);
        const ExtractResult full = dng::extractOriginal(path("a.dng"), path("out"));
        EXPECT_EQ(full.outcome, ExtractOutcome::kNoSpace);
        EXPECT_EQ(full.path, "");
        EXPECT_THAT(extracted(), UnorderedElementsAre());
    }
    const test::MemoryMount disk(path("out"), 512 << 10U);
    EXPECT_EQ(dng::extractOriginal(path("a.dng"), path("out")).outcome, ExtractOutcome::kExtracted);
}

TEST_F(OriginalExtractionTest, DoesNotWaitForAPipe)
{
    ASSERT_EQ(::mkfifo(path("pipe.dng").c_str(), 0600), 0);
    EXPECT_EQ(
        dng::extractOriginal(path("pipe.dng"), path("out")).outcome, ExtractOutcome::kNotADng);
}

TEST_F(OriginalExtractionTest, NeverCallsAWrongFileGood)
{
    const std::string raw = "the bytes of a raw file, few enough to try each";
    const std::string good =
        MadeDng{.record = test::recordOf("x.CRW", raw), .value = test::embedded(raw)}.bytes();
    std::size_t refused = 0;
    const auto expectHonest = [&](const std::string& dng) {
        const ExtractResult result = extract(dng);
        refused += result.isThere() ? 0 : 1;
        if (result.isThere()) {
            EXPECT_EQ(test::read(result.path), raw);
        }
        for (const std::string& name : extracted())
            std::filesystem::remove(path("out/" + name));
    };
    for (std::size_t length = 0; length < good.size(); ++length)
        expectHonest(good.substr(0, length));
    for (std::size_t at = 0; at < good.size(); ++at)
        for (const char flip : {'\1', '\x80', '\xff'}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ flip);
            expectHonest(bytes);
        }
    EXPECT_GT(refused, good.size()) << "nearly everything was taken";
}
