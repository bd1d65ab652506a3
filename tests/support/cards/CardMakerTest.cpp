#include "support/cards/CardMaker.h"

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "support/TestFolder.h"
#include "support/cards/CardPictures.h"

#include <QImage>
#include <QString>

#include <map>
#include <set>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>

namespace tests {

namespace {

constexpr std::size_t kSize = 40'000;

// Paths below the root with what stands there.
std::map<std::string, std::string> filesBelow(const std::string& root)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file())
            files[entry.path().lexically_relative(root).native()] =
                test::read(entry.path().native());
    }
    return files;
}

std::string dateIn(const std::string& path)
{
    const mfx::CaptureDate date = mfx::ownCaptureDate(path);
    return date.moment ? mfx::isoText(*date.moment) : "none";
}

std::string modelIn(const std::string& path)
{
    const auto image = Exiv2::ImageFactory::open(path);
    image->readMetadata();
    return image->exifData()["Exif.Image.Model"].toString();
}

class CardMakerTest : public ::testing::Test {
protected:
    CardMaker maker(std::uint64_t seed = 1) const { return {m_folder.path(), kSize, seed}; }
    std::string card(const std::string& name) const { return m_folder.path("DCIM/" + name); }

    test::TestFolder m_folder;
};

TEST_F(CardMakerTest, DatesEveryKindOfFileAsACameraDoes)
{
    maker().addOneOfEverything();
    EXPECT_EQ(dateIn(card("100MFXTM/DSC_0001.JPG")), "2024-06-14T08:12:05.2+02:00");
    EXPECT_EQ(dateIn(card("100MFXTM/DSC_0004.NEF")), "2024-06-15T06:31:00.05+02:00");
    EXPECT_EQ(dateIn(card("100MFXTM/MOV_0003.MP4")), "2024-06-14T17:02:10+00:00");
    EXPECT_EQ(dateIn(card("101MFXTM/DSC_0002.JPG")), "2024-06-16T23:59:59.98+02:00");
}

TEST_F(CardMakerTest, GivesEachFileTheTimeOfItsShot)
{
    maker().addOneOfEverything();
    const auto time = std::filesystem::last_write_time(card("100MFXTM/DSC_0004.XMP"));
    const auto shot = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15)
        + std::chrono::hours(4) + std::chrono::minutes(31);
    EXPECT_EQ(std::chrono::file_clock::to_sys(time), shot);
}

TEST_F(CardMakerTest, MakesTheBurstWithinOneSecond)
{
    maker().addOneOfEverything();
    std::set<std::string> dates;
    for (const char* const name : {"DSC_0005.JPG", "DSC_0006.JPG", "DSC_0007.JPG"})
        dates.insert(dateIn(card(std::string("100MFXTM/") + name)));
    EXPECT_EQ(dates.size(), 3U);
    for (const std::string& date : dates)
        EXPECT_EQ(date.substr(0, 19), "2024-06-15T10:15:22");
}

TEST_F(CardMakerTest, MakesACardWithoutAnythingThatIsPassedOver)
{
    maker().addOneOfEverything();
    const mfx::CardContents contents = mfx::scanCard(m_folder.path());
    EXPECT_EQ(contents.items.size(), 12U);
    EXPECT_TRUE(contents.notHandled.empty());
    EXPECT_TRUE(contents.problems.empty());
}

TEST_F(CardMakerTest, WritesPhotosThatOpenAndNameTheCamera)
{
    maker().addOneOfEverything();
    const std::string path = card("100MFXTM/Grüße aus Köln.JPG");
    EXPECT_FALSE(QImage(QString::fromStdString(path)).isNull());
    EXPECT_EQ(modelIn(path), "Demo Camera");
    EXPECT_EQ(modelIn(card("100MFXTM/DSC_0004.NEF")), "Demo Camera");
}

TEST_F(CardMakerTest, KeepsTheSensorValuesOfARawFileBehindItsTags)
{
    const std::string raw = rawBytes(kSize, NoiseSource(5), {});
    const std::string values = NoiseSource(5).bytes(kSize / 480 * 480);
    EXPECT_NE(raw.find(values), std::string::npos);
}

