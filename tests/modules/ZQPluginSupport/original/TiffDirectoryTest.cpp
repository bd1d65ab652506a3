#include "ZQPluginSupport/original/TiffDirectory.h"

#include "modules/ZQPluginSupport/original/support/MadeDng.h"

#include <gmock/gmock.h>

namespace {

using dng::MemorySource;
using dng::TiffFile;
using test::TiffMaker;

using Numbers = std::vector<std::uint32_t>;

class TiffDirectoryTest : public testing::TestWithParam<bool> {
protected:
    // Keeps the bytes, which the file borrows.
    const TiffFile& open(std::string bytes)
    {
        m_bytes = std::move(bytes);
        m_source.emplace(test::bytesOf(m_bytes));
        m_file = TiffFile::open(*m_source);
        if (!m_file)
            throw std::runtime_error("no TIFF file");
        return *m_file;
    }

    TiffMaker m_maker{GetParam()};
    std::string m_bytes;
    std::optional<MemorySource> m_source;
    std::optional<TiffFile> m_file;
};

bool opens(const std::string& bytes)
{
    return TiffFile::open(MemorySource(test::bytesOf(bytes))).has_value();
}

// A file of one directory with this entry alone, little endian.
std::string withEntry(std::size_t type, std::size_t count, std::size_t value)
{
    const TiffMaker maker;
    return std::string("II\x2a\0\x08\0\0\0", 8) + maker.numbers({1}, 2)
        + maker.numbers({700, type}, 2) + maker.numbers({count, value, 0}, 4);
}

bool hasEntry(const std::string& bytes)
{
    const MemorySource source(test::bytesOf(bytes));
    const auto file = TiffFile::open(source);
    return file && file->first().find(700);
}

} // namespace

