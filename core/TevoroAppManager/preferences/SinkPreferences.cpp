#include "TevoroAppManager/preferences/SinkPreferences.h"

#include "TevoroAppManager/ApplicationFolders.h"
#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/panel/BackdropColour.h"
#include "TevoroAppManager/preferences/PreferenceReader.h"
#include "TevoroAppManager/preferences/PreferenceWriter.h"
#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtConstString.h"
#include "strings/PtZString.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The host's own rename rule, when none is stored.
constexpr char kDefaultBatchRename[] = "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6";

constexpr int kDefaultStringSize = 260; // bytes asked for when the store names no size

// The record has grown twice: to fill an earlier form of it would be to write behind its end. The
// size tells them apart, not the tag alone.
bool isPreferencesRecord(const CProp& record)
{
    return record.tag == kFxTagAppPreferences && record.size == kFxSizeAppPreferences;
}

// The library's module object; null when there is no library or it lacks its entry. The object has
// no further use once it has given the store, and lives with the process: nobody ends it.
IPtPreferencesModule* preferenceModule()
{
    static const Pt::ConstString kLibrary("../Frameworks/preference_xml_parser.framework");
    const PtModuleRef library = PtLoadLibrary(kLibrary);
    if (!library)
        return nullptr;
    const auto moduleMain =
        reinterpret_cast<PtModuleMainFunction>(PtGetProcAddress(library, kPtModuleMainName));
    if (!moduleMain)
        return nullptr;
    void* module = nullptr; // what tells of success: the entry's own answer is not looked at
    moduleMain(&module);
    return static_cast<IPtPreferencesModule*>(module);
}

IPtPreferences* newStore()
{
    IPtPreferencesModule* module = preferenceModule();
    if (!module)
        return nullptr;
    void* store = nullptr;
    module->GetInterface(kIPtPreferencesID, &store);
    return static_cast<IPtPreferences*>(store);
}

// Tidied where the folder stands; one that is yet to be made goes as it is, and the store makes it.
QString storeFolder()
{
    const QString folder = getApplicationDataFolderPath() + u"/Velmo"_s + u"/Tevoro NX"_s;
    return QDir(folder).exists() ? QDir(folder).absolutePath() : folder;
}

QByteArray sizedBytes(PreferenceReader& reader, const char* sizeKey, const char* key)
{
    const int size = reader.integer(sizeKey);
    return reader.bytes(key, size < 1 ? kDefaultStringSize : size);
}

// Without a size there is no stored rule: the store is not asked for the bytes at all.
QByteArray batchRename(PreferenceReader& reader)
{
    const int size = reader.integer("BatchRenamePreferenceSize");
    return size < 1 ? QByteArray(kDefaultBatchRename) : reader.bytes("BatchRenamePreference", size);
}

// Cleared first: the copy writes a terminator only where it still has room for one.
void setLocation(CPropAppPreferences3& record, const QString& text)
{
    std::fill(
        std::begin(record.location), std::end(record.location), static_cast<unsigned short>(0));
    copyBounded(text, record.location, std::ssize(record.location) - 1);
}

void readRules(PreferenceReader& reader, CPropAppPreferences3& record)
{
    record.setBatchRenamePreference(batchRename(reader).constData(), 0);
    record.createSubfoldersIndex = reader.integer("CreateSubfoldersComboIndex");
    record.renameIndex = reader.integer("RenameFilesComboIndex");
}

// Each setter makes a new string object, which belongs to whoever keeps the record in the end:
// nothing here releases one. They count the text themselves, whatever length they are given.
void readMetadata(PreferenceReader& reader, CPropAppPreferences3& record)
{
    record.applyMetadataGroupOpen = reader.boolean("ApplyMetadataGroupOpen");
    const auto text = [&reader](const char* sizeKey, const char* key) {
        return sizedBytes(reader, sizeKey, key);
    };
    record.setApplyMetadataAuthorName(
        text("ApplyMetadataAuthorNameSize", "ApplyMetadataAuthorName").constData(), 0);
    record.setApplyMetadataCopyright(
        text("ApplyMetadataCopyrightSize", "ApplyMetadataCopyright").constData(), 0);
    record.setApplyMetadataTemplateName(
        text("ApplyMetadataTemplateNameSize", "ApplyMetadataTemplateName").constData(), 0);
    record.SetMobileFolderSetting(
        text("MobileFolderSettingSize", "MobileFolderSetting").constData(), 0);
}

