#include "ZQPluginSupport/decoding/ColorFacts.h"

#include <cmath>
#include <limits>
#include <memory>

#include <gmock/gmock.h>

namespace dng {
namespace {

using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double kNear = 1e-6;

class ColorFactsTest : public testing::Test {
protected:
    // Too large for the stack of a test that is watched.
    std::unique_ptr<libraw_colordata_t> color = std::make_unique<libraw_colordata_t>();
};

TEST_F(ColorFactsTest, NeutralIsTheInverseOfWhatMakesGrey)
{
    const float factors[] = {2, 1, 0.5, 0};
    EXPECT_THAT(neutralOf(factors, 3), ElementsAre(0.5, 1, 2));
}

TEST_F(ColorFactsTest, FactorsThatAreNoneGiveNoNeutral)
{
    for (const float bad : {0.F,
             -1.F,
             std::numeric_limits<float>::infinity(),
             std::numeric_limits<float>::quiet_NaN(),
             1e-9F}) {
        const float factors[] = {bad, 1, 1, 1};
        EXPECT_THAT(neutralOf(factors, 3), IsEmpty()) << bad;
    }
}

TEST_F(ColorFactsTest, TheMatrixIsTheOneOfTheCamera)
{
    for (int i = 0; i < 3; ++i)
        color->cam_xyz[i][i] = static_cast<float>(i + 1);
    const ColorMatrix matrix = matrixOf(*color, 3);
    EXPECT_THAT(matrix.values, ElementsAre(1, 0, 0, 0, 2, 0, 0, 0, 3));
    EXPECT_EQ(matrix.illuminant, 21U);
}

// A camera whose own colours are those of a screen.
TEST_F(ColorFactsTest, TheMatrixOfAnUnknownCameraComesOfItsWayToTheScreen)
{
    for (int i = 0; i < 3; ++i)
        color->rgb_cam[i][i] = 1;
    const ColorMatrix screen = matrixOf(*color, 3);
    EXPECT_THAT(screen.values[0], DoubleNear(3.2404542, kNear));
    EXPECT_THAT(screen.values[8], DoubleNear(1.0572252, kNear));
    for (int i = 0; i < 3; ++i)
        color->rgb_cam[i][i] = 2; // twice as bright on the screen: half as bright in the camera
    EXPECT_THAT(matrixOf(*color, 3).values[0], DoubleNear(3.2404542 / 2, kNear));
}

TEST_F(ColorFactsTest, ThereIsAMatrixEvenWhereNothingIsKnown)
{
    EXPECT_TRUE(matrixOf(*color, 3).isThere());
}

TEST_F(ColorFactsTest, ADngsOwnMatricesComeFirst)
{
    SensorFacts facts;
    facts.matrix.values = {9};
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 3; ++i)
            color->dng_color[k].colormatrix[i][i] = static_cast<float>(k + 1);
    color->dng_color[0].illuminant = 17;
    color->dng_color[1].illuminant = 65535;
    takeOwnMatrices(*color, 3, facts);
    EXPECT_THAT(facts.matrix.values, ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_EQ(facts.matrix.illuminant, 17U);
    EXPECT_THAT(facts.secondMatrix.values, ElementsAre(2, 0, 0, 0, 2, 0, 0, 0, 2));
    EXPECT_EQ(facts.secondMatrix.illuminant, 21U); // one that is not said is daylight
}

TEST_F(ColorFactsTest, ADngWithoutMatricesTakesThoseOfTheCamera)
{
    SensorFacts facts;
    facts.matrix.values = {9};
    takeOwnMatrices(*color, 3, facts);
    EXPECT_THAT(facts.matrix.values, ElementsAre(9));
    EXPECT_FALSE(facts.secondMatrix.isThere());
}

TEST_F(ColorFactsTest, ColoursHaveTheNumbersOfTheirLetters)
{
    libraw_iparams_t camera = {};
    camera.colors = 4;
    std::copy_n("GMCY", 5, camera.cdesc);
    EXPECT_THAT(planesOf(camera), ElementsAre(1, 4, 3, 5));
    camera.colors = 3;
    std::copy_n("RGBG", 5, camera.cdesc);
    EXPECT_THAT(planesOf(camera), ElementsAre(0, 1, 2));
}

} // namespace
} // namespace dng
