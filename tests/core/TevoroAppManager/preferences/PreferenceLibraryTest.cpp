// The sink over the real preference store, over none, and over libraries that are built wrong.

#include "core/TevoroAppManager/support/PreferencesFixture.h"

#include <algorithm>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

namespace {

class PreferenceLibraryTest : public test::PreferencesFixture {
protected:
    void SetUp() override
    {
        if (hasLoadedALibrary()) {
            GTEST_SKIP() << "needs a process of its own";
        }
    }

    std::string file() const { return tree.path("data/Velmo/Tevoro NX/preferences-3.xml"); }

    void expectNoStore()
    {
        openWithPanel();
        get();
        EXPECT_EQ(record->createSubfoldersIndex, 3);
        EXPECT_EQ(record->backdropColour, 0xffd2d2d2U);
        EXPECT_EQ(util().SetPreferences(record.record), kFxErrNotInitialised);
    }

    // Of a user, some of them odd.
    void putChoices()
    {
        record->setApplyMetadataAuthorName("J\u00f6rg", 0);
        record->setApplyMetadataTemplateName(std::string(300, 't').c_str(), 0);
        record->setApplyMetadataCopyright("\xff\xfe bytes", 0);
        record->SetMobileFolderSetting("", 0);
        record->setBatchRenamePreference("a rule", 0);
        test::put(record->location, "/fotos/\u00fcber <all>");
        record->renameSequenceNumber = 1234;
        record->dontShowAgainFlags = 0x80000001;
        record->option3 = true;
        record->gridFilter = -5;
    }
    void expectChoices()
    {
        EXPECT_EQ(record->getApplyMetadataAuthorName(), "J\u00f6rg");
        EXPECT_EQ(record->getApplyMetadataTemplateName(), std::string(300, 't'));
        EXPECT_EQ(record->getApplyMetadataCopyright(), "\xff\xfe bytes");
        EXPECT_EQ(record->GetMobileFolderSetting(), "");
        EXPECT_EQ(record->getBatchRenamePreference(), "a rule");
        EXPECT_EQ(test::utf8(record->location), "/fotos/\u00fcber <all>");
        EXPECT_EQ(record->renameSequenceNumber, 1234);
        EXPECT_EQ(record->dontShowAgainFlags, 0x80000001U);
        EXPECT_TRUE(record->option3);
        EXPECT_EQ(record->gridFilter, -5);
    }
};

// The file names of this process's libraries, in the order in which it has loaded them.
std::vector<std::string> loadedLibraries()
{
    std::vector<std::string> names;
    ::dl_iterate_phdr(
        [](dl_phdr_info* library, std::size_t, void* out) {
            static_cast<std::vector<std::string>*>(out)->push_back(
                std::filesystem::path(library->dlpi_name).filename());
            return 0;
        },
        &names);
    return names;
}

} // namespace

TEST_F(PreferenceLibraryTest, TakesTheStoreBeforeItLooksForAConverter)
{
    tree.addPreferenceStore();
    tree.addLibrary("ZQPluginSupport", CONVERSION_LIBRARY);
    open();
    const std::vector<std::string> names = loadedLibraries();
    const auto first = std::find(names.begin(), names.end(), "preference_xml_parser.so");
    const auto second = std::find(names.begin(), names.end(), "ZQPluginSupport.so");
    ASSERT_NE(second, names.end());
    EXPECT_LT(first, second);
}

TEST_F(PreferenceLibraryTest, GoesOnWithoutTheLibrary)
{
    expectNoStore();
    EXPECT_TRUE(panel.control("launchtevoro_checkbox").checked);
    EXPECT_FALSE(panel.control("dng_checkbox").enabled);
}

TEST_F(PreferenceLibraryTest, GoesOnWithALibraryThatIsGarbage)
{
    tree.write("Frameworks/preference_xml_parser.framework/preference_xml_parser.so", "garbage");
    expectNoStore();
}

TEST_F(PreferenceLibraryTest, GoesOnWithALibraryThatLacksItsEntry)
{
    tree.addLibrary("preference_xml_parser", BARE_MODULE);
    expectNoStore();
}

TEST_F(PreferenceLibraryTest, GoesOnWithoutAModuleObject)
{
    script();
    store->givesModule = false;
    expectNoStore();
}

TEST_F(PreferenceLibraryTest, GoesOnWithAModuleThatHasNoStore)
{
    script();
    store->givesStore = false;
    expectNoStore();
}

TEST_F(PreferenceLibraryTest, KeepsWhatWasSetForTheNextSink)
{
    std::filesystem::create_directories(tree.path("copies"));
    tree.addPreferenceStore();
    openWithPanel();
    get();
    record.dropStrings();
    putChoices();
    panel.check("launchtevoro_checkbox", false);
    panel.check("deletefiles_checkbox");
    panel.check("savecopies_checkbox");
    set();
    close();

    test::PreferencesRecord fresh;
    std::swap(record.record, fresh.record);
    openWithPanel();
    panel.check("launchtevoro_checkbox");
    panel.check("deletefiles_checkbox", false);
    get();
    expectChoices();
    EXPECT_FALSE(panel.control("launchtevoro_checkbox").checked);
    EXPECT_TRUE(panel.control("deletefiles_checkbox").checked);
    EXPECT_TRUE(panel.control("savecopies_checkbox").checked);
    EXPECT_TRUE(std::filesystem::exists(file()));
}

TEST_F(PreferenceLibraryTest, GivesDefaultsForADamagedFileAndCanWriteAgain)
{
    tree.addPreferenceStore();
    std::filesystem::create_directories(tree.path("data/Velmo/Tevoro NX"));
    std::ofstream(file()) << "<preferences><cut";
    openWithPanel();
    get();
    EXPECT_EQ(record->createSubfoldersIndex, 3);
    EXPECT_EQ(record->backdropColour, 0xffd2d2d2U);
    record->renameSequenceNumber = 9;
    set();
    get();
    EXPECT_EQ(record->renameSequenceNumber, 9);
}

TEST_F(PreferenceLibraryTest, KeepsTheOptionsOfAConversionThatWasSwitchedOff)
{
    tree.addPreferenceStore();
    openWithPanel();
    panel.check("dng_checkbox");
    set();
    const std::string before = test::read(file());
    EXPECT_NE(before.find("DNGJpegPreviewSize"), std::string::npos);
    panel.check("dng_checkbox", false);
    set();
    EXPECT_NE(test::read(file()).find("DNGJpegPreviewSize"), std::string::npos);
}
