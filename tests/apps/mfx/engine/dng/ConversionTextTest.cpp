#include "mfx/engine/dng/ConversionText.h"

#include "ZQPluginSupport/ZQPluginSupport.h"

#include <set>

#include <gtest/gtest.h>

namespace mfx {
namespace {

TEST(ConversionTextTest, HasAReasonOfItsOwnForEachResult)
{
    std::set<std::string> texts;
    for (int result = kZQPluginDone; result <= kZQPluginBadRequest; ++result)
        EXPECT_TRUE(texts.insert(conversionText(result)).second) << conversionText(result);
    EXPECT_FALSE(texts.contains(conversionText({})));
}

TEST(ConversionTextTest, NamesWhatTheLibraryNumbered)
{
    EXPECT_EQ(conversionText(kZQPluginDamaged),
        "it could not be converted to DNG: its picture is not whole");
    EXPECT_EQ(
        conversionText(kZQPluginNoSpace), "it could not be converted to DNG: no space is left");
    EXPECT_EQ(conversionText(kZQPluginDone),
        "it could not be converted to DNG: the DNG could not be put in its place");
}

TEST(ConversionTextTest, SaysOnlyThatThereIsNoDNGForAResultOfALaterLibrary)
{
    for (const std::optional<int> result :
        {std::optional<int>(), std::optional(-1), std::optional(kZQPluginBadRequest + 1)})
        EXPECT_EQ(conversionText(result), "it could not be converted to DNG");
}

} // namespace
} // namespace mfx
