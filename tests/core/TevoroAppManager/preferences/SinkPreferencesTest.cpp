#include "core/TevoroAppManager/support/PreferencesFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

namespace {

constexpr char kDefaultRename[] = R"(0#""#-1#-1|$%6#""#6#11|$%0#"_"#-1#-1|$%4#"1"#-1#6)";

using Lines = std::vector<std::string>;

Lines gets(const Lines& keys)
{
    Lines lines;
    for (const std::string& key : keys)
        lines.push_back(key.rfind("bytes ", 0) == 0 ? key : "get 3 " + key + " 260");
    return lines;
}

Lines joined(const std::vector<Lines>& parts)
{
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

const Lines kReadFirst = {"XMLFileVersion",
    "BatchRenamePreferenceSize",
    "CreateSubfoldersComboIndex",
    "RenameFilesComboIndex",
    "ApplyMetadataGroupOpen",
    "ApplyMetadataAuthorNameSize",
    "bytes 3 ApplyMetadataAuthorName 260",
    "ApplyMetadataCopyrightSize",
    "bytes 3 ApplyMetadataCopyright 260",
    "ApplyMetadataTemplateNameSize",
    "bytes 3 ApplyMetadataTemplateName 260",
    "MobileFolderSettingSize",
    "bytes 3 MobileFolderSetting 260",
    "CustomGroupOpen",
    "RenameSequenceNumber",
    "PreserveOriginalFilename",
    "QuickViewerMode"};
const Lines kReadOfPanel = {"OpenTevoro",
    "DeleteOriginals",
    "ConvertToDNG",
    "DNGOutputUncompressed",
    "DNGOutputLinear",
    "DNGEmbeddRAW",
    "DNGJpegPreviewSize",
    "SaveToSecondaryLocation",
    "SecondaryLocation"};
const Lines kReadLast = {"Location",
    "DontShowAgainFlags",
    "Option1Pref",
    "Option2Pref",
    "Option3Pref",
    "GridFilterPref"};

const std::map<std::string, std::string> kStoredBytes = {{"BatchRenamePreference", "rule"},
    {"ApplyMetadataAuthorName", "Ann"},
    {"ApplyMetadataCopyright", "(c) Ann"},
    {"ApplyMetadataTemplateName", "plain"},
    {"MobileFolderSetting", "/mobile"}};
const std::map<std::string, std::string> kStoredTexts = {{"BatchRenamePreferenceSize", "5"},
    {"CreateSubfoldersComboIndex", "-2"},
    {"RenameFilesComboIndex", "4"},
    {"ApplyMetadataGroupOpen", "0"},
    {"ApplyMetadataAuthorNameSize", "4"},
    {"ApplyMetadataCopyrightSize", "8"},
    {"ApplyMetadataTemplateNameSize", "6"},
    {"MobileFolderSettingSize", "8"},
    {"CustomGroupOpen", "0"},
    {"RenameSequenceNumber", "17"},
    {"PreserveOriginalFilename", "1"},
    {"QuickViewerMode", "2"},
    {"Location", "/photos"},
    {"DontShowAgainFlags", "-1"},
    {"Option1Pref", "0"},
    {"Option2Pref", "1"},
    {"Option3Pref", "12"},
    {"GridFilterPref", "3"}};

// Of a record with a conversion and these copies.
Lines writesWith(const std::string& copies)
{
    return {"set 3 BatchRenamePreferenceSize=5",
        "setbytes 3 BatchRenamePreference=rule",
        "set 3 CreateSubfoldersComboIndex=0",
        "set 3 RenameFilesComboIndex=0",
        "set 3 ApplyMetadataGroupOpen=0",
        "set 3 ApplyMetadataTemplateNameSize=6",
        "setbytes 3 ApplyMetadataTemplateName=plain",
        "set 3 ApplyMetadataAuthorNameSize=4",
        "setbytes 3 ApplyMetadataAuthorName=Ann",
        "set 3 ApplyMetadataCopyrightSize=1",
        "setbytes 3 ApplyMetadataCopyright=",
        "set 3 MobileFolderSettingSize=3",
        "setbytes 3 MobileFolderSetting=/m",
        "set 3 CustomGroupOpen=0",
        "set 3 RenameSequenceNumber=7",
        "set 3 PreserveOriginalFilename=0",
        "set 3 QuickViewerMode=7",
        "set 3 OpenTevoro=0",
        "set 3 DeleteOriginals=1",
        "set 3 ConvertToDNG=1",
        "set 3 DNGOutputUncompressed=1",
        "set 3 DNGOutputLinear=0",
        "set 3 DNGEmbeddRAW=1",
        "set 3 DNGJpegPreviewSize=2",
        "set 3 SaveToSecondaryLocation=1",
        "set 3 SecondaryLocation=" + copies,
        "set 3 Location=/photos",
        "set 3 DontShowAgainFlags=4",
        "set 3 Option1Pref=1",
        "set 3 Option2Pref=0",
        "set 3 Option3Pref=0",
        "set 3 GridFilterPref=-3",
        "save 3"};
}

class SinkPreferencesTest : public test::PreferencesFixture {
protected:
    // The store asked once, with the texts given; what was asked is then in store->calls.
    void getWith(std::map<std::string, std::string> texts)
    {
        if (!store)
            script();
        store->texts = std::move(texts);
        openWithPanel();
        store->calls.clear();
        get();
    }
    std::string location() { return test::utf8(record->location); }
};

} // namespace

TEST_F(SinkPreferencesTest, AsksForTheStoreOnceAndNamesItsFolder)
{
    script();
    open();
    EXPECT_THAT(store->calls, ElementsAre("init " + tree.path("data/Velmo/Tevoro NX"), "addref"));
    close();
    EXPECT_THAT(store->calls, Not(Contains("release")));
}

TEST_F(SinkPreferencesTest, ReadsTheKeysInTheirOrder)
{
    getWith({});
    EXPECT_THAT(store->calls,
        ElementsAreArray(
            joined({{"load 3"}, gets(kReadFirst), gets(kReadOfPanel), gets(kReadLast)})));
}

TEST_F(SinkPreferencesTest, ReadsNoKeysOfControlsThatAreMissing)
{
    panel.removeAll();
    getWith({});
    EXPECT_THAT(
        store->calls, ElementsAreArray(joined({{"load 3"}, gets(kReadFirst), gets(kReadLast)})));
}

TEST_F(SinkPreferencesTest, ReadsTheKeysOfEachControlThatIsThere)
{
    const std::map<std::string, Lines> keys = {{"launchtevoro_checkbox", {"OpenTevoro"}},
        {"deletefiles_checkbox", {"DeleteOriginals"}},
        {"dng_checkbox",
            {"ConvertToDNG",
                "DNGOutputUncompressed",
                "DNGOutputLinear",
                "DNGEmbeddRAW",
                "DNGJpegPreviewSize"}},
        {"savecopies_checkbox", {"SaveToSecondaryLocation"}},
        {"secondary_backup_label", {"SecondaryLocation"}}};
    script();
    for (const auto& [control, own] : keys) {
        test::HostPanel small(journal);
        for (const char* name : test::HostPanel::kAll)
            if (name != control)
                small.remove(name);
        open();
        face<ISinkUICapabilities>(25).SetClientUIHandler(&small);
        store->calls.clear();
        get();
        EXPECT_THAT(store->calls,
            ElementsAreArray(joined({{"load 3"}, gets(kReadFirst), gets(own), gets(kReadLast)})))
            << control;
        close();
    }
}

TEST_F(SinkPreferencesTest, FillsTheRecordFromTheStore)
{
    script();
    store->byteStrings = kStoredBytes;
    getWith(kStoredTexts);
    EXPECT_EQ(record->getBatchRenamePreference(), "rule");
    EXPECT_EQ(record->batchRenameLength, 5U);
    EXPECT_EQ(record->createSubfoldersIndex, -2);
    EXPECT_EQ(record->renameIndex, 4);
    EXPECT_FALSE(record->applyMetadataGroupOpen);
    EXPECT_EQ(record->getApplyMetadataAuthorName(), "Ann");
    EXPECT_EQ(record->authorNameLength, 4U);
    EXPECT_EQ(record->getApplyMetadataCopyright(), "(c) Ann");
    EXPECT_EQ(record->getApplyMetadataTemplateName(), "plain");
    EXPECT_EQ(record->GetMobileFolderSetting(), "/mobile");
    EXPECT_EQ(record->mobileFolderLength, 8U);
    EXPECT_FALSE(record->customGroupOpen);
    EXPECT_EQ(record->renameSequenceNumber, 17);
    EXPECT_EQ(record->keepDeviceName, 1);
    EXPECT_EQ(record->quickViewerMode, 2);
    EXPECT_EQ(location(), "/photos");
    EXPECT_EQ(record->dontShowAgainFlags, 0xffffffffU);
    EXPECT_FALSE(record->option1);
    EXPECT_TRUE(record->option2);
    EXPECT_TRUE(record->option3);
    EXPECT_EQ(record->gridFilter, 3);
}

TEST_F(SinkPreferencesTest, AsksForAsManyBytesAsTheStoreNames)
{
    getWith({{"BatchRenamePreferenceSize", "50"},
        {"ApplyMetadataAuthorNameSize", "7"},
        {"ApplyMetadataCopyrightSize", "0"},
        {"ApplyMetadataTemplateNameSize", "-4"},
        {"MobileFolderSettingSize", "text"}});
    EXPECT_THAT(store->calls,
        testing::IsSupersetOf({"bytes 3 BatchRenamePreference 50",
            "bytes 3 ApplyMetadataAuthorName 7",
            "bytes 3 ApplyMetadataCopyright 260",
            "bytes 3 ApplyMetadataTemplateName 260",
            "bytes 3 MobileFolderSetting 260"}));
    EXPECT_EQ(record->getBatchRenamePreference(), "");
    EXPECT_EQ(record->getApplyMetadataAuthorName(), "");
}

TEST_F(SinkPreferencesTest, SurvivesASizeThatIsAbsurd)
{
    getWith({{"ApplyMetadataAuthorNameSize", "2147483647"}});
    EXPECT_EQ(record->getApplyMetadataAuthorName(), "");
}

TEST_F(SinkPreferencesTest, TakesTheDefaultRenameRuleWhenNoneIsStored)
{
    getWith({});
    EXPECT_EQ(record->getBatchRenamePreference(), kDefaultRename);
    EXPECT_EQ(record->batchRenameLength, sizeof kDefaultRename);
    EXPECT_EQ(sizeof kDefaultRename, 50U);
    getWith({{"BatchRenamePreferenceSize", "0"}});
    EXPECT_EQ(record->getBatchRenamePreference(), kDefaultRename);
    for (const std::string& call : store->calls)
        EXPECT_THAT(call, Not(testing::StartsWith("bytes 3 BatchRename")));
}

TEST_F(SinkPreferencesTest, CarriesATextOverToTheKeysThatAreLeftOut)
{
    getWith({{"CreateSubfoldersComboIndex", "9"}});
    EXPECT_EQ(record->renameIndex, 9);
    EXPECT_TRUE(record->applyMetadataGroupOpen);
    EXPECT_THAT(store->calls, Contains("bytes 3 ApplyMetadataAuthorName 9"));
    EXPECT_EQ(record->quickViewerMode, 9);
    EXPECT_EQ(location(), "9");
    EXPECT_EQ(record->dontShowAgainFlags, 9U);
    EXPECT_EQ(record->gridFilter, 9);
}

TEST_F(SinkPreferencesTest, CarriesTheVersionOverToo)
{
    getWith({{"XMLFileVersion", "6"}});
    EXPECT_THAT(store->calls, Contains("bytes 3 BatchRenamePreference 6"));
}

TEST_F(SinkPreferencesTest, CarriesNothingOverToTheTwoKeysThatHaveDefaults)
{
    getWith({{"CustomGroupOpen", "8"}});
    EXPECT_EQ(record->renameSequenceNumber, 1);
    EXPECT_EQ(record->keepDeviceName, 0);
    EXPECT_EQ(record->quickViewerMode, 8);
}

TEST_F(SinkPreferencesTest, ReadsTextThatIsNoNumberAsZero)
{
    getWith({{"CreateSubfoldersComboIndex", "abc"},
        {"RenameSequenceNumber", "x"},
        {"QuickViewerMode", "99999999999"}});
    EXPECT_EQ(record->createSubfoldersIndex, 0);
    EXPECT_EQ(record->renameSequenceNumber, 0);
    EXPECT_EQ(record->quickViewerMode, 0);
}

TEST_F(SinkPreferencesTest, SetsTheControlsFromTheStore)
{
    std::filesystem::create_directory(tree.path("copies"));
    getWith({{"OpenTevoro", "1"},
        {"DeleteOriginals", "1"},
        {"ConvertToDNG", "0"},
        {"SaveToSecondaryLocation", "2"},
        {"SecondaryLocation", tree.path("copies")}});
    EXPECT_TRUE(panel.control("launchtevoro_checkbox").checked);
    EXPECT_TRUE(panel.control("deletefiles_checkbox").checked);
    EXPECT_TRUE(panel.control("savecopies_checkbox").checked);
    EXPECT_TRUE(panel.control("secondary_backup_label").enabled);
    EXPECT_TRUE(panel.control("browse_button").enabled);
    EXPECT_EQ(panel.control("secondary_backup_label").toolTip, tree.path("copies"));
}

TEST_F(SinkPreferencesTest, DisablesTheBackupControlsWhenNoCopiesAreWanted)
{
    getWith({{"SaveToSecondaryLocation", "0"}});
    EXPECT_FALSE(panel.control("savecopies_checkbox").checked);
    EXPECT_FALSE(panel.control("secondary_backup_label").enabled);
    EXPECT_FALSE(panel.control("browse_button").enabled);
}

TEST_F(SinkPreferencesTest, PassesOverAStoredFolderThatHasGone)
{
    for (const std::string& folder : {tree.path("gone"), std::string()}) {
        getWith({{"SecondaryLocation", folder}});
        EXPECT_EQ(panel.control("secondary_backup_label").toolTip, tree.path("home/Pictures"));
    }
}

TEST_F(SinkPreferencesTest, SwitchesConversionOffWhereNoConverterIs)
{
    getWith({{"ConvertToDNG", "1"}});
    EXPECT_EQ(journal.about("dng_checkbox"),
        (Lines{"dng_checkbox.SetChecked 1",
            "dng_checkbox.SetChecked 0",
            "dng_checkbox.SetEnabled 0",
            "dng_checkbox.SetToolTip DNG Converter missing or corrupt"}));
    EXPECT_EQ(journal.about("settings_button"),
        (Lines{"settings_button.SetEnabled 1", "settings_button.SetEnabled 0"}));
}

TEST_F(SinkPreferencesTest, LeavesTheCallersFieldsThatItDoesNotAssign)
{
    script();
    store->loads = false;
    openWithPanel();
    record->gridFilter = 77;
    record->reservedText[0] = 78;
    record->reservedBlock[0] = 79;
    record->reservedTail[0] = 80;
    record->firstFlag = true;
    record->hostWords[2] = 5;
    get();
    EXPECT_EQ(record->tag, 5U);
    EXPECT_EQ(record->size, 5808U);
    EXPECT_EQ(record->gridFilter, 77);
    EXPECT_EQ(record->reservedText[0], 78);
    EXPECT_EQ(record->reservedBlock[0], 79);
    EXPECT_EQ(record->reservedTail[0], 80);
    EXPECT_FALSE(record->firstFlag);
    EXPECT_EQ(record->hostWords[2], 0);
}

TEST_F(SinkPreferencesTest, GivesFixedDefaultsWhenTheStoreDoesNotLoad)
{
    script();
    store->loads = false;
    openWithPanel();
    panel.check("dng_checkbox");
    panel.check("deletefiles_checkbox");
    panel.check("savecopies_checkbox");
    test::put(record->location, "/old");
    record->createSubfoldersIndex = 9;
    store->calls.clear();
    get();
    EXPECT_THAT(store->calls, ElementsAre("load 3"));
    EXPECT_EQ(location(), "");
    EXPECT_EQ(record->createSubfoldersIndex, 3);
    EXPECT_EQ(record->renameIndex, 0);
    EXPECT_TRUE(record->applyMetadataGroupOpen);
    EXPECT_TRUE(record->customGroupOpen);
    EXPECT_EQ(record->renameSequenceNumber, 1);
    EXPECT_EQ(record->keepDeviceName, 0);
    EXPECT_EQ(record->quickViewerMode, 1);
    EXPECT_EQ(record->secondInteger, 2);
    EXPECT_TRUE(record->option1);
    EXPECT_EQ(record->dontShowAgainFlags, 0U);
    EXPECT_EQ(record->backdropColour, 0xffd2d2d2U);
    EXPECT_EQ(record->textColour, 0xff646464U);
    ASSERT_NE(record->authorName, nullptr);
    EXPECT_EQ(record->authorNameLength, 1U);
    ASSERT_NE(record->copyright, nullptr);
    EXPECT_EQ(record->templateName, nullptr);
    EXPECT_EQ(record->mobileFolder, nullptr);
    EXPECT_EQ(record->batchRename, nullptr);
    EXPECT_TRUE(panel.control("launchtevoro_checkbox").checked);
    EXPECT_FALSE(panel.control("dng_checkbox").checked);
    EXPECT_FALSE(panel.control("savecopies_checkbox").checked);
    EXPECT_FALSE(panel.control("deletefiles_checkbox").checked);
    EXPECT_EQ(panel.control("secondary_backup_label").text, "");
}

TEST_F(SinkPreferencesTest, RefusesARecordOfAnotherTagOrSizeBeforeItTouchesAnything)
{
    script();
    openWithPanel();
    store->calls.clear();
    for (const auto& [tag, size] : {std::pair{5U, 5800U}, {5U, 5807U}, {4U, 5808U}, {0U, 0U}}) {
        record->tag = tag;
        record->size = size;
        EXPECT_EQ(util().GetPreferences(record.record), kFxErrBadRecord);
        EXPECT_EQ(util().SetPreferences(record.record), kFxErrBadRecord);
    }
    EXPECT_THAT(journal.lines(), testing::IsEmpty());
    EXPECT_THAT(store->calls, testing::IsEmpty());
}

TEST_F(SinkPreferencesTest, WritesTheKeysInTheirOrder)
{
    std::filesystem::create_directory(tree.path("copies"));
    getWith({{"DNGOutputUncompressed", "1"},
        {"DNGOutputLinear", "0"},
        {"DNGEmbeddRAW", "1"},
        {"DNGJpegPreviewSize", "2"},
        {"SaveToSecondaryLocation", "1"},
        {"SecondaryLocation", tree.path("copies")},
        {"RenameSequenceNumber", "7"},
        {"Location", "/photos"},
        {"DontShowAgainFlags", "4"},
        {"Option1Pref", "1"},
        {"Option2Pref", "0"},
        {"GridFilterPref", "-3"}});
    record.dropStrings();
    record->setBatchRenamePreference("rule", 0);
    record->setApplyMetadataTemplateName("plain", 0);
    record->setApplyMetadataAuthorName("Ann", 0);
    record->setApplyMetadataCopyright("", 0);
    record->SetMobileFolderSetting("/m", 0);
    panel.check("dng_checkbox");
    panel.check("launchtevoro_checkbox", false);
    store->calls.clear();
    set();
    EXPECT_THAT(store->calls, ElementsAreArray(writesWith(tree.path("copies"))));
}

TEST_F(SinkPreferencesTest, WritesNoOptionsOfAConversionThatIsOff)
{
    getWith({});
    panel.check("dng_checkbox", false);
    store->calls.clear();
    set();
    EXPECT_THAT(store->calls, Contains("set 3 ConvertToDNG=0"));
    for (const std::string& call : store->calls)
        EXPECT_THAT(call, Not(testing::StartsWith("set 3 DNG")));
}

TEST_F(SinkPreferencesTest, WritesNoKeysOfControlsThatAreMissing)
{
    panel.removeAll();
    getWith({});
    store->calls.clear();
    set();
    for (const std::string& key : kReadOfPanel)
        EXPECT_THAT(store->calls, Not(Contains(testing::StartsWith("set 3 " + key + "=")))) << key;
    EXPECT_EQ(store->calls.size(), 17U + 6 + 1);
}

TEST_F(SinkPreferencesTest, WritesAMissingStringAsAnEmptyOne)
{
    script();
    open();
    store->calls.clear();
    set();
    EXPECT_THAT(store->calls,
        testing::IsSupersetOf(
            {"set 3 BatchRenamePreferenceSize=0", "setbytes 3 BatchRenamePreference="}));
}

TEST_F(SinkPreferencesTest, PaintsLikeTheBrowser)
{
    struct Row {
        const char* level;
        std::uint32_t backdrop;
        std::uint32_t text;
    };
    for (const Row& row : {Row{"0", 0xff000000, 0xffffffff},
             {"119", 0xff777777, 0xffffffff},
             {"120", 0xff787878, 0xff000000},
             {"130", 0xff828282, 0xff000000},
             {"255", 0xffffffff, 0xff000000},
             {"256", 0xff000000, 0xff000000},
             {"-1", 0xffffffff, 0xffffffff},
             {"abc", 0xff000000, 0xffffffff}}) {
        tree.setAppPreference("com.velmo.tevoro4", "ImageBackdrop", row.level);
        getWith({});
        EXPECT_EQ(record->backdropColour, row.backdrop) << row.level;
        EXPECT_EQ(record->textColour, row.text) << row.level;
    }
}

TEST_F(SinkPreferencesTest, PaintsGreyWithoutTheBrowsersSetting)
{
    getWith({});
    EXPECT_EQ(record->backdropColour, 0xff828282U);
    EXPECT_EQ(record->textColour, 0xff000000U);
}