TEST_P(TiffDirectoryTest, GivesEntriesAndTheirValues)
{
    m_maker.shorts(256, {17});
    m_maker.shorts(258, {16, 17, 18});
    m_maker.longs(273, {4'000'000'000});
    m_maker.bytes(700, "abc");
    m_maker.text(305, "Software");
    const TiffFile& file = open(m_maker.file());
    EXPECT_EQ(file.isBigEndian(), GetParam());
    EXPECT_EQ(file.first().entries.size(), 5U);
    EXPECT_EQ(file.numbers(*file.first().find(256)), Numbers{17});
    EXPECT_EQ(file.numbers(*file.first().find(258)), (Numbers{16, 17, 18}));
    EXPECT_EQ(file.numbers(*file.first().find(273)), Numbers{4'000'000'000});
    EXPECT_EQ(file.numbers(*file.first().find(700)), (Numbers{'a', 'b', 'c'}));
    EXPECT_EQ(file.numbers(*file.first().find(305)), Numbers()) << "a text is no number";
    EXPECT_EQ(file.text(*file.first().find(305), 9), std::string("Software\0", 9));
    EXPECT_EQ(file.text(*file.first().find(305), 8), std::nullopt);
    EXPECT_EQ(file.first().find(301), nullptr);
}

TEST_P(TiffDirectoryTest, TellsWhereTheFileHasThem)
{
    m_maker.shorts(258, {16, 17, 18});
    m_maker.longs(273, {5});
    const TiffFile& file = open(m_maker.file());
    const auto* const large = file.first().find(258);
    const auto* const small = file.first().find(273);
    EXPECT_EQ(file.first().position, 8U);
    EXPECT_EQ(large->entryPosition, 10U);
    EXPECT_EQ(large->valueOffset, 8U + 2 + 2 * 12 + 4) << "behind the directory";
    EXPECT_EQ(m_bytes.substr(large->valueOffset, 6), m_maker.numbers({16, 17, 18}, 2));
    EXPECT_EQ(small->entryPosition, 22U);
    EXPECT_EQ(small->valueOffset, 30U) << "in the entry";
    EXPECT_EQ(m_bytes.substr(small->valueOffset, 4), m_maker.numbers({5}, 4));
}

TEST_P(TiffDirectoryTest, GivesTheDirectoriesBelow)
{
    m_maker.longs(330, {0, 0, 0});
    const std::size_t end = m_maker.file().size();
    TiffMaker first(GetParam());
    first.shorts(256, {1});
    TiffMaker second(GetParam());
    second.longs(256, {2, 3});
    const std::string firstBytes = first.directory(end);
    m_maker.longs(330, {end, 1'000'000, end + firstBytes.size()});
    const TiffFile& file =
        open(m_maker.file() + firstBytes + second.directory(end + firstBytes.size(), 8));
    const auto below = file.below(file.first());
    ASSERT_EQ(below.size(), 2U) << "the one behind the end is left out";
    EXPECT_EQ(below[0].position, end);
    EXPECT_EQ(file.numbers(*below[0].find(256)), Numbers{1});
    EXPECT_EQ(file.numbers(*below[1].find(256)), (Numbers{2, 3}));
    EXPECT_EQ(below[1].next, 8U);
    EXPECT_TRUE(file.below(below[0]).empty());
}

TEST_P(TiffDirectoryTest, ReadsNoMoreThanItsBounds)
{
    m_maker.longs(330, std::vector<std::size_t>(100, 8)); // itself, a hundred times
    m_maker.longs(273, std::vector<std::size_t>(5000, 7));
    const TiffFile& file = open(m_maker.file());
    EXPECT_EQ(file.below(file.first()).size(), 32U);
    EXPECT_EQ(file.numbers(*file.first().find(273)).size(), 1024U);
}

INSTANTIATE_TEST_SUITE_P(BothOrders, TiffDirectoryTest, testing::Bool(), [](const auto& order) {
    return order.param ? "BigEndian" : "LittleEndian";
});

TEST(TiffFileTest, IsNothingForOtherFiles)
{
    const std::string good = TiffMaker().file();
    EXPECT_TRUE(opens(good));
    EXPECT_FALSE(opens(""));
    EXPECT_FALSE(opens("II"));
    EXPECT_FALSE(opens("IM" + good.substr(2)));
    EXPECT_FALSE(opens("MM" + good.substr(2)));
    EXPECT_FALSE(opens("XX" + good.substr(2)));
    EXPECT_FALSE(opens("II+" + good.substr(3)));
    EXPECT_FALSE(opens(good.substr(0, 4) + std::string(4, '\0') + good.substr(8)));
    EXPECT_FALSE(opens(good.substr(0, 4) + std::string("\4\0\0\0", 4) + good.substr(8)));
    EXPECT_FALSE(opens(good.substr(0, 4) + std::string("\xff\xff\xff\xff", 4) + good.substr(8)));
    const std::string inTheHead = good.substr(0, 4) + std::string("\2\0\0\0", 4);
    EXPECT_FALSE(opens(inTheHead + std::string(1000, '\0'))) << "forty-two entries";
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(opens(good.substr(0, length))) << length;
}

TEST(TiffFileTest, LeavesOutEntriesThatCannotBe)
{
    const std::size_t end = withEntry(1, 0, 0).size();
    EXPECT_TRUE(hasEntry(withEntry(1, 4, 0)));
    EXPECT_TRUE(hasEntry(withEntry(1, 0, 0)));
    EXPECT_TRUE(hasEntry(withEntry(1, 5, end - 5)));
    EXPECT_TRUE(hasEntry(withEntry(12, 2, end - 16)));
    EXPECT_FALSE(hasEntry(withEntry(0, 1, 0))) << "no such type";
    EXPECT_FALSE(hasEntry(withEntry(14, 1, 0)));
    EXPECT_FALSE(hasEntry(withEntry(65535, 1, 0)));
    EXPECT_FALSE(hasEntry(withEntry(1, 5, end - 4))) << "a byte behind the end";
    EXPECT_FALSE(hasEntry(withEntry(1, 0xffffffff, 0)));
    EXPECT_FALSE(hasEntry(withEntry(12, 0x20000000, 0))) << "4 GB and no byte";
    EXPECT_FALSE(hasEntry(withEntry(12, 1, 0xffffffff)));
}

TEST(TiffFileTest, NamesThoseWhoseValuesAreCutOff)
{
    const auto cutOff = [](const std::string& bytes) {
        const dng::MemorySource source(test::bytesOf(bytes));
        const auto file = dng::TiffFile::open(source);
        return file ? file->first().cutOff : std::vector<std::uint16_t>{0};
    };
    const std::size_t end = withEntry(1, 0, 0).size();
    EXPECT_THAT(cutOff(withEntry(1, 5, end - 5)), testing::IsEmpty());
    EXPECT_THAT(cutOff(withEntry(1, 5, end - 4)), testing::ElementsAre(700));
    EXPECT_THAT(cutOff(withEntry(0, 1, 0)), testing::IsEmpty()) << "no such type";
}
