#include "core/TevoroAppManager/support/SinkFixture.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

namespace fs = std::filesystem;

std::vector<std::string> gHeard; // "label TEXT", "error TEXT"

unsigned long hearLabel(const unsigned short* text, long)
{
    gHeard.push_back("label " + test::utf8(text));
    return 0;
}

unsigned long hearError(const unsigned short* text, long)
{
    gHeard.push_back("error " + test::utf8(text));
    return 0;
}

// A sink with the conversion on, a library that does as it is told, and a folder of saved files.
class DNGConverterTest : public test::SinkFixture {
protected:
    void SetUp() override
    {
        gHeard.clear();
        fs::create_directories(tree.path("t"));
        tree.environment.set("CONVERSION_LOG", tree.path("log"));
        for (const char* variable :
            {"CONVERSION_CAN", "CONVERSION_RESULT", "CONVERSION_WRITES", "CONVERSION_CRASH"})
            tree.environment.unset(variable);
    }

    void start()
    {
        tree.addLibrary("ZQPluginSupport", CONVERSION_LIBRARY);
        openWithPanel();
        panel.check("dng_checkbox");
        setRawExtensions("cr2,nef,dng,r3d");
    }

    void setRawExtensions(const std::string& list)
    {
        test::FxText text = test::units(list);
        face<ISinkCapabilities2>(49).SetRDXSupportedExtensions(text.data());
    }

    void save(const std::string& name, const std::string& bytes = "raw")
    {
        tree.write("t/" + name, bytes);
    }

    FxStatus convert(const std::string& name)
    {
        CPropSinkMediaItem record;
        record.tag = 3;
        record.size = 2104;
        record.lastWord = 0;
        test::put(record.folder, tree.path("t"));
        test::put(record.fileName, name);
        test::put(record.deviceName, name);
        return hooks().DoPostProcessing(&record, hearLabel, nullptr, hearError, nullptr, nullptr);
    }

    IMFXPostProcessing2& hooks() { return face<IMFXPostProcessing2>(66); }

    // All files below the folder, with their bytes.
    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(tree.path("t"))) {
            if (entry.is_regular_file())
                found[fs::relative(entry.path(), tree.path("t")).string()] =
                    test::read(entry.path().string());
        }
        return found;
    }

    std::string log() const { return test::read(tree.path("log")); }
    bool hasTemporaryFolder() const { return fs::exists(tree.path("t/.mfxdownload")); }
};

} // namespace

TEST_F(DNGConverterTest, PutsTheDNGInThePlaceOfTheRawFile)
{
    start();
    save("photo.CR2");
    EXPECT_EQ(convert("photo.CR2"), kFxOk);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.dng", "DNG of raw")));
    EXPECT_THAT(gHeard, ElementsAre("label Converting to DNG..."));
    EXPECT_FALSE(hasTemporaryFolder());
}

TEST_F(DNGConverterTest, HandsTheLibraryTheTemporaryPathsAndTheOptions)
{
    start();
    save("photo.cr2");
    ASSERT_EQ(convert("photo.cr2"), kFxOk);
    const std::string work = tree.path("t/.mfxdownload/photo");
    EXPECT_EQ(log(), work + ".cr2 " + work + ".dng 1100\n");
}

TEST_F(DNGConverterTest, PassesADNGOverAsDone)
{
    start();
    save("photo.dng");
    save("PHOTO.DNG");
    EXPECT_EQ(convert("photo.dng"), kFxOk);
    EXPECT_EQ(convert("PHOTO.DNG"), kFxOk);
    EXPECT_EQ(files().size(), 2U);
    EXPECT_FALSE(fs::exists(tree.path("log")));
}

TEST_F(DNGConverterTest, NumbersTheDNGWhenItsNameIsTaken)
{
    start();
    save("photo.dng", "first");
    save("photo.cr2", "a");
    EXPECT_EQ(convert("photo.cr2"), kFxOk);
    save("photo.nef", "b");
    EXPECT_EQ(convert("photo.nef"), kFxOk);
    EXPECT_THAT(files(),
        UnorderedElementsAre(Pair("photo.dng", "first"),
            Pair("photo_1.dng", "DNG of a"),
            Pair("photo_2.dng", "DNG of b")));
}

