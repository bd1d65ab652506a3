#include "ZQPluginSupport/original/OriginalRecord.h"

#include "modules/ZQPluginSupport/original/support/MadeDng.h"

#include <gtest/gtest.h>

namespace {

using dng::formatOriginalRecord;
using dng::OriginalRecord;
using dng::parseOriginalRecord;

OriginalRecord someRecord(const std::string& name = "CRW_0001.CRW")
{
    return test::recordOf(name, "the bytes of a raw file");
}

// A record with this name, whether a file can have it or not.
std::string withName(const std::string& name)
{
    std::string bytes = formatOriginalRecord(someRecord("x"));
    bytes.resize(bytes.size() - 3);
    bytes += static_cast<char>(name.size() >> 8U);
    bytes += static_cast<char>(name.size());
    return bytes + name;
}

} // namespace

TEST(OriginalRecordTest, IsTheBytesThatItsFormatTells)
{
    OriginalRecord record;
    record.name = "a.CR2";
    record.content.size = 0x0102030405060708;
    for (std::size_t i = 0; i < 32; ++i)
        record.content.sha256[i] = static_cast<unsigned char>(0xa0 + i);
    std::string expected("Tevoro NX original 1\0\1\2\3\4\5\6\7\10", 29);
    for (int i = 0; i < 32; ++i)
        expected += static_cast<char>(0xa0 + i);
    expected += std::string("\0\5a.CR2", 7);
    EXPECT_EQ(formatOriginalRecord(record), expected);
    EXPECT_EQ(parseOriginalRecord(expected), record);
}

TEST(OriginalRecordTest, ComesBackWithAnyNameThatAFileMayHave)
{
    for (const std::string& name : {std::string("x"),
             std::string("..."),
             std::string(".hidden"),
             std::string("name with \n and \xff"),
             std::string("\xc3\xa4.NEF"),
             std::string(255, 'n')}) {
        EXPECT_EQ(parseOriginalRecord(formatOriginalRecord(someRecord(name))), someRecord(name));
        EXPECT_EQ(withName(name),
            formatOriginalRecord(someRecord(name)).substr(0, 21) + withName(name).substr(21));
        EXPECT_TRUE(parseOriginalRecord(withName(name))) << name;
    }
}

TEST(OriginalRecordTest, TakesNoNameThatAFileCannotHave)
{
    for (const std::string& name : {std::string(),
             std::string("."),
             std::string(".."),
             std::string("a/b"),
             std::string("/"),
             std::string("a\0b", 3),
             std::string("a\0", 2),
             std::string(256, 'n')}) {
        EXPECT_FALSE(dng::isFileName(name)) << name;
        EXPECT_THROW(formatOriginalRecord(someRecord(name)), std::invalid_argument) << name;
        EXPECT_EQ(parseOriginalRecord(withName(name)), std::nullopt) << name;
    }
}

TEST(OriginalRecordTest, IsNothingOnceItIsCutOffOrHasMoreBehindIt)
{
    const std::string bytes = formatOriginalRecord(someRecord());
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(parseOriginalRecord(bytes.substr(0, length)), std::nullopt) << length;
    EXPECT_EQ(parseOriginalRecord(bytes + '\0'), std::nullopt);
    EXPECT_EQ(parseOriginalRecord(bytes + bytes), std::nullopt);
}

TEST(OriginalRecordTest, IsNothingOrAnotherWithAnyByteFlipped)
{
    const std::string good = formatOriginalRecord(someRecord());
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        const auto parsed = parseOriginalRecord(bytes);
        EXPECT_NE(parsed, someRecord()) << at;
        if (at < 21) {
            EXPECT_EQ(parsed, std::nullopt) << "the mark of somebody else, at " << at;
        }
    }
}

TEST(OriginalRecordTest, IsNotThePrivateDataOfOthers)
{
    EXPECT_EQ(parseOriginalRecord(std::string("Maker\0MakN\0\0\0\4abcd", 19)), std::nullopt);
    std::string later = formatOriginalRecord(someRecord());
    later[19] = '2';
    EXPECT_EQ(parseOriginalRecord(later), std::nullopt);
}
