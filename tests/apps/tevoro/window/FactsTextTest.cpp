#include "tevoro/window/FactsText.h"

#include <QLocale>

#include <gmock/gmock.h>

namespace tevoro {

namespace {

std::string valueOf(const pictures::PictureFacts& facts, const char* label)
{
    for (const auto& [name, value] : factsText(facts)) {
        if (name == QLatin1String(label))
            return value.toStdString();
    }
    return "none";
}

TEST(FactsTextTest, ShowsExposuresAsCamerasDo)
{
    const std::pair<double, const char*> cases[] = {{0.004, "1/250 s"},
        {1.0 / 8000, "1/8000 s"},
        {0.25, "1/4 s"},
        {0.3, "0.3 s"},
        {0.5, "0.5 s"},
        {1, "1 s"},
        {2.5, "2.5 s"},
        {30, "30 s"},
        {0, ""},
        {-1, ""}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(exposureText(seconds).toStdString(), text) << seconds;
}

TEST(FactsTextTest, ShowsPlacesWithTheirSideOfTheWorld)
{
    EXPECT_EQ(placeText(52.5163, 13.3777).toStdString(), "52.5163° N, 13.3777° E");
    EXPECT_EQ(placeText(-33.8568, -70.5).toStdString(), "33.8568° S, 70.5° W");
    EXPECT_EQ(placeText(0, 0).toStdString(), "0° N, 0° E");
}

TEST(FactsTextTest, SaysWhatIsKnownAndNothingElse)
{
    pictures::PictureFacts facts;
    EXPECT_TRUE(factsText(facts).empty());
    facts.camera = QStringLiteral("Maker Model");
    facts.aperture = 2.8;
    facts.sensitivity = 400;
    facts.focalLength = 50;
    facts.size = QSize(6000, 4000);
    facts.latitude = 1; // without the other half it is no place
    EXPECT_EQ(valueOf(facts, "Camera"), "Maker Model");
    EXPECT_EQ(valueOf(facts, "Aperture"), "f/2.8");
    EXPECT_EQ(valueOf(facts, "Sensitivity"), "ISO 400");
    EXPECT_EQ(valueOf(facts, "Focal length"), "50 mm");
    EXPECT_EQ(valueOf(facts, "Size"), "6000 × 4000 pixels");
    EXPECT_EQ(valueOf(facts, "Place"), "none");
    EXPECT_EQ(valueOf(facts, "Date"), "none");
}

TEST(FactsTextTest, ShowsTheCamerasTimeWithoutAZone)
{
    pictures::PictureFacts facts;
    facts.taken = QDateTime(QDate(2021, 4, 8), QTime(14, 51, 13), Qt::UTC);
    const std::string text = valueOf(facts, "Date");
    EXPECT_THAT(text, testing::HasSubstr("2021"));
    EXPECT_THAT(text, testing::EndsWith(" 14:51:13"));
}

} // namespace

} // namespace tevoro
