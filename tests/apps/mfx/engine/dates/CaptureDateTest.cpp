#include "mfx/engine/dates/CaptureDate.h"

#include "apps/mfx/engine/CardFixture.h"
#include "apps/mfx/engine/MovieBytes.h"
#include "apps/mfx/engine/dates/CaptureDates.h"
#include "support/TinyJpeg.h"

#include <ctime>
#include <set>

#include <gmock/gmock.h>

namespace mfx {
namespace {

using namespace mfx::tests;
using ::tests::ImageTags;
using ::tests::tinyJpegBytes;
using ::tests::writeTinyJpeg;

// The zone of this machine, for one test.
class ZoneGuard {
public:
    explicit ZoneGuard(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneGuard()
    {
        unsetenv("TZ");
        tzset();
    }
    ZoneGuard(const ZoneGuard&) = delete;
    ZoneGuard& operator=(const ZoneGuard&) = delete;
};

class CaptureDateTest : public testing::Test {
protected:
    CaptureDate dateWith(const ImageTags& tags)
    {
        writeTinyJpeg(m_card.path("a.jpg"), tags);
        return ownCaptureDate(m_card.path("a.jpg"));
    }

    CaptureDate dateOfBytes(const std::string& bytes)
    {
        m_card.add("bytes", bytes);
        return ownCaptureDate(m_card.path("bytes"));
    }

    // The date of the card's only group.
    CaptureDate groupDate()
    {
        const CardContents contents = m_card.scan();
        const std::vector<ItemGroup> groups = groupItems(contents);
        EXPECT_EQ(groups.size(), 1U);
        return groupCaptureDate(contents, groups.at(0));
    }