// Two keys with defaults of their own: here a key that is left out takes nothing over from the one
// before it.
void readNaming(PreferenceReader& reader, CPropAppPreferences3& record)
{
    const auto sequence = reader.textIfThere("RenameSequenceNumber");
    record.renameSequenceNumber = sequence ? sequence->toInt() : 1;
    const auto keepName = reader.textIfThere("PreserveOriginalFilename");
    record.keepDeviceName = keepName ? keepName->toInt() : 0;
}

void readOptions(PreferenceReader& reader, CPropAppPreferences3& record)
{
    record.dontShowAgainFlags = static_cast<std::uint32_t>(reader.integer("DontShowAgainFlags"));
    record.option1 = reader.boolean("Option1Pref");
    record.option2 = reader.boolean("Option2Pref");
    record.option3 = reader.boolean("Option3Pref");
    record.gridFilter = reader.integer("GridFilterPref");
}

// Not stored: the host's dialogue looks as the browser does at this moment. Only where no store
// loads are the colours fixed, whatever the browser has.
void takeBrowserColours(CPropAppPreferences3& record)
{
    const float level = getBackgroundColor();
    record.backdropColour = backdropColour(level);
    record.textColour = textColour(level);
}

void writeRules(PreferenceWriter& writer, const CPropAppPreferences3& record)
{
    writer.integer("BatchRenamePreferenceSize", static_cast<int>(record.batchRenameLength));
    writer.bytes("BatchRenamePreference", record.getBatchRenamePreference());
    writer.integer("CreateSubfoldersComboIndex", record.createSubfoldersIndex);
    writer.integer("RenameFilesComboIndex", record.renameIndex);
}

// The size that is stored is the record's length, which counts the terminator; the bytes go out
// without it. Reading then asks for one byte more than there is, and gets what there is. The
// template goes out before author and copyright, though it is read after them.
void writeMetadata(PreferenceWriter& writer, const CPropAppPreferences3& record)
{
    const auto size = [&writer](const char* key, std::uint32_t length) {
        writer.integer(key, static_cast<int>(length));
    };
    writer.boolean("ApplyMetadataGroupOpen", record.applyMetadataGroupOpen);
    size("ApplyMetadataTemplateNameSize", record.templateNameLength);
    writer.bytes("ApplyMetadataTemplateName", record.getApplyMetadataTemplateName());
    size("ApplyMetadataAuthorNameSize", record.authorNameLength);
    writer.bytes("ApplyMetadataAuthorName", record.getApplyMetadataAuthorName());
    size("ApplyMetadataCopyrightSize", record.copyrightLength);
    writer.bytes("ApplyMetadataCopyright", record.getApplyMetadataCopyright());
    size("MobileFolderSettingSize", record.mobileFolderLength);
    writer.bytes("MobileFolderSetting", record.GetMobileFolderSetting());
}

void writeNaming(PreferenceWriter& writer, const CPropAppPreferences3& record)
{
    writer.boolean("CustomGroupOpen", record.customGroupOpen);
    writer.integer("RenameSequenceNumber", record.renameSequenceNumber);
    writer.integer("PreserveOriginalFilename", record.keepDeviceName);
    writer.integer("QuickViewerMode", record.quickViewerMode);
}

void writeOptions(PreferenceWriter& writer, const CPropAppPreferences3& record)
{
    writer.text("Location", toQString(record.location));
    writer.integer("DontShowAgainFlags", static_cast<int>(record.dontShowAgainFlags));
    writer.boolean("Option1Pref", record.option1);
    writer.boolean("Option2Pref", record.option2);
    writer.boolean("Option3Pref", record.option3);
    writer.integer("GridFilterPref", record.gridFilter);
}