TEST_F(DNGConverterTest, TakesAFileWithoutSuffixForNoRawFile)
{
    start();
    save("photo");
    EXPECT_EQ(convert("photo"), kFxOk);
    EXPECT_THAT(files(), ElementsAre(Pair("photo", "raw")));
}

TEST_F(DNGConverterTest, KeepsAllOfANameBeforeItsLastDot)
{
    start();
    save("a.b.cr2");
    EXPECT_EQ(convert("a.b.cr2"), kFxOk);
    EXPECT_THAT(files(), ElementsAre(Pair("a.b.dng", "DNG of raw")));
}

TEST_F(DNGConverterTest, PutsTheRawFileBackWhenTheLibraryFails)
{
    tree.environment.set("CONVERSION_RESULT", "3");
    start();
    save("photo.CR2");
    EXPECT_EQ(convert("photo.CR2"), kFxWarnPostProcess);
    EXPECT_EQ(test::read(tree.path("t/photo.CR2")), "raw");
    EXPECT_FALSE(fs::exists(tree.path("t/photo.dng")));
    EXPECT_THAT(
        gHeard, ElementsAre("label Converting to DNG...", "error Could not convert to DNG..."));
    EXPECT_TRUE(hasTemporaryFolder()) << "what the library left keeps the folder";
}

TEST_F(DNGConverterTest, ClearsWhatAFailedConversionLeft)
{
    tree.environment.set("CONVERSION_RESULT", "3");
    start();
    save("photo.CR2");
    EXPECT_EQ(convert("photo.CR2"), kFxWarnPostProcess);
    tree.environment.set("CONVERSION_RESULT", "0");
    EXPECT_EQ(convert("photo.CR2"), kFxOk);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.dng", "DNG of raw")));
    EXPECT_FALSE(hasTemporaryFolder());
}

TEST_F(DNGConverterTest, PutsTheRawFileBackWhenTheLibraryOnlySaysThatItConverted)
{
    tree.environment.set("CONVERSION_WRITES", "0");
    start();
    save("photo.cr2");
    EXPECT_EQ(convert("photo.cr2"), kFxWarnPostProcess);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.cr2", "raw")));
    EXPECT_FALSE(hasTemporaryFolder());
}

TEST_F(DNGConverterTest, RemovesStaleTemporaryFilesOfTheSameName)
{
    start();
    save(".mfxdownload/photo.cr2", "stale");
    save(".mfxdownload/photo.dng", "stale");
    save(".mfxdownload/photo.xmp", "stale");
    save("photo.cr2");
    EXPECT_EQ(convert("photo.cr2"), kFxOk);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.dng", "DNG of raw")));
}

TEST_F(DNGConverterTest, LeavesTheSidecarWithoutTheFlag)
{
    start();
    save("photo.cr2");
    save("photo.xmp", "settings");
    EXPECT_EQ(convert("photo.cr2"), kFxOk);
    EXPECT_THAT(files(),
        UnorderedElementsAre(Pair("photo.dng", "DNG of raw"), Pair("photo.xmp", "settings")));
}

TEST_F(DNGConverterTest, TakesTheSidecarOfOneConversionWithTheFlag)
{
    start();
    for (const char* name : {"a", "b"}) {
        save(std::string(name) + ".cr2");
        save(std::string(name) + ".xmp", "settings");
    }
    EXPECT_EQ(hooks().deleteXMPData(true), kFxOk);
    EXPECT_EQ(convert("a.cr2"), kFxOk);
    EXPECT_EQ(convert("b.cr2"), kFxOk);
    EXPECT_THAT(files(),
        UnorderedElementsAre(
            Pair("a.dng", "DNG of raw"), Pair("b.dng", "DNG of raw"), Pair("b.xmp", "settings")));
}

