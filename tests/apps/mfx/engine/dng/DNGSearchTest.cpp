#include "mfx/engine/dng/DNGSearch.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/RecordedDng.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

TEST(DNGSearchTest, PutsTheExtensionInThePlaceOfTheRawFiles)
{
    const tests::TestCard folder;
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1.dng"));
    EXPECT_EQ(nextDNGPath(folder.path("a.b.NEF")), folder.path("a.b.dng"));
    EXPECT_EQ(nextDNGPath(folder.path("plain")), folder.path("plain.dng"));
}

TEST(DNGSearchTest, CountsWhereTheNameIsTaken)
{
    const tests::TestCard folder;
    folder.add("IMG_1.dng");
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1_1.dng"));
    std::filesystem::create_symlink("nowhere", folder.path("IMG_1_1.dng"));
    folder.addFolder("IMG_1_2.dng");
    EXPECT_EQ(nextDNGPath(folder.path("IMG_1.CR2")), folder.path("IMG_1_3.dng"));
}

TEST(DNGSearchTest, CutsNoDotOfAFolder)
{
    const tests::TestCard folder;
    EXPECT_EQ(nextDNGPath(folder.path("2024.05/plain")), folder.path("2024.05/plain.dng"));
}

class DNGOfTest : public testing::Test {
protected:
    std::optional<std::string> find(const std::string& raw)
    {
        Pt::ContentDigester digester;
        digester.add(raw.data(), raw.size());
        return findDNGOf(
            folder.path("A.CR2"), raw.size(), [&]() -> std::optional<Pt::ContentDigest> {
                ++readings;
                return isReadable ? std::optional(digester.finish()) : std::nullopt;
            });
    }

    const tests::TestCard folder;
    int readings = 0;
    bool isReadable = true;
};

TEST_F(DNGOfTest, FindsTheOneThatWasMadeOfTheseBytes)
{
    folder.add("A.dng", test::recordedDng("A.CR2", "other"));
    folder.add("A_1.dng", test::recordedDng("whatever", "raw a"));
    EXPECT_EQ(find("raw a"), folder.path("A_1.dng"));
    EXPECT_EQ(readings, 1) << "for both";
    EXPECT_EQ(find("raw b"), std::nullopt);
}

TEST_F(DNGOfTest, ReadsTheRawFileOnlyForOneAsLong)
{
    folder.add("A.dng", test::recordedDng("A.CR2", "raw"));
    EXPECT_EQ(find("longer"), std::nullopt);
    EXPECT_EQ(readings, 0);
}

TEST_F(DNGOfTest, FindsNoneWhereTheRawFileCannotBeRead)
{
    folder.add("A.dng", test::recordedDng("A.CR2", "raw"));
    isReadable = false;
    EXPECT_EQ(find("raw"), std::nullopt);
}

TEST_F(DNGOfTest, TakesNothingElseForOne)
{
    folder.add("A.dng", "of somebody else");
    folder.addFolder("A_1.dng");
    std::filesystem::create_symlink("gone", folder.path("A_2.dng"));
    ASSERT_EQ(::mkfifo(folder.path("A_3.dng").c_str(), 0600), 0); // which opening would wait for
    folder.add("A_4.dng", test::recordedDng("A.CR2", "raw").substr(0, 90));
    EXPECT_EQ(find("raw"), std::nullopt);
    folder.add("A_5.dng", test::recordedDng("A.CR2", "raw"));
    EXPECT_EQ(find("raw"), folder.path("A_5.dng"));
    folder.add("A_7.dng", test::recordedDng("A.CR2", "far"));
    EXPECT_EQ(find("far"), std::nullopt) << "behind the first free name";
}

TEST_F(DNGOfTest, TakesOnlyWhatWasMadeOfTheSameBytesForTheNewOne)
{
    const std::string raw = folder.path("A.CR2");
    const auto made = [&](const std::string& expected) {
        Pt::ContentDigester digester;
        digester.add("raw", 3);
        return findMadeDNG(raw, folder.path(expected), digester.finish());
    };
    folder.add("A.dng", test::recordedDng("A.CR2", "raw"));
    EXPECT_EQ(made("A.dng"), folder.path("A.dng"));
    folder.add("A_1.dng", test::recordedDng("A.CR2", "another"));
    std::filesystem::remove(folder.path("A.dng"));
    folder.add("A.dng", test::recordedDng("A.CR2", "far"));
    EXPECT_EQ(made("A.dng"), std::nullopt) << "of other bytes";
    folder.add("A_2.dng", test::recordedDng("A.CR2", "raw"));
    EXPECT_EQ(made("A.dng"), folder.path("A_2.dng")) << "somebody took the name";
    std::filesystem::remove(folder.path("A_2.dng"));
    folder.add("A.dng", "of a library that writes no record");
    EXPECT_EQ(made("A.dng"), folder.path("A.dng"));
}

} // namespace
} // namespace mfx
