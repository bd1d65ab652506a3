#include "pictures/facts/PictureFacts.h"

#include "apps/pictures/support/PictureBytes.h"
#include "pictures/facts/ExifReading.h"
#include "support/Environment.h"
#include "support/TestFolder.h"
#include "support/TinyJpeg.h"

#include <ctime>
#include <random>

#include <sys/stat.h>

namespace pictures {
namespace {

class PictureFactsTest : public testing::Test {
protected:
    PictureFacts factsOf(const ::tests::ImageTags& tags) const
    {
        ::tests::writeTinyJpeg(m_folder.path("a.jpg"), tags);
        return readFacts(QString::fromStdString(m_folder.path("a.jpg")));
    }
    PictureFacts factsOfBytes(const std::string& name, const std::string& bytes) const
    {
        return readFacts(QString::fromStdString(m_folder.write(name, bytes)));
    }

    const test::TestFolder m_folder;
};

void expectNothing(const PictureFacts& facts, const std::string& what)
{
    EXPECT_FALSE(facts.taken.isValid()) << what;
    EXPECT_TRUE(facts.camera.isEmpty()) << what;
    EXPECT_FALSE(facts.exposureSeconds.has_value()) << what;
    EXPECT_FALSE(facts.latitude.has_value()) << what;
    EXPECT_FALSE(facts.size.isValid()) << what;
}

TEST_F(PictureFactsTest, TellsWhatTheCameraNoted)
{
    const PictureFacts facts = factsOf({{"Exif.Photo.DateTimeOriginal", "2021:03:28 02:30:00"},
        {"Exif.Image.Make", "Alba "},
        {"Exif.Image.Model", "M 7  "},
        {"Exif.Photo.LensModel", "Alba 50 mm"},
        {"Exif.Photo.ExposureTime", "1/125"},
        {"Exif.Photo.FNumber", "28/10"},
        {"Exif.Photo.ISOSpeedRatings", "400"},
        {"Exif.Photo.FocalLength", "50/1"},
        {"Exif.Image.Orientation", "6"},
        {"Exif.GPSInfo.GPSLatitude", "48/1 30/1 36/1"},
        {"Exif.GPSInfo.GPSLatitudeRef", "N"},
        {"Exif.GPSInfo.GPSLongitude", "9/1 15/1 0/1"},
        {"Exif.GPSInfo.GPSLongitudeRef", "W"}});
    EXPECT_EQ(facts.taken.toString(u"yyyy-MM-dd HH:mm:ss"), QStringLiteral("2021-03-28 02:30:00"));
    EXPECT_EQ(facts.camera, QStringLiteral("Alba M 7"));
    EXPECT_EQ(facts.lens, QStringLiteral("Alba 50 mm"));
    EXPECT_DOUBLE_EQ(facts.exposureSeconds.value(), 1.0 / 125);
    EXPECT_DOUBLE_EQ(facts.aperture.value(), 2.8);
    EXPECT_EQ(facts.sensitivity, 400);
    EXPECT_DOUBLE_EQ(facts.focalLength.value(), 50);
    EXPECT_DOUBLE_EQ(facts.latitude.value(), 48.51);
    EXPECT_DOUBLE_EQ(facts.longitude.value(), -9.25);
    EXPECT_EQ(facts.size, QSize(1, 1));
}

TEST_F(PictureFactsTest, ShowsAClockThatTheZoneOfThisMachineLeavesOut)
{
    test::Environment environment;
    environment.set("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    ::tzset();
    const PictureFacts facts = factsOf({{"Exif.Photo.DateTimeOriginal", "2021:03:28 02:30:00"}});
    EXPECT_EQ(facts.taken.toString(u"HH:mm"), QStringLiteral("02:30"));
}

TEST_F(PictureFactsTest, NamesTheMakerOnce)
{
    EXPECT_EQ(cameraName("Old Alba Company", "Alba D1"), QStringLiteral("Alba D1"));
    EXPECT_EQ(cameraName("ALBA CORPORATION", "ALBA D70"), QStringLiteral("ALBA D70"));
    EXPECT_EQ(cameraName("ALBA", "DSC-P5"), QStringLiteral("ALBA DSC-P5"));
    EXPECT_EQ(cameraName("", "X"), QStringLiteral("X"));
    EXPECT_EQ(cameraName("Y", ""), QStringLiteral("Y"));
    EXPECT_EQ(cameraName(std::string("A\0junk", 6), "B"), QStringLiteral("A B"));
}

TEST_F(PictureFactsTest, LeavesOutNumbersThatNoCameraHas)
{
    for (const char* value : {"1/0", "0/1", "0/0", "4000000000/1"}) {
        const PictureFacts facts = factsOf({{"Exif.Photo.ExposureTime", value},
            {"Exif.Photo.FNumber", value},
            {"Exif.Photo.FocalLength", value}});
        EXPECT_FALSE(facts.exposureSeconds.has_value()) << value;
        EXPECT_FALSE(facts.aperture.has_value()) << value;
        EXPECT_FALSE(facts.focalLength.has_value()) << value;
    }
    EXPECT_FALSE(factsOf({{"Exif.Photo.ISOSpeedRatings", "0"}}).sensitivity.has_value());
}

TEST_F(PictureFactsTest, ReckonsExposureAndApertureFromTheirPowers)
{
    const PictureFacts facts =
        factsOf({{"Exif.Photo.ShutterSpeedValue", "7/1"}, {"Exif.Photo.ApertureValue", "4/1"}});
    EXPECT_DOUBLE_EQ(facts.exposureSeconds.value(), 1.0 / 128);
    EXPECT_DOUBLE_EQ(facts.aperture.value(), 4);
}

TEST_F(PictureFactsTest, GivesNoPositionThatIsNone)
{
    using Rows = std::vector<std::pair<std::string, std::string>>;
    const Rows rows{{"91/1 0/1 0/1", "N"},
        {"48/0 0/1 0/1", "N"},
        {"48/1 61/1 0/1", "N"},
        {"48/1 0/1 0/1", "X"},
        {"48/1", "N"}};
    for (const auto& [value, letter] : rows) {
        const PictureFacts facts = factsOf({{"Exif.GPSInfo.GPSLatitude", value},
            {"Exif.GPSInfo.GPSLatitudeRef", letter},
            {"Exif.GPSInfo.GPSLongitude", "9/1 15/1 0/1"},
            {"Exif.GPSInfo.GPSLongitudeRef", "E"}});
        EXPECT_FALSE(facts.latitude.has_value()) << value;
        EXPECT_FALSE(facts.longitude.has_value()) << value;
    }
    EXPECT_FALSE(factsOf({{"Exif.GPSInfo.GPSStatus", "V"},
                             {"Exif.GPSInfo.GPSLatitude", "48/1 0/1 0/1"},
                             {"Exif.GPSInfo.GPSLatitudeRef", "N"},
                             {"Exif.GPSInfo.GPSLongitude", "9/1 15/1 0/1"},
                             {"Exif.GPSInfo.GPSLongitudeRef", "E"}})
                     .latitude.has_value());
}

TEST_F(PictureFactsTest, GivesTheUprightSize)
{
    const std::string jpeg = tests::encoded(tests::slopes(60, 40), "jpg");
    EXPECT_EQ(factsOfBytes("a.jpg", jpeg).size, QSize(60, 40));
    EXPECT_EQ(factsOfBytes("b.jpg", tests::withOrientation(jpeg, 6)).size, QSize(40, 60));
    EXPECT_EQ(
        factsOfBytes("c.png", tests::encoded(tests::slopes(60, 40), "png")).size, QSize(60, 40));
}

TEST_F(PictureFactsTest, KnowsNothingOfWhatIsNoPicture)
{
    ASSERT_EQ(::mkfifo(m_folder.path("pipe.jpg").c_str(), 0600), 0);
    for (const char* name : {"pipe.jpg", "none.jpg", ""})
        expectNothing(readFacts(QString::fromStdString(m_folder.path(name))), name);
    std::mt19937 random(5);
    for (const char* magic : {"\xFF\xD8\xFF\xE1", "II*", "MM", "RIFF1234AVI ", ""})
        for (const char* extension : {".jpg", ".nef", ".heic", ".mov", ".crw"}) {
            std::string bytes = magic;
            for (int i = 0; i < 2000; ++i)
                bytes.push_back(static_cast<char>(random()));
            expectNothing(factsOfBytes(std::string("a") + extension, bytes), extension);
        }
}

TEST_F(PictureFactsTest, ReadsTheSamples)
{
    using tests::samplePath;
    if (samplePath("raw").isEmpty())
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    struct Row {
        const char* name;
        const char* taken;
        const char* camera;
        QSize size;
    };
    const std::vector<Row> rows{
        {"jpeg/IMG_0108.JPG", "2021-04-08 14:53:27", "Canon PowerShot S40", {2272, 1704}},
        {"jpeg/PA250003.JPG", "2021-10-25 10:07:56", "OLYMPUS OPTICAL CO.,LTD C3000Z", {1280, 960}},
        {"jpeg/Portrait_6.jpg", "", "", {1200, 1800}},
        {"raw/CRW_0101.CRW", "2021-04-08 14:51:12", "Canon PowerShot S40", {2312, 1720}},
        {"raw/dng_with_preview.dng", "2015-06-08 12:10:44", "LG-H815", {600, 338}},
        {"raw/P003914.KDC", "1994-01-02 15:58:56", "Kodak DC120 ZOOM Digital Camera", {1301, 976}},
        {"synthetic/gbrg_rot6.dng", "2024-02-29 12:34:56", "Synthetic gbrg_rot6", {344, 516}},
        {"video/IMG_3589.HEIC", "2020-04-17 10:03:48", "Apple iPhone XR", {4032, 3024}},
        {"video/IMG_3589.mov", "2020-04-17 10:03:47", "", {1440, 1080}},
        {"video/MVI_0121.AVI", "2021-03-26 21:19:07", "", {160, 120}},
        {"damaged/sample.arw", "2009-11-13 13:33:25", "SONY DSLR-A330", {3880, 2608}},
    };
    for (const Row& row : rows) {
        const PictureFacts facts = readFacts(samplePath(row.name));
        EXPECT_EQ(facts.taken.toString(u"yyyy-MM-dd HH:mm:ss").toStdString(), row.taken)
            << row.name;
        EXPECT_EQ(facts.camera.toStdString(), row.camera) << row.name;
        EXPECT_EQ(facts.size, row.size) << row.name;
    }
    const PictureFacts phone = readFacts(samplePath("video/IMG_3589.HEIC"));
    EXPECT_EQ(phone.lens, QStringLiteral("iPhone XR back camera 4.25mm f/1.8"));
    EXPECT_EQ(phone.sensitivity, 320);
    const PictureFacts placed = readFacts(samplePath("jpeg/thompson-springs.jpg"));
    EXPECT_NEAR(placed.latitude.value(), 39.115, 0.001);
    EXPECT_NEAR(placed.longitude.value(), -108.401, 0.001);
}

} // namespace
} // namespace pictures
