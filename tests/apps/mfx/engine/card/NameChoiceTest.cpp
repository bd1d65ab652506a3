#include "mfx/engine/card/NameChoice.h"

#include <gmock/gmock.h>

namespace mfx {
namespace {

using Names = std::vector<std::string>;

struct ChoiceCase {
    const char* name;
    Names globs;
    Names folder;
    Names taken;
};

void PrintTo(const ChoiceCase& row, std::ostream* out)
{
    *out << row.name;
}

class NameChoiceTest : public testing::TestWithParam<ChoiceCase> { };

TEST_P(NameChoiceTest, TakesWhatMatchesAndWhatBelongsToIt)
{
    const NameFilter only(GetParam().globs);
    const NameChoice choice(only, GetParam().folder);
    Names taken;
    for (const std::string& name : GetParam().folder)
        if (choice.takes(name))
            taken.push_back(name);
    EXPECT_EQ(taken, GetParam().taken);
}

INSTANTIATE_TEST_SUITE_P(Cases,
    NameChoiceTest,
    testing::Values(ChoiceCase{"AllWithoutGlobs", {}, {"A.CR2", "A.txt"}, {"A.CR2", "A.txt"}},
        ChoiceCase{"NothingThatDoesNotMatch", {"*.CR2"}, {"A.JPG", "A.xmp", "A.WAV"}, {}},
        ChoiceCase{"SidecarsOfAPhoto",
            {"*.CR2"},
            {"A.AAE", "A.CR2", "A.DOP", "A.pp3", "A.xmp", "B.xmp"},
            {"A.AAE", "A.CR2", "A.DOP", "A.pp3", "A.xmp"}},
        ChoiceCase{"VoiceNotes",
            {"*.jpg"},
            {"A.JPG", "A.MP3", "A.WAV", "B.WAV"},
            {"A.JPG", "A.MP3", "A.WAV"}},
        ChoiceCase{"CompanionsOfAMovie",
            {"*.MP4"},
            {"A.GLV", "A.LRV", "A.MP4", "A.THM", "A.WAV", "B.THM"},
            {"A.GLV", "A.LRV", "A.MP4", "A.THM", "A.WAV"}},
        ChoiceCase{"NoCompanionsOfAMovieThatDoesNotMatch",
            {"*.JPG"},
            {"A.JPG", "A.MOV", "A.THM", "A.xmp"},
            {"A.JPG", "A.xmp"}},
        ChoiceCase{"TheThumbnailOfARawFile", {"*.CRW"}, {"A.CRW", "A.THM"}, {"A.CRW", "A.THM"}},
        ChoiceCase{"NoTwins", {"*.CR2"}, {"A.CR2", "A.JPG", "A.MOV", "A.xmp"}, {"A.CR2", "A.xmp"}},
        ChoiceCase{"NothingUnknown", {"*.CR2"}, {"A.CR2", "A.txt"}, {"A.CR2"}},
        ChoiceCase{"ChainedSidecarsWithTheirParents",
            {"*.CR2"},
            {"A.CR2", "A.CR2.xmp", "A.JPG", "A.JPG.xmp", "A.xmp"},
            {"A.CR2", "A.CR2.xmp", "A.xmp"}},
        ChoiceCase{
            "NoChainedSidecarWhoseParentIsNotThere", {"*.JPG"}, {"A.CR2.xmp", "A.JPG"}, {"A.JPG"}},
        ChoiceCase{"ChainedSidecarsOfWhatWasBrought",
            {"*.MP4"},
            {"A.MP4", "A.THM", "A.WAV", "A.WAV.xmp"},
            {"A.MP4", "A.THM", "A.WAV", "A.WAV.xmp"}},
        ChoiceCase{"ChainedSidecarsInOtherLetters",
            {"*.cr2"},
            {"A.CR2", "A.cr2.XMP"},
            {"A.CR2", "A.cr2.XMP"}},
        ChoiceCase{
            "SidecarsOfAVoiceNote", {"*.WAV"}, {"A.JPG", "A.WAV", "A.xmp"}, {"A.WAV", "A.xmp"}},
        ChoiceCase{"NoVoiceNoteBySomeOther", {"*.WAV"}, {"A.MP3", "A.WAV"}, {"A.WAV"}},
        ChoiceCase{"NothingByASidecar", {"*.xmp"}, {"A.AAE", "A.CR2", "A.WAV", "A.xmp"}, {"A.xmp"}},
        ChoiceCase{
            "NothingByACompanion", {"*.LRV"}, {"A.LRV", "A.MP4", "A.THM", "A.xmp"}, {"A.LRV"}},
        ChoiceCase{"StemsLetterByLetter", {"A.JPG"}, {"A.JPG", "a.xmp"}, {"A.JPG"}},
        ChoiceCase{"WhatMatchesItself",
            {"*.JPG", "*.xmp"},
            {"A.JPG", "B.CR2.xmp", "C.xmp"},
            {"A.JPG", "B.CR2.xmp", "C.xmp"}}),
    [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace mfx