TEST_F(CardMakerTest, RatesThePictureInItsSidecar)
{
    maker().addOneOfEverything();
    Exiv2::XmpData tags;
    ASSERT_EQ(Exiv2::XmpParser::decode(tags, test::read(card("100MFXTM/DSC_0004.XMP"))), 0);
    EXPECT_EQ(tags["Xmp.xmp.Rating"].toString(), "4");
}

TEST_F(CardMakerTest, MakesNoTwoFilesAlike)
{
    maker().addOneOfEverything();
    std::set<std::string> contents;
    for (const auto& [name, bytes] : filesBelow(m_folder.path()))
        EXPECT_TRUE(contents.insert(bytes).second) << name;
}

TEST_F(CardMakerTest, PaintsAPictureOfItsOwnForEachName)
{
    maker().addPhoto("a.jpg", {});
    maker().addPhoto("b.jpg", {});
    EXPECT_NE(test::read(m_folder.path("a.jpg")), test::read(m_folder.path("b.jpg")));
}

TEST_F(CardMakerTest, MakesFilesOfAboutTheAskedSize)
{
    for (const std::size_t size : {20'000UL, 80'000UL, 300'000UL}) {
        const std::size_t made = plainPhotoBytes(size, NoiseSource(3)).size();
        EXPECT_NEAR(static_cast<double>(made), static_cast<double>(size), 0.1 * double(size));
    }
}

TEST_F(CardMakerTest, MakesTheSameCardForTheSameSeed)
{
    const test::TestFolder other;
    maker(7).addOneOfEverything();
    CardMaker(other.path(), kSize, 7).addOneOfEverything();
    EXPECT_EQ(filesBelow(m_folder.path()), filesBelow(other.path()));
}

TEST_F(CardMakerTest, MakesOtherPicturesForAnotherSeed)
{
    const test::TestFolder other;
    maker(7).addPhoto("a.jpg", {});
    CardMaker(other.path(), kSize, 8).addPhoto("a.jpg", {});
    EXPECT_NE(filesBelow(m_folder.path()), filesBelow(other.path()));
}

TEST_F(CardMakerTest, MakesManyFilesOfExactlyOneSizeInNumberedFolders)
{
    maker().addMany(1002);
    const auto files = filesBelow(m_folder.path());
    EXPECT_EQ(files.size(), 1002U);
    EXPECT_EQ(files.count("DCIM/100MFXTM/DSC_1000.JPG"), 1U);
    EXPECT_EQ(files.count("DCIM/101MFXTM/DSC_0002.JPG"), 1U);
    std::set<std::string> contents;
    for (const auto& [name, bytes] : files) {
        EXPECT_EQ(bytes.size(), kSize) << name;
        EXPECT_TRUE(contents.insert(bytes).second) << name;
    }
}

TEST_F(CardMakerTest, DatesEachOfManyFilesAndLeavesItAPhoto)
{
    maker().addMany(3);
    EXPECT_EQ(dateIn(card("100MFXTM/DSC_0003.JPG")), "2024-06-14T08:01:14.0+02:00");
    EXPECT_FALSE(QImage(QString::fromStdString(card("100MFXTM/DSC_0003.JPG"))).isNull());
}

TEST_F(CardMakerTest, WritesNothingOver)
{
    m_folder.write("DCIM/a.jpg", "mine");
    EXPECT_THROW(maker().addPhoto("DCIM/a.jpg", {}), CardError);
    EXPECT_EQ(test::read(card("a.jpg")), "mine");
}

TEST_F(CardMakerTest, NamesThePlaceThatCannotBeUsed)
{
    m_folder.write("DCIM", "a file in the way");
    try {
        maker().addOneOfEverything();
        FAIL() << "a card below a file";
    } catch (const CardError& error) {
        EXPECT_NE(std::string(error.what()).find(m_folder.path("DCIM")), std::string::npos);
    }
}

} // namespace

} // namespace tests
