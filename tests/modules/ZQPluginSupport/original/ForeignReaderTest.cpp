// What is embedded here is found by a reader of others.

#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "support/NoiseSource.h"
#include "support/ProgramOutput.h"
#include "support/TestFolder.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace {

class ForeignReaderTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::system("command -v exiftool >/dev/null") != 0)
            GTEST_SKIP() << "exiftool is not installed";
    }
    std::string tagOf(const std::string& dng, const std::string& tag) const
    {
        return test::outputOf({"exiftool", "-b", tag, m_folder.write("a.dng", dng)});
    }

    test::TestFolder m_folder;
};

} // namespace

TEST_F(ForeignReaderTest, GetsTheRawFileAndItsPreview)
{
    for (const std::size_t size : {1U, 65536U, 65537U, 300'000U})
        for (const bool isBigEndian : {false, true}) {
            const std::string raw = tests::NoiseSource(size).bytes(size);
            const std::string preview = tests::NoiseSource(2).bytes(70'000);
            const std::string dng = test::MadeDng{.record = test::recordOf("CRW_1.CRW", raw),
                .name = "CRW_1.CRW",
                .value = test::embedded(raw, preview),
                .isBigEndian = isBigEndian}
                                        .bytes();
            EXPECT_TRUE(tagOf(dng, "-OriginalRawImage") == raw) << size;
            EXPECT_TRUE(tagOf(dng, "-OriginalTHMImage") == preview) << size;
            EXPECT_EQ(tagOf(dng, "-OriginalRawFileName"), "CRW_1.CRW");
        }
}
