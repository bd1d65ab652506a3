#include "mfx/engine/dates/MovieDate.h"

#include "apps/mfx/engine/CardFixture.h"
#include "apps/mfx/engine/MovieBytes.h"
#include "apps/mfx/engine/dates/CaptureDates.h"

#include <sstream>

#include <gtest/gtest.h>

namespace mfx {
namespace {

using namespace tests;

constexpr std::uint64_t kEpoch = 2'082'844'800; // 1970, counted from 1904

CaptureDate movieDateOf(const std::string& bytes)
{
    std::istringstream stream(bytes);
    return movieDate(stream);
}

TEST(MovieDateTest, PrefersTheDateKeyToTheHeader)
{
    for (const bool versioned : {false, true}) {
        const CaptureDate date = movieDateOf(fileType()
            + box("moov",
                movieHeader(kSeptember2001) + dateKeyMeta("2020-04-17T10:03:47-0600", versioned)));
        EXPECT_EQ(isoTextOf(date), "2020-04-17T10:03:47-06:00");
        EXPECT_EQ(date.source, DateSource::kMovieKey);
    }
}

TEST(MovieDateTest, ReadsTheHeaderAsUtc)
{
    for (const int version : {0, 1}) {
        const CaptureDate date =
            movieDateOf(fileType("isom") + box("moov", movieHeader(kSeptember2001, version)));
        EXPECT_EQ(isoTextOf(date), "2001-09-09T01:46:40+00:00");
        EXPECT_EQ(date.source, DateSource::kMovieHeader);
    }
}

TEST(MovieDateTest, TurnsToTheHeaderWhenTheKeyHoldsNoDate)
{
    for (const std::string bad : {"", "yesterday", "0000-00-00T00:00:00", "1970-01-01T00:00:00Z"}) {
        const CaptureDate date =
            movieDateOf(fileType() + box("moov", dateKeyMeta(bad) + movieHeader(kSeptember2001)));
        EXPECT_EQ(date.source, DateSource::kMovieHeader) << bad;
    }
}

TEST(MovieDateTest, StepsOverMediaOfAnySize)
{
    const std::string movie = box("moov", movieHeader(kSeptember2001));
    const std::string wide = bigEndian(1, 4) + "mdat" + bigEndian(16 + 5, 8) + "media";
    EXPECT_EQ(isoTextOf(movieDateOf(box("wide", "") + wide + movie)), "2001-09-09T01:46:40+00:00");
    const std::string toTheEnd = bigEndian(0, 4) + "moov" + movieHeader(kSeptember2001);
    EXPECT_EQ(isoTextOf(movieDateOf(box("free", "xx") + toTheEnd)), "2001-09-09T01:46:40+00:00");
}

TEST(MovieDateTest, ReadsTheDateChunkOfAnAvi)
{
    using namespace std::string_literals;
    const std::string date = chunk("IDIT", "FRI MAR 26 21:19:07 2021\n\0"s);
    for (const std::string& movie : {aviMovie(date),
             aviMovie(chunk("odd ", "xyz") + date),
             aviMovie(chunk("LIST", "strl" + date)),
             chunk("RIFF", "AVI " + chunk("LIST", "INFO" + date))}) {
        EXPECT_EQ(isoTextOf(movieDateOf(movie)), "2021-03-26T21:19:07");
        EXPECT_EQ(movieDateOf(movie).source, DateSource::kAviChunk);
    }
}

TEST(MovieDateTest, LooksForAnotherChunkWhenOneHoldsNoDate)
{
    EXPECT_EQ(isoTextOf(movieDateOf(
                  aviMovie(chunk("IDIT", "    :  :  ") + chunk("IDIT", "2021:03:26 21:19:07")))),
        "2021-03-26T21:19:07");
}

TEST(MovieDateTest, GivesNothingForWhatHoldsNoPossibleDate)
{
    const auto movie = [](const std::string& content) { return fileType() + box("moov", content); };
    const std::string text64 = bigEndian(0x01000000, 4) + bigEndian(UINT64_MAX, 8);
    for (const std::string& bad : {std::string(),
             std::string("short"),
             std::string(100, '\0'),
             std::string(100, '\xFF'),
             fileType(),
             movie(""),
             movie(movieHeader(0)),
             movie(movieHeader(kEpoch)),
             movie(movieHeader(kEpoch - 1)),
             movie(movieHeader(1'000'000'000)),
             movie(box("mvhd", "")),
             movie(box("mvhd", bigEndian(0, 4))),
             movie(box("mvhd", text64)),
             movie(box("meta", "")),
             movie(box("meta", box("hdlr", ""))),
             aviMovie(""),
             aviMovie(chunk("IDIT", "")),
             aviMovie(chunk("IDIT", std::string(5000, ' '))),
             chunk("RIFF", "WAVE" + chunk("IDIT", "2021:03:26 21:19:07"))})
        EXPECT_EQ(isoTextOf(movieDateOf(bad)), "nothing");
}

TEST(MovieDateTest, TakesNoDateFromAmongTheMedia)
{
    const std::string media = chunk("LIST", "movi" + chunk("IDIT", "2021:03:26 21:19:07"));
    EXPECT_EQ(isoTextOf(movieDateOf(chunk("RIFF", "AVI " + media))), "nothing");
}

TEST(MovieDateTest, NeverInventsADateWhenTheMovieIsCut)
{
    const std::string movie = fileType()
        + box("moov", movieHeader(kSeptember2001) + dateKeyMeta("2020-04-17T10:03:47-0600"));
    const std::string avi = aviMovie(chunk("IDIT", "2021:03:26 21:19:07"));
    for (std::size_t length = 0; length < movie.size(); ++length) {
        const CaptureDate date = movieDateOf(movie.substr(0, length));
        const bool known = !date.moment || date.moment->year == 2001
            || isoTextOf(date).substr(0, 16) == "2020-04-17T10:03";
        EXPECT_TRUE(known) << length << ' ' << isoTextOf(date);
    }
    for (std::size_t length = 0; length < avi.size(); ++length) {
        const CaptureDate date = movieDateOf(avi.substr(0, length));
        EXPECT_TRUE(!date.moment || isoTextOf(date).substr(0, 16) == "2021-03-26T21:19") << length;
    }
}

TEST(MovieDateTest, ReadsNothingBehindTheBoxThatHoldsIt)
{
    // The header claims a hundred bytes, of which its movie has none: what follows is not its own.
    const std::string movie = box("moov", bigEndian(108, 4) + "mvhd");
    const std::string other = bigEndian(100, 4) + bigEndian(kSeptember2001, 4);
    EXPECT_EQ(
        isoTextOf(movieDateOf(fileType() + movie + other + std::string(92, '\0'))), "nothing");
}

TEST(MovieDateTest, EndsOnBoxesThatLeadNowhere)
{
    std::string nested;
    for (int i = 0; i < 5000; ++i)
        nested = chunk("LIST", "hdrl" + nested);
    EXPECT_EQ(isoTextOf(movieDateOf(chunk("RIFF", "AVI " + nested))), "nothing");
    std::string many = fileType();
    for (int i = 0; i < 100'000; ++i) // more than are ever looked at
        many += box("free", "");
    EXPECT_EQ(isoTextOf(movieDateOf(many + box("moov", movieHeader(kSeptember2001)))), "nothing");
}

TEST(MovieDateTest, CountsKeysOnlyAsFarAsTheyAreDeclared)
{
    const std::string date = "com.apple.quicktime.creationdate";
    const std::string keys = box("keys",
        bigEndian(0, 4) + bigEndian(1, 4) // one, and two follow
            + bigEndian(9, 4) + "mdtax" + bigEndian(date.size() + 8, 4) + "mdta" + date);
    const std::string list = box("ilst",
        box(bigEndian(2, 4),
            box("data", bigEndian(1, 4) + bigEndian(0, 4) + "2020-04-17T10:03:47")));
    const std::string meta = box("meta", box("hdlr", "") + keys + list);
    EXPECT_EQ(isoTextOf(movieDateOf(fileType() + box("moov", meta))), "nothing");
}

} // namespace
} // namespace mfx