    TestCard m_card;
};

const ImageTags kAllDates{{"Exif.Photo.DateTimeOriginal", "2021:04:08 14:51:13"},
    {"Exif.Photo.DateTimeDigitized", "2021:04:09 14:51:13"},
    {"Exif.Image.DateTime", "2021:04:10 14:51:13"},
    {"Xmp.exif.DateTimeOriginal", "2021-04-11T14:51:13"}};

TEST_F(CaptureDateTest, AsksTheSourcesOfAPhotoInOrder)
{
    const std::vector<std::pair<std::string, DateSource>> expected{
        {"2021-04-08T14:51:13", DateSource::kExifOriginal},
        {"2021-04-09T14:51:13", DateSource::kExifDigitized},
        {"2021-04-10T14:51:13", DateSource::kExifImage},
        {"2021-04-11T14:51:13", DateSource::kXmp},
        {"nothing", DateSource::kNone}};
    for (const std::string bad : {"",
             "0000:00:00 00:00:00",
             "    :  :     :  :  ",
             "2021:13:01 00:00:00",
             "2021:02:30 00:00:00",
             "1970:01:01 00:00:00",
             "1904:01:01 00:00:00"}) {
        ImageTags tags = kAllDates;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const CaptureDate date = dateWith(tags);
            EXPECT_EQ(isoTextOf(date), expected[i].first) << bad;
            EXPECT_EQ(date.source, expected[i].second) << bad;
            EXPECT_FALSE(date.readFailed);
            if (i < tags.size())
                tags[i].second = bad;
        }
    }
}

TEST_F(CaptureDateTest, AddsSubSecondsAndOffsetOfTheSameDate)
{
    const ImageTags tags{{"Exif.Photo.DateTimeOriginal", "2022:01:10 15:15:44"},
        {"Exif.Photo.SubSecTimeOriginal", "25"},
        {"Exif.Photo.OffsetTimeOriginal", "-04:00"},
        {"Exif.Photo.SubSecTimeDigitized", "99"},
        {"Exif.Photo.OffsetTime", "+09:00"}};
    EXPECT_EQ(isoTextOf(dateWith(tags)), "2022-01-10T15:15:44.25-04:00");
    ImageTags damaged = tags;
    damaged[1].second = "x";
    damaged[2].second = "   :  ";
    EXPECT_EQ(isoTextOf(dateWith(damaged)), "2022-01-10T15:15:44");
}

TEST_F(CaptureDateTest, TakesADateThatIsStillToCome)
{
    EXPECT_EQ(isoTextOf(dateWith({{"Exif.Photo.DateTimeOriginal", "2099:01:01 00:00:00"}})),
        "2099-01-01T00:00:00");
}

TEST_F(CaptureDateTest, NeverUsesTheZoneOfThisMachine)
{
    m_card.add("a.mov", fileType() + box("moov", movieHeader(kSeptember2001)));
    Pt::FileStatus status;
    status.modified = 1'000'000'000LL * 1'000'000'000;
    for (const char* zone : {"UTC",
             "Asia/Tokyo",
             "JST-9",
             "America/Los_Angeles",
             "PST8PDT",
             "CET-1CEST,M3.5.0,M10.5.0/3"}) {
        const ZoneGuard guard(zone);
        // The night in which summer time begins has no 02:30, and in autumn it comes twice.
        EXPECT_EQ(isoTextOf(dateWith({{"Exif.Photo.DateTimeOriginal", "2021:03:28 02:30:00"}})),
            "2021-03-28T02:30:00");
        EXPECT_EQ(isoTextOf(dateWith({{"Exif.Photo.DateTimeOriginal", "2021:10:31 02:30:00"}})),
            "2021-10-31T02:30:00");
        EXPECT_EQ(isoTextOf(dateWith({{"Xmp.xmp.CreateDate", "2021-03-28T02:30:00+09:00"}})),
            "2021-03-28T02:30:00+09:00");
        EXPECT_EQ(isoTextOf(ownCaptureDate(m_card.path("a.mov"))), "2001-09-09T01:46:40+00:00");
        EXPECT_EQ(isoTextOf(fileTimeDate(status)), "2001-09-09T01:46:40.0+00:00");
    }
}

TEST_F(CaptureDateTest, ReadsASidecarWithoutTurningItsZone)
{
    const ZoneGuard guard("JST-9");
    EXPECT_EQ(isoTextOf(dateOfBytes(R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>
<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
<rdf:Description rdf:about="" xmlns:exif="http://ns.adobe.com/exif/1.0/"
 exif:DateTimeOriginal="2021-04-08T14:51:13-06:00"/></rdf:RDF></x:xmpmeta>)")),
        "2021-04-08T14:51:13-06:00");
}

TEST_F(CaptureDateTest, GoesByTheBytesNotByTheExtension)
{
    const std::string date = "2021:04:08 14:51:13";
    m_card.add("movie.jpg", aviMovie(chunk("IDIT", date)));
    EXPECT_EQ(ownCaptureDate(m_card.path("movie.jpg")).source, DateSource::kAviChunk);
    writeTinyJpeg(m_card.path("still.thm"), {{"Exif.Image.DateTime", date}});
    EXPECT_EQ(ownCaptureDate(m_card.path("still.thm")).source, DateSource::kExifImage);
}

TEST_F(CaptureDateTest, ReadsARawMovieHeaderWhenAStillHasNoDate)
{
    const std::string bytes = fileType("crx ") + box("moov", movieHeader(kSeptember2001));
    EXPECT_EQ(dateOfBytes(bytes).source, DateSource::kMovieHeader);
}

TEST_F(CaptureDateTest, FindsTagsFarBehindTheBeginning)
{
    // A TIFF whose directory follows five megabytes of picture.
    const std::size_t begin = 5 * 1024 * 1024;
    const std::string date = "2021:04:08 14:51:13";
    const std::string entry = bigEndian(0x0132, 2) + bigEndian(2, 2) + bigEndian(20, 4)
        + bigEndian(begin + 2 + 12 + 4, 4);
    std::string tiff = "MM" + bigEndian(42, 2) + bigEndian(begin, 4);
    tiff.resize(begin);
    EXPECT_EQ(isoTextOf(dateOfBytes(tiff)), "nothing");
    tiff += bigEndian(1, 2) + entry + bigEndian(0, 4) + date + '\0';
    EXPECT_EQ(isoTextOf(dateOfBytes(tiff)), "2021-04-08T14:51:13");
}

TEST_F(CaptureDateTest, FindsNothingInOtherOrDamagedFiles)
{
    const std::string jpeg = tinyJpegBytes(kAllDates);
    for (std::size_t length = 0; length < jpeg.size(); length += length < 700 ? 1 : 97) {
        const CaptureDate date = dateOfBytes(jpeg.substr(0, length));
        EXPECT_TRUE(!date.moment || date.moment->year == 2021) << length << isoTextOf(date);
    }
    for (const std::string& other : {std::string(),
             std::string("text\n"),
             std::string(70'000, '\0'),
             tinyJpegBytes(),
             fileType("heic"),
             std::string("II*\0\xFF\xFF\xFF\xFF", 8)}) {
        EXPECT_EQ(isoTextOf(dateOfBytes(other)), "nothing");
        EXPECT_FALSE(dateOfBytes(other).readFailed);
    }
}

TEST_F(CaptureDateTest, SaysThatAFileCouldNotBeRead)
{
    EXPECT_TRUE(ownCaptureDate(m_card.path("missing.jpg")).readFailed);
    m_card.add("a.jpg");
    const CardContents contents = m_card.scan();
    std::filesystem::remove(m_card.path("a.jpg"));
    const CaptureDate date = groupCaptureDate(contents, groupItems(contents).at(0));
    EXPECT_TRUE(date.readFailed);
    EXPECT_EQ(date.source, DateSource::kFileTime);
}

TEST_F(CaptureDateTest, LeavesTheFileAsItWas)
{
    writeTinyJpeg(m_card.path("a.jpg"), kAllDates);
    std::error_code error;
    const auto before = Pt::fileStatus(m_card.path("a.jpg"), error);
    std::filesystem::permissions(m_card.path("a.jpg"), std::filesystem::perms::owner_read);
    const auto closed = Pt::fileStatus(m_card.path("a.jpg"), error);
    EXPECT_TRUE(ownCaptureDate(m_card.path("a.jpg")).moment);
    const auto after = Pt::fileStatus(m_card.path("a.jpg"), error);
    EXPECT_EQ(after, closed);
    EXPECT_EQ(after->modified, before->modified);
}

TEST_F(CaptureDateTest, TakesTheFileTimeOnlyFromAClockThatWasSet)
{
    const auto atSecond = [](std::int64_t seconds) {
        Pt::FileStatus status;
        status.modified = seconds * 1'000'000'000;
        return fileTimeDate(status);
    };
    EXPECT_EQ(isoTextOf(atSecond(315'705'600)), "1980-01-03T00:00:00.0+00:00");
    EXPECT_EQ(atSecond(315'705'600).source, DateSource::kFileTime);
    for (const std::int64_t unset : {std::int64_t{0},
             std::int64_t{-1},
             std::int64_t{86'400},
             std::int64_t{315'532'800},
             std::int64_t{315'705'599},
             std::int64_t{-9'000'000'000}})
        EXPECT_EQ(atSecond(unset), CaptureDate{}) << unset;
}

TEST_F(CaptureDateTest, DatesAGroupByItsFirstMemberWithADate)
{
    m_card.add("a.cr2", "no raw file");
    writeTinyJpeg(m_card.path("a.jpg"), {{"Exif.Image.DateTime", "2021:04:08 14:51:13"}});
    writeTinyJpeg(m_card.path("a.thm"), {{"Exif.Photo.DateTimeOriginal", "2020:01:01 01:01:01"}});
    EXPECT_EQ(isoTextOf(groupDate()), "2021-04-08T14:51:13");
}

TEST_F(CaptureDateTest, DatesAMovieByItsThumbnail)
{
    m_card.add("m.avi", aviMovie(""));
    writeTinyJpeg(m_card.path("m.thm"), {{"Exif.Photo.DateTimeOriginal", "2020:01:01 01:01:01"}});
    m_card.setFileTime("m.avi", 1'600'000'000);
    EXPECT_EQ(isoTextOf(groupDate()), "2020-01-01T01:01:01");
}

TEST_F(CaptureDateTest, DatesAGroupWithoutDatesByThePrimarysFileTime)
{
    m_card.add("a.cr2");
    m_card.add("a.jpg");
    m_card.setFileTime("a.cr2", 1'000'000'000);
    m_card.setFileTime("a.jpg", 1'600'000'000);
    EXPECT_EQ(isoTextOf(groupDate()), "2001-09-09T01:46:40.0+00:00");
    m_card.setFileTime("a.cr2", 0);
    EXPECT_EQ(groupDate(), CaptureDate{});
}

TEST_F(CaptureDateTest, HasAWordForEverySource)
{
    std::set<std::string_view> words;
    for (int source = 0; source <= static_cast<int>(DateSource::kFileTime); ++source)
        words.insert(dateSourceText(static_cast<DateSource>(source)));
    EXPECT_EQ(words.size(), 10U);
}

TEST_F(CaptureDateTest, ReadsTheDatesOfTheSamples)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"raw/CRW_0101.THM", "2021-04-08T14:51:13"},
        {"raw/CRW_0112.THM", "2021-03-26T21:14:41"},
        {"raw/CRW_0101.CRW", "2021-04-08T14:51:12"},
        {"raw/CRW_0112.CRW", "2021-03-26T21:14:40"},
        {"jpeg/IMG_0108.JPG", "2021-04-08T14:53:27"},
        {"jpeg/DSCN1325.JPG", "2020-07-15T08:40:41"},
        {"jpeg/PA250003.JPG", "2021-10-25T10:07:56"},
        {"jpeg/Portrait_6.jpg", "nothing"},
        {"jpeg/Landscape_3.jpg", "nothing"},
        {"jpeg/FujiFilm FinePixS2Pro.jpg", "2002-08-24T13:59:08"},
        {"video/MVI_0121.AVI", "2021-03-26T21:19:07"},
        {"video/MVI_0121.THM", "2021-03-26T21:19:08"},
        {"video/IMG_3589.mov", "2020-04-17T10:03:47-06:00"}};
    if (samplePath(rows.front().first).empty()) {
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    }
    const ZoneGuard guard("JST-9"); // no zone of this machine may show
    for (const auto& [name, expected] : rows)
        EXPECT_EQ(isoTextOf(ownCaptureDate(samplePath(name))), expected) << name;
    // In its XMP alone.
    EXPECT_EQ(isoTextOf(ownCaptureDate(samplePath("jpeg/thompson-springs.jpg"))),
        "2022-01-10T15:15:44.31");
    EXPECT_THAT(isoTextOf(ownCaptureDate(samplePath("video/IMG_3589.HEIC"))),
        testing::StartsWith("2020-04-17T10:03:48"));
}

} // namespace
} // namespace mfx