TEST_F(DNGConverterTest, PutsTheSidecarBackWhenTheLibraryFails)
{
    tree.environment.set("CONVERSION_RESULT", "1");
    tree.environment.set("CONVERSION_WRITES", "0");
    start();
    save("photo.cr2");
    save("photo.xmp", "settings");
    hooks().deleteXMPData(true);
    EXPECT_EQ(convert("photo.cr2"), kFxWarnPostProcess);
    EXPECT_THAT(
        files(), UnorderedElementsAre(Pair("photo.cr2", "raw"), Pair("photo.xmp", "settings")));
    tree.environment.set("CONVERSION_RESULT", "0");
    tree.environment.set("CONVERSION_WRITES", "1");
    EXPECT_EQ(convert("photo.cr2"), kFxOk);
    EXPECT_TRUE(fs::exists(tree.path("t/photo.xmp"))) << "the flag stays cleared";
}

TEST_F(DNGConverterTest, KeepsTheFlagForTheNextFileThatNeedsAConversion)
{
    start();
    save("photo.jpg");
    save("photo.cr2");
    save("photo.xmp", "settings");
    hooks().deleteXMPData(true);
    EXPECT_EQ(convert("photo.jpg"), kFxOk);
    EXPECT_EQ(convert("photo.cr2"), kFxOk);
    EXPECT_FALSE(fs::exists(tree.path("t/photo.xmp")));
}

TEST_F(DNGConverterTest, LeavesTheRawFileWhereItIsWithoutTheLibrary)
{
    openWithPanel();
    panel.check("dng_checkbox");
    setRawExtensions("cr2");
    save("photo.cr2");
    EXPECT_EQ(convert("photo.cr2"), kFxWarnPostProcess);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.cr2", "raw")));
    EXPECT_THAT(gHeard, ElementsAre("error Cannot find the DNG converter."));
}

TEST_F(DNGConverterTest, LeavesALibraryAloneThatCannotConvert)
{
    tree.environment.set("CONVERSION_CAN", "0");
    start();
    save("photo.cr2");
    EXPECT_EQ(convert("photo.cr2"), kFxWarnPostProcess);
    EXPECT_THAT(files(), ElementsAre(Pair("photo.cr2", "raw")));
}

TEST_F(DNGConverterTest, FindsARawSuffixAnywhereInTheList)
{
    start();
    setRawExtensions("CR2,nef,sr2");
    save("a.cr2");
    EXPECT_EQ(convert("a.cr2"), kFxOk);
    EXPECT_TRUE(fs::exists(tree.path("t/a.cr2"))) << "an upper-case entry matches nothing";
    save("b.r2");
    EXPECT_EQ(convert("b.r2"), kFxOk);
    EXPECT_TRUE(fs::exists(tree.path("t/b.dng"))) << "r2 is the end of sr2";
    save("c.nef");
    EXPECT_EQ(convert("c.nef"), kFxOk);
    EXPECT_TRUE(fs::exists(tree.path("t/c.dng")));
}

TEST_F(DNGConverterTest, ConvertsNamesWithLettersOfAnyLanguage)
{
    start();
    save("Gr\xc3\xbc\xc3\x9f"
         "e \xe5\x86\x99\xe7\x9c\x9f.cr2");
    EXPECT_EQ(convert("Gr\xc3\xbc\xc3\x9f"
                      "e \xe5\x86\x99\xe7\x9c\x9f.cr2"),
        kFxOk);
    EXPECT_THAT(files(),
        ElementsAre(Pair("Gr\xc3\xbc\xc3\x9f"
                         "e \xe5\x86\x99\xe7\x9c\x9f.dng",
            "DNG of raw")));
}

TEST_F(DNGConverterTest, KeepsTheRawFileWhenTheTemporaryFolderCannotBeMade)
{
    start();
    save("photo.cr2");
    save(".mfxdownload", "a file is in the way");
    EXPECT_EQ(convert("photo.cr2"), kFxWarnPostProcess);
    EXPECT_EQ(test::read(tree.path("t/photo.cr2")), "raw");
    EXPECT_FALSE(fs::exists(tree.path("log"))) << "there is nothing to convert";
}
