#include "mfx/engine/card/TwinCheck.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/TinyJpeg.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

using Names = std::vector<std::string>;
using ::tests::ImageTags;

constexpr char kOriginalTag[] = "Exif.Photo.DateTimeOriginal";
constexpr char kChanged[] = "Exif.Image.DateTime";
constexpr char kMake[] = "Exif.Image.Make";
constexpr char kModel[] = "Exif.Image.Model";
constexpr char kNoon[] = "2026:01:02 12:00:00";

class TwinCheckTest : public testing::Test {
protected:
    // What its extension says of a file matters less than what is in it: a JPEG will do.
    void addPhoto(const std::string& name, const ImageTags& tags)
    {
        card.add(name, ::tests::tinyJpegBytes(tags));
    }
    void addPhoto(const std::string& name, const std::string& date)
    {
        addPhoto(name, ImageTags{{kOriginalTag, date}});
    }

    std::vector<Names> groups()
    {
        contents = card.scan();
        std::vector<Names> names;
        for (const ItemGroup& group : TwinCheck(contents).groups()) {
            names.emplace_back();
            for (const std::uint32_t member : group.members)
                names.back().push_back(contents.items[member].name);
        }
        return names;
    }

    tests::TestCard card;
    CardContents contents;
};

TEST_F(TwinCheckTest, KeepsARawFileAndItsImageTogether)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", "2026:01:02 12:00:10");
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2", "A.JPG"}));
}

TEST_F(TwinCheckTest, TakesPhotosApartThatWereTakenAtDifferentTimes)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", "2026:01:02 12:00:11");
    addPhoto("B.CR2", "2026:01:03 00:00:02");
    addPhoto("B.JPG", "2026:01:02 23:59:58");
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2"}, Names{"A.JPG"}, Names{"B.CR2", "B.JPG"}));
}

TEST_F(TwinCheckTest, TakesPhotosOfTwoCamerasApart)
{
    addPhoto("A.CR2", {{kOriginalTag, kNoon}, {kMake, "Mfx"}, {kModel, "One"}});
    addPhoto("A.JPG", {{kOriginalTag, kNoon}, {kMake, "Mfx"}, {kModel, "Two"}});
    addPhoto("B.CR2", {{kMake, "Mfx"}});
    addPhoto("B.JPG", {{kMake, "Other"}});
    EXPECT_THAT(
        groups(), ElementsAre(Names{"A.CR2"}, Names{"A.JPG"}, Names{"B.CR2"}, Names{"B.JPG"}));
}

TEST_F(TwinCheckTest, TakesTwoImagesApart)
{
    addPhoto("A.HEIC", kNoon);
    addPhoto("A.JPG", "2025:01:02 12:00:00");
    EXPECT_THAT(groups(), ElementsAre(Names{"A.HEIC"}, Names{"A.JPG"}));
}

TEST_F(TwinCheckTest, TakesWhatIsNotSaidForNoEvidence)
{
    addPhoto("A.CR2", {{kOriginalTag, kNoon}, {kMake, "Mfx"}});
    addPhoto("A.JPG", ImageTags{{kModel, "Two"}});
    addPhoto("B.CR2", kNoon);
    card.add("B.JPG", "no picture at all");
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2", "A.JPG"}, Names{"B.CR2", "B.JPG"}));
}

TEST_F(TwinCheckTest, ComparesNoDateOfAChangeWithThatOfAShot)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", ImageTags{{kChanged, "2026:02:03 10:00:00"}});
    addPhoto("B.CR2", ImageTags{{kChanged, kNoon}});
    addPhoto("B.JPG", ImageTags{{kChanged, "2026:02:03 10:00:00"}});
    addPhoto("C.CR2", ImageTags{{"Xmp.xmp.CreateDate", "2026-01-02T12:00:00"}});
    addPhoto("C.JPG", ImageTags{{"Xmp.xmp.CreateDate", "2026-01-03T12:00:00"}});
    EXPECT_THAT(groups(),
        ElementsAre(
            Names{"A.CR2", "A.JPG"}, Names{"B.CR2"}, Names{"B.JPG"}, Names{"C.CR2", "C.JPG"}));
}

TEST_F(TwinCheckTest, ReadsNamesOfCamerasAsPeopleDo)
{
    addPhoto("A.CR2", {{kMake, "MFX CORP"}, {kModel, "Mfx One "}});
    addPhoto("A.JPG", {{kMake, "Mfx Corp"}, {kModel, "Mfx One"}});
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2", "A.JPG"}));
}

TEST_F(TwinCheckTest, SendsAChainedSidecarWithItsParentAndLeavesTheRestWithTheFirst)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", "2026:01:02 13:00:00");
    for (const char* name : {"A.CR2.xmp", "A.MOV", "A.WAV", "A.jpg.xmp", "A.txt", "A.xmp"})
        card.add(name);
    EXPECT_THAT(groups(),
        ElementsAre(Names{"A.CR2", "A.MOV", "A.WAV", "A.txt", "A.CR2.xmp", "A.xmp"},
            Names{"A.JPG", "A.jpg.xmp"}));
}

TEST_F(TwinCheckTest, PutsEachPhotoWithItsOwnKind)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.HEIC", "2026:01:02 13:00:00");
    addPhoto("A.JPG", "2026:01:02 12:00:01");
    addPhoto("A.PNG", "2026:01:02 13:00:01");
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2", "A.JPG"}, Names{"A.HEIC", "A.PNG"}));
}

TEST_F(TwinCheckTest, StandsInTheOrderOfTheCard)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.jpg", "2026:01:02 13:00:00");
    addPhoto("A.b.JPG", kNoon); // another stem, between the two
    EXPECT_THAT(groups(), ElementsAre(Names{"A.CR2"}, Names{"A.b.JPG"}, Names{"A.jpg"}));
}

TEST_F(TwinCheckTest, LooksIntoNothingButPairs)
{
    card.add("A.JPG");
    card.add("A.MOV");
    card.add("B.CR2");
    card.add("B.DNG");
    contents = card.scan();
    for (const ItemGroup& group : TwinCheck(contents).groups())
        EXPECT_THAT(group.ownDates, IsEmpty());
}

TEST_F(TwinCheckTest, KeepsTheDatesThatItRead)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", kNoon);
    contents = card.scan();
    const ItemGroup group = TwinCheck(contents).groups().at(0);
    std::filesystem::remove(card.path("A.CR2"));
    std::filesystem::remove(card.path("A.JPG"));
    const CaptureDate date = groupCaptureDate(contents, group);
    EXPECT_EQ(isoText(date.moment.value()), "2026-01-02T12:00:00") << "without another look";
    EXPECT_FALSE(date.readFailed);
}

TEST_F(TwinCheckTest, DatesAGroupByItsSidecarWhereNoPhotoHasADate)
{
    card.add("A.CR2");
    card.add("A.JPG");
    addPhoto("A.THM", kNoon);
    contents = card.scan();
    const ItemGroup group = TwinCheck(contents).groups().at(0);
    EXPECT_EQ(groupCaptureDate(contents, group).source, DateSource::kExifOriginal);
}

TEST_F(TwinCheckTest, LeavesTheRestAsItIsWhenItIsToldToStop)
{
    addPhoto("A.CR2", kNoon);
    addPhoto("A.JPG", "2026:01:02 13:00:00");
    contents = card.scan();
    EXPECT_EQ(TwinCheck(contents, [] { return true; }).groups().size(), 1U);
}

} // namespace
} // namespace mfx