void applyFixedDefaultsToMetadata(CPropAppPreferences3& record)
{
    record.applyMetadataGroupOpen = true;
    record.setApplyMetadataAuthorName("", 0);
    record.setApplyMetadataCopyright("", 0);
}

} // namespace

// The store is told its folder once, when it is made; every fetch, the first one too, adds a
// reference for the caller.
IPtPreferences* SinkPreferences::getIPtPreferences()
{
    if (!m_store) {
        m_store = newStore();
        if (!m_store)
            return nullptr;
        const QString folder = storeFolder();
        m_store->InitStore(fxUnits(folder), static_cast<int>(folder.size()));
    }
    m_store->AddRef();
    return m_store;
}

void SinkPreferences::initilizePreferences()
{
    m_store = getIPtPreferences();
}

FxStatus SinkPreferences::read(CProp& record, bool canConvert)
{
    if (!isPreferencesRecord(record))
        return kFxErrBadRecord;
    auto& preferences = static_cast<CPropAppPreferences3&>(record);
    // Assigned, not built in place: the fields that an assignment passes over stay the host's.
    CPropAppPreferences3 defaults;
    defaults.firstFlag = false;
    preferences = defaults;
    if (m_store && m_store->LoadStore(kPreferenceDomain))
        readStore(preferences);
    else
        applyFixedDefaults(preferences);
    // Last, over what the store says: a conversion that cannot happen must not look chosen.
    if (!canConvert)
        disableDNGControls();
    return kFxOk;
}

void SinkPreferences::disableDNGControls()
{
    IClientUIControl* checkbox = m_panel.controls().dngCheckbox;
    if (!checkbox)
        return;
    const QString toolTip = PtZString::getZString(
        u"$$$/AppSource/DNGConverterNotFound=DNG Converter missing or corrupt"_s);
    checkbox->SetChecked(false);
    checkbox->SetEnabled(false);
    checkbox->SetToolTip(toolTip.toUtf8().constData());
    setEnabled(m_panel.controls().settingsButton, false);
}

// The order of the keys matters: one that the store leaves out takes the text of the key read
// before it (see PreferenceReader). The version is of no use but that; it goes first.
void SinkPreferences::readStore(CPropAppPreferences3& record)
{
    PreferenceReader reader(*m_store);
    reader.text("XMLFileVersion");
    readRules(reader, record);
    readMetadata(reader, record);
    record.customGroupOpen = reader.boolean("CustomGroupOpen");
    readNaming(reader, record);
    record.quickViewerMode = reader.integer("QuickViewerMode");
    readCheckboxes(reader);
    setLocation(record, reader.text("Location"));
    readOptions(reader, record);
    takeBrowserColours(record);
}

// Keys of a widget that the panel lacks are not even asked for: what carries over to a later key
// is then the text of an earlier one.
void SinkPreferences::readCheckboxes(PreferenceReader& reader)
{
    const PanelControls& controls = m_panel.controls();
    if (controls.launchTevoroCheckbox)
        controls.launchTevoroCheckbox->SetChecked(reader.boolean("OpenTevoro"));
    if (controls.deleteFilesCheckbox)
        controls.deleteFilesCheckbox->SetChecked(reader.boolean("DeleteOriginals"));
    if (controls.dngCheckbox)
        readDNGOptions(reader);
    readBackupControls(reader);
}

// Read even when the conversion is off: the dialog shows them once it is switched on.
void SinkPreferences::readDNGOptions(PreferenceReader& reader)
{
    const bool converts = reader.boolean("ConvertToDNG");
    m_panel.controls().dngCheckbox->SetChecked(converts);
    setEnabled(m_panel.controls().settingsButton, converts);
    DNGSettings& settings = m_panel.settings();
    settings.uncompressed = reader.boolean("DNGOutputUncompressed");
    settings.linear = reader.boolean("DNGOutputLinear");
    settings.embedRaw = reader.boolean("DNGEmbeddRAW");
    settings.jpegPreviewSize = reader.integer("DNGJpegPreviewSize");
}

