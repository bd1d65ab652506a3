#include "mfx/engine/names/NamePattern.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

const NameFields kFields{
    "IMG_0042", "CR2", CaptureMoment{2021, 3, 5, 14, 7, 9, std::nullopt, std::nullopt}, 7};

TEST(NamePatternTest, RendersOneStemForAGroup)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"{name}", "IMG_0042"},
        {"{name}.{ext}", "IMG_0042"}, // every member has its own
        {"{name}_{ext}", "IMG_0042_CR2"},
        {"{ext}.{name}", "CR2.IMG_0042"},
        {"{name}{ext}", "IMG_0042CR2"},
        {"{ext}", "CR2"},
        {"{ext}.{ext}", "CR2"},
        {"{date:%Y%m%d}-{seq:4}", "20210305-0007"},
        {"{date:%Y%m%d}_{seq:1}.{ext}", "20210305_7"},
        {"{seq:9}", "000000007"},
        {"{{{name}}}", "{IMG_0042}"},
        {"{{name}}", "{name}"},
        {"}}{{", "}{"},
        {"holiday", "holiday"},
        {"100%", "100%"}, // a percent sign is a letter's only within {date:...}
        {"gr\xC3\xBC\xC3\x9F {name}", "gr\xC3\xBC\xC3\x9F IMG_0042"},
        {"{date:%H:%M}", "14:07"},
        {"a.", "a."},
    };
    for (const auto& [pattern, stem] : rows)
        EXPECT_EQ(NamePattern(pattern).stem(kFields), stem) << pattern;
}

TEST(NamePatternTest, RefusesFieldsThatAreNone)
{
    for (const std::string bad : {"{}",
             "{nam}",
             "{Name}",
             "{name:x}",
             "{ext:3}",
             "{name }",
             "{ name}",
             "{unknown}",
             "{date}",
             "{date:}",
             "{date:%}",
             "{date:%q}",
             "{date:%D}",
             "{date:%x}",
             "{seq}",
             "{seq:}",
             "{seq:0}",
             "{seq:10}",
             "{seq:-1}",
             "{seq:x}",
             "{seq: 4}"})
        EXPECT_THROW(NamePattern{bad}, PatternError) << bad;
}

TEST(NamePatternTest, RefusesWhatIsNoPattern)
{
    for (const std::string bad : {"",
             "{",
             "}",
             "{name",
             "name}",
             "{name}}",
             "{{name}",
             "{date:%Y",
             "{seq:4",
             "a/b",
             "/",
             "{date:%Y/%m}",
             ".{ext}",
             "a\nb",
             "a\x7F",
             "\xFF",
             "{{}",
             "{name}{"})
        EXPECT_THROW(NamePattern{bad}, PatternError) << bad;
    EXPECT_THROW(NamePattern(std::string("a\0b", 3)), PatternError);
}

TEST(NamePatternTest, RefusesAStemThatIsNoFileName)
{
    const std::vector<std::pair<std::string, NameFields>> rows{
        {"{name}", {"", "jpg", {}, 1}},
        {"{ext}", {"a", "", {}, 1}},
        {".{name}", kFields},
        {".", kFields},
        {"..", kFields},
        {"{name}", {".hidden", "jpg", {}, 1}},
        {"{name}", {"..", "", {}, 1}},
        {"{name}", {"a/b", "jpg", {}, 1}},
        {"{name}-{ext}", {"a", "j/g", {}, 1}},
        {"{name}", {std::string("a\0b", 3), "jpg", {}, 1}},
    };
    for (const auto& [pattern, fields] : rows)
        EXPECT_THROW(NamePattern(pattern).stem(fields), PatternError) << pattern;
}

TEST(NamePatternTest, WritesUndatedWhereNoDateIsKnown)
{
    NameFields fields = kFields;
    fields.date.reset();
    EXPECT_EQ(NamePattern("{date:%Y-%m-%d}_{name}").stem(fields), "undated_IMG_0042");
}

TEST(NamePatternTest, LetsALargeNumberGrow)
{
    NameFields fields = kFields;
    fields.sequence = 12345;
    EXPECT_EQ(NamePattern("{seq:3}").stem(fields), "12345");
}

TEST(NamePatternTest, KnowsWhetherItCounts)
{
    EXPECT_TRUE(NamePattern("{seq:3}").usesSequence());
    EXPECT_FALSE(NamePattern("{name}{{seq:3}}").usesSequence());
}

TEST(NamePatternTest, SaysWhatIsWrong)
{
    try {
        const NamePattern pattern("{nam}");
        FAIL() << "accepted";
    } catch (const PatternError& error) {
        EXPECT_NE(std::string(error.what()).find("{nam} is no field"), std::string::npos);
    }
}

TEST(NamePatternTest, KnowsWhetherItUsesTheDate)
{
    EXPECT_TRUE(NamePattern("a{date:%Y}").usesDate());
    EXPECT_FALSE(NamePattern("{{date:%Y}}{name}{seq:3}").usesDate());
}

} // namespace
} // namespace mfx
