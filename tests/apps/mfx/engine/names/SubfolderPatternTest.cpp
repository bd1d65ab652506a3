#include "mfx/engine/names/SubfolderPattern.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

const CaptureMoment kMoment{2021, 3, 5, 23, 7, 9, std::nullopt, 540};

TEST(SubfolderPatternTest, RendersTheLocalDate)
{
    const std::vector<std::pair<std::string, std::string>> rows{{"%Y/%Y-%m-%d", "2021/2021-03-05"},
        {"%Y", "2021"},
        {"all", "all"},
        {"a.b/c..", "a.b/c.."},
        {"%D", "03/05/21"},
        {"{date}", "{date}"},
        {std::string(255, 'x'), std::string(255, 'x')}};
    for (const auto& [pattern, folder] : rows)
        EXPECT_EQ(SubfolderPattern(pattern).folder(kMoment), folder);
}

TEST(SubfolderPatternTest, PutsWhatHasNoDateIntoOneFolder)
{
    EXPECT_EQ(SubfolderPattern("%Y/%m").folder(std::nullopt), "undated");
    EXPECT_EQ(SubfolderPattern("all").folder(std::nullopt), "undated");
}

TEST(SubfolderPatternTest, RefusesWhatLeadsElsewhere)
{
    for (const std::string bad : {"",
             "/",
             "/%Y",
             "%Y/",
             "%Y//%m",
             ".",
             "..",
             "./%Y",
             "%Y/.",
             "%Y/..",
             "%Y/../..",
             "../%Y",
             ".%Y",
             "%Y/.mfxdownload",
             "%Y/.hidden/%m",
             "%",
             "%Y/%q",
             "a\nb",
             "\xFF",
             "%s"})
        EXPECT_THROW(SubfolderPattern{bad}, PatternError) << bad;
    EXPECT_THROW(SubfolderPattern{std::string(256, 'x')}, PatternError);
    EXPECT_THROW(SubfolderPattern{std::string(250, 'x') + "%A"}, PatternError); // on Wednesdays
    EXPECT_THROW(SubfolderPattern{"%Y/" + std::string(256, 'x')}, PatternError);
}

} // namespace
} // namespace mfx
