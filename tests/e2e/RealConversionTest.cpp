// The whole road of raw files: card, copy, DNG, and what a second run makes of it.
#include "e2e/support/RealConversionFixture.h"

namespace e2e {

TEST_F(RealConversionTest, TurnsRawFilesIntoDngsAndKeepsTheBackupRaw)
{
    addRaws(4);
    addFile("IMG_1000.JPG", "jpeg");
    const RunResult result = downloadWithBackup({"--dng"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_EQ(result.summary()["converted"], 4);
    EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX"));
    fs::remove(card() / "DCIM/100MFX/IMG_1000.JPG");
    EXPECT_TRUE(fs::remove(target() / "IMG_1000.JPG"));
    expectConverted();
}

TEST_F(RealConversionTest, ConvertsNothingAgain)
{
    addRaws(3);
    EXPECT_EQ(download({"--dng"}).code, 0);
    const auto before = filesIn(target());
    const RunResult second = download({"--dng"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(second.item("IMG_1001.NEF")["status"], "exists");
    EXPECT_EQ(second.summary()["converted"], 0);
    EXPECT_EQ(filesIn(target()), before);
}

TEST_F(RealConversionTest, NamesWhatCannotBeConvertedAndGoesOn)
{
    addRaws(2);
    addFile("BROKEN.CR2", test::tinyRaw().substr(0, 9000));
    addFile("PICTURE.NEF", "\xff\xd8\xff\xe0" + std::string(5000, 'j'));
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.summary()["converted"], 2);
    for (const char* const name : {"BROKEN.CR2", "PICTURE.NEF"}) {
        EXPECT_EQ(result.item(name)["status"], "dng-failed");
        EXPECT_EQ(contentOf(target() / name), contentOf(card() / "DCIM/100MFX" / name));
    }
    EXPECT_NE(result.item("BROKEN.CR2")["error"], result.item("PICTURE.NEF")["error"]);
    expectNoLeftovers();
}

TEST_F(RealConversionTest, ClearsAwayTheHalfOfADngThatAKilledRunLeft)
{
    addRaws(1);
    fs::create_directories(target() / ".mfxdownload");
    std::ofstream(target() / ".mfxdownload/.unfinished-4194999-1") << "half a DNG";
    EXPECT_EQ(download({"--dng"}).code, 0);
    expectConverted();
}

TEST_F(RealConversionTest, GivesTheRawFileBackToTheLastByte)
{
    addRaws(1);
    EXPECT_EQ(download({"--dng", "--dng-embed-raw"}).code, 0);
    const fs::path dng = target() / "IMG_1000.dng";
    const RunResult result = mfx({"extract", dng, "--to", root() / "data"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(
        contentOf(root() / "data/IMG_1000.CR2"), contentOf(card() / "DCIM/100MFX/IMG_1000.CR2"));
}

TEST_F(RealConversionTest, ConvertsFilesThatAreThereAlready)
{
    addRaws(2);
    EXPECT_EQ(download().code, 0);
    const RunResult result =
        mfx({"convert", target() / "IMG_1000.CR2", target() / "IMG_1001.NEF", "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(recordOf(target() / "IMG_1000.dng"));
    EXPECT_TRUE(recordOf(target() / "IMG_1001.dng"));
    EXPECT_TRUE(fs::exists(target() / "IMG_1000.CR2"));
}

} // namespace e2e
