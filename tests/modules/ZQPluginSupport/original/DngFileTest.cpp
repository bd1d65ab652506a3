#include "ZQPluginSupport/original/DngFile.h"

#include "core/platform/support/FileFixture.h"
#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "platform/common/files/RegularFile.h"

namespace {

using test::MadeDng;

class DngFileTest : public test::FileFixture {
protected:
    std::optional<dng::OriginalRecord> recordIn(const std::string& bytes)
    {
        put("a.dng", bytes);
        std::error_code error;
        const auto file = Pt::openRegularFile(path("a.dng"), error);
        return dng::readOriginalRecord(file->descriptor.get());
    }
};

std::optional<std::string> nameIn(const std::string& tag)
{
    const std::string bytes = MadeDng{.name = tag}.bytes();
    const dng::MemorySource source(test::bytesOf(bytes));
    return dng::originalNameOf(*dng::openDng(source));
}

} // namespace

TEST_F(DngFileTest, ReadsTheRecordInBothByteOrders)
{
    const auto record = test::recordOf("a.CRW", "bytes");
    for (const bool isBigEndian : {false, true})
        EXPECT_EQ(recordIn(MadeDng{.record = record, .isBigEndian = isBigEndian}.bytes()), record);
}

TEST_F(DngFileTest, FindsNoRecordWhereThereIsNone)
{
    EXPECT_EQ(recordIn(MadeDng{}.bytes()), std::nullopt);
    EXPECT_EQ(recordIn(""), std::nullopt);
    EXPECT_EQ(recordIn("a JPEG, perhaps"), std::nullopt);
    EXPECT_EQ(dng::readOriginalRecord(-1), std::nullopt);
    test::TiffMaker other;
    other.bytes(dng::kTagDngVersion, std::string("\1\4\0\0", 4));
    other.bytes(dng::kTagPrivateData, std::string("Maker\0MakN\0\0\0\4abcd", 19));
    EXPECT_EQ(recordIn(other.file()), std::nullopt);
}

// Another program has copied the beginning only.
TEST_F(DngFileTest, FindsNoRecordWhereAPictureIsNotWhole)
{
    const auto record = test::recordOf("a.CRW", "bytes");
    const std::size_t size = MadeDng{.record = record}.bytes().size();
    EXPECT_EQ(recordIn(MadeDng{.record = record, .pictureOffset = size - 8}.bytes()), record);
    EXPECT_EQ(recordIn(MadeDng{.record = record, .pictureOffset = size - 7}.bytes()), std::nullopt);
    test::TiffMaker none;
    none.bytes(dng::kTagDngVersion, std::string("\1\4\0\0", 4));
    none.bytes(dng::kTagPrivateData, dng::formatOriginalRecord(record));
    EXPECT_EQ(recordIn(none.file()), std::nullopt) << "without any picture";
}

// The picture may lie in a directory below the first one, in tiles.
TEST_F(DngFileTest, FindsNoRecordWhereATileBelowIsNotWhole)
{
    const auto record = test::recordOf("a.CRW", "bytes");
    const auto withTiles = [&record](std::size_t last) {
        test::TiffMaker first;
        first.bytes(dng::kTagDngVersion, std::string("\1\4\0\0", 4));
        first.bytes(dng::kTagPrivateData, dng::formatOriginalRecord(record));
        first.longs(dng::kTagSubDirectories, {0});
        const std::size_t end = first.file().size();
        test::TiffMaker again;
        again.bytes(dng::kTagDngVersion, std::string("\1\4\0\0", 4));
        again.bytes(dng::kTagPrivateData, dng::formatOriginalRecord(record));
        again.longs(dng::kTagSubDirectories, {end});
        test::TiffMaker below;
        below.longs(dng::kTagTileOffsets, {0, last});
        below.longs(dng::kTagTileByteCounts, {8, 8});
        return again.file() + below.directory(end);
    };
    const std::size_t size = withTiles(0).size();
    EXPECT_EQ(recordIn(withTiles(size - 8)), record);
    EXPECT_EQ(recordIn(withTiles(size - 7)), std::nullopt);
}

TEST_F(DngFileTest, FindsNoRecordInATiffFileThatIsNoDng)
{
    test::TiffMaker tiff;
    tiff.bytes(dng::kTagPrivateData, dng::formatOriginalRecord(test::recordOf("a", "b")));
    EXPECT_EQ(recordIn(tiff.file()), std::nullopt);
}

TEST_F(DngFileTest, FindsTheRecordOrNothingWithAnyByteFlippedOrCutOff)
{
    const auto record = test::recordOf("a.CRW", "bytes");
    const std::string good = MadeDng{.record = record}.bytes();
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_EQ(recordIn(good.substr(0, length)), std::nullopt) << length;
    const std::size_t recordAt = good.find("Tevoro");
    for (std::size_t at = 0; at < good.size(); ++at)
        for (const char flip : {'\1', '\x80', '\xff'}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ flip);
            const auto found = recordIn(bytes);
            if (at < recordAt)
                EXPECT_TRUE(!found || *found == record) << at;
            else if (at < recordAt + 21) {
                EXPECT_EQ(found, std::nullopt) << at;
            }
        }
}

TEST_F(DngFileTest, ReadsTheNameThatAnyDngMayBear)
{
    EXPECT_EQ(nameIn("a.NEF"), "a.NEF");
    EXPECT_EQ(nameIn(std::string("a.NEF\0\0", 7)), "a.NEF");
    EXPECT_EQ(nameIn(""), std::nullopt);
    EXPECT_EQ(nameIn("../a.NEF"), std::nullopt);
    EXPECT_EQ(nameIn(std::string(300, 'a')), std::nullopt);
    EXPECT_EQ(nameIn(std::string(5000, 'a')), std::nullopt);
}