void SinkPreferences::readBackupControls(PreferenceReader& reader)
{
    const PanelControls& controls = m_panel.controls();
    if (controls.saveCopiesCheckbox) {
        const bool savesCopies = reader.boolean("SaveToSecondaryLocation");
        controls.saveCopiesCheckbox->SetChecked(savesCopies);
        m_panel.enableBackupControls(savesCopies);
    }
    if (controls.secondaryBackupLabel)
        readSecondaryLocation(reader);
}

// A stored folder that has gone is passed over: the folder chosen at binding stays.
void SinkPreferences::readSecondaryLocation(PreferenceReader& reader)
{
    const QString folder = reader.text("SecondaryLocation");
    if (!folder.isEmpty() && QDir(folder).exists())
        m_panel.setBackupFolder(folder);
}

// Empty texts for author and copyright alone: template and mobile folder stay null.
void SinkPreferences::applyFixedDefaults(CPropAppPreferences3& record)
{
    setLocation(record, QString());
    record.createSubfoldersIndex = 3;
    record.renameIndex = 0;
    applyFixedDefaultsToMetadata(record);
    record.customGroupOpen = true;
    record.renameSequenceNumber = 1;
    record.keepDeviceName = 0;
    applyFixedDefaultsToPanel();
    record.quickViewerMode = 1;
    record.backdropColour = 0xffd2d2d2;
    record.textColour = 0xff646464;
}

// The label is emptied while the folder itself stays: copies, once switched on, go to the folder
// chosen at binding.
void SinkPreferences::applyFixedDefaultsToPanel()
{
    const PanelControls& controls = m_panel.controls();
    setChecked(controls.launchTevoroCheckbox, true);
    setChecked(controls.dngCheckbox, false);
    setChecked(controls.saveCopiesCheckbox, false);
    setChecked(controls.deleteFilesCheckbox, false);
    if (controls.secondaryBackupLabel)
        controls.secondaryBackupLabel->SetText("");
}

FxStatus SinkPreferences::write(const CProp& record)
{
    if (!isPreferencesRecord(record))
        return kFxErrBadRecord;
    if (!m_store)
        return kFxErrNotInitialised;
    const auto& preferences = static_cast<const CPropAppPreferences3&>(record);
    PreferenceWriter writer(*m_store);
    writeRules(writer, preferences);
    writeMetadata(writer, preferences);
    writeNaming(writer, preferences);
    writeControls(writer);
    writeOptions(writer, preferences);
    m_store->SaveStore(kPreferenceDomain);
    return kFxOk;
}

void SinkPreferences::writeControls(PreferenceWriter& writer)
{
    const PanelControls& controls = m_panel.controls();
    if (controls.launchTevoroCheckbox)
        writer.boolean("OpenTevoro", controls.launchTevoroCheckbox->IsChecked());
    if (controls.deleteFilesCheckbox)
        writer.boolean("DeleteOriginals", controls.deleteFilesCheckbox->IsChecked());
    if (controls.dngCheckbox)
        writeDNGOptions(writer);
    if (controls.saveCopiesCheckbox)
        writer.boolean("SaveToSecondaryLocation", controls.saveCopiesCheckbox->IsChecked());
    if (controls.secondaryBackupLabel)
        writer.text("SecondaryLocation", m_panel.backupFolder());
}

// What is stored of a conversion that is off stays: a session without a converter, where it is
// always off, must not lose the user's options.
void SinkPreferences::writeDNGOptions(PreferenceWriter& writer)
{
    const bool converts = m_panel.controls().dngCheckbox->IsChecked();
    writer.boolean("ConvertToDNG", converts);
    if (!converts)
        return;
    const DNGSettings& settings = m_panel.settings();
    writer.boolean("DNGOutputUncompressed", settings.uncompressed);
    writer.boolean("DNGOutputLinear", settings.linear);
    writer.boolean("DNGEmbeddRAW", settings.embedRaw);
    writer.integer("DNGJpegPreviewSize", settings.jpegPreviewSize);
}
