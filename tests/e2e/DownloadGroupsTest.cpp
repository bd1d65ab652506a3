// What goes together and what does not: sidecars that come along, twins that are none, dates that
// are those of a file.

#include "e2e/support/MfxRun.h"
#include "support/TinyJpeg.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

namespace e2e {

class DownloadGroupsTest : public MfxTest {
protected:
    static std::string photo(const std::string& date)
    {
        return tests::tinyJpegBytes({{"Exif.Photo.DateTimeOriginal", date}});
    }

    std::map<std::string, int> listedGroups()
    {
        std::map<std::string, int> groups;
        for (const Json& item : mfx({"list", card(), "--json"}).events())
            groups[item["name"]] = item["group"];
        return groups;
    }
};

TEST_F(DownloadGroupsTest, BringsTheSidecarsOfWhatWasAskedFor)
{
    for (const char* name : {"A.CR2", "A.JPG", "A.xmp", "A.CR2.xmp", "A.JPG.xmp", "A.WAV", "B.xmp"})
        addFile(name, name);
    const RunResult result = download({"--only", "*.CR2"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(filesIn(target()),
        ElementsAre(Pair("A.CR2", "A.CR2"),
            Pair("A.CR2.xmp", "A.CR2.xmp"),
            Pair("A.WAV", "A.WAV"),
            Pair("A.xmp", "A.xmp")));
    EXPECT_EQ(result.summary()["not_asked_for"], 3);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

TEST_F(DownloadGroupsTest, CountsAndMarksWhatHasNoDateButThatOfItsFile)
{
    addFile("A.JPG", photo("2026:01:02 03:04:05"));
    addFile("A.xmp", "of the photo, and dated by it");
    addFile("B.JPG", "no date in it");
    addFile("B.WAV", "of the same group");
    const std::string list = mfx({"list", card()}).out;
    EXPECT_THAT(list, HasSubstr("2026-01-02T03:04:05\n"));
    EXPECT_THAT(list, HasSubstr("2026-05-04T12:00:00.0+00:00 (file time)\n"));
    for (int time = 0; time < 2; ++time) { // they are there the second time
        const RunResult result = download({"--subfolders", "%Y"});
        EXPECT_EQ(result.summary()["dated_by_file_time"], 2);
        EXPECT_THAT(
            std::string(result.summary()["verdict"]), HasSubstr("2 dated by the file's time"));
    }
    const RunResult plain = download();
    EXPECT_EQ(plain.summary()["dated_by_file_time"], 2);
    EXPECT_THAT(std::string(plain.summary()["verdict"]), Not(HasSubstr("dated")));
}

TEST_F(DownloadGroupsTest, GivesPhotosThatShareANameByChanceNamesOfTheirOwn)
{
    addFile("IMG_0001.CR2", photo("2026:01:02 03:04:05"));
    addFile("IMG_0001.CR2.xmp", "of the raw file");
    addFile("IMG_0001.JPG", photo("2025:11:12 13:14:15"));
    addFile("IMG_0001.JPG.xmp", "of the image");
    addFile("IMG_0002.CR2", photo("2026:01:02 03:04:06"));
    addFile("IMG_0002.JPG", photo("2026:01:02 03:04:07"));
    EXPECT_THAT(listedGroups(),
        ElementsAre(Pair("IMG_0001.CR2", 1),
            Pair("IMG_0001.CR2.xmp", 1),
            Pair("IMG_0001.JPG", 2),
            Pair("IMG_0001.JPG.xmp", 2),
            Pair("IMG_0002.CR2", 3),
            Pair("IMG_0002.JPG", 3)));
    const std::vector<std::string> naming{"--rename", "{date:%Y%m%d}_{seq:2}"};
    ASSERT_EQ(download(naming).code, 0);
    std::vector<std::string> names;
    for (const auto& [name, content] : filesIn(target()))
        names.push_back(name);
    EXPECT_THAT(names,
        ElementsAre("20251112_02.JPG",
            "20251112_02.JPG.xmp",
            "20260102_01.CR2",
            "20260102_01.CR2.xmp",
            "20260102_03.CR2",
            "20260102_03.JPG"));
}

} // namespace e2e
