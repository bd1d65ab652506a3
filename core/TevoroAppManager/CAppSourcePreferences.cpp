// The sink's preferences: the store behind them, reading and writing.

#include "TevoroAppManager/ApplicationFolders.h"
#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/FxGuard.h"
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

bool isPreferencesRecord(const CProp& record)
{
    return record.tag == kFxTagAppPreferences && record.size == kFxSizeAppPreferences;
}

QByteArray sizedBytes(PreferenceReader& reader, const char* sizeKey, const char* key)
{
    const int size = reader.integer(sizeKey);
    return reader.bytes(key, size < 1 ? kDefaultStringSize : size);
}

void setLocation(CPropAppPreferences3& record, const QString& text)
{
    std::fill(
        std::begin(record.location), std::end(record.location), static_cast<unsigned short>(0));
    copyBounded(text, record.location, std::ssize(record.location) - 1);
}

} // namespace

// The module's object has no further use once it has given the store, and lives with the process.
bool CAppSource::loadPreferenceModule()
{
    static const Pt::ConstString kLibrary("../Frameworks/preference_xml_parser.framework");
    const PtModuleRef library = PtLoadLibrary(kLibrary);
    if (!library)
        return false;
    const auto moduleMain =
        reinterpret_cast<bool (*)(void**)>(PtGetProcAddress(library, "PtModuleMain"));
    if (!moduleMain)
        return false;
    void* module = nullptr;
    moduleMain(&module);
    if (!module)
        return false;
    void* store = nullptr;
    static_cast<IPtPreferencesModule*>(module)->GetInterface(kIPtPreferencesID, &store);
    m_preferences = static_cast<IPtPreferences*>(store);
    return m_preferences != nullptr;
}

IPtPreferences* CAppSource::getIPtPreferences()
{
    if (!m_preferences) {
        if (!loadPreferenceModule())
            return nullptr;
        QString folder = getApplicationDataFolderPath() + u"/Velmo"_s + u"/Tevoro NX"_s;
        if (QDir(folder).exists())
            folder = QDir(folder).absolutePath();
        m_preferences->InitStore(fxUnits(folder), static_cast<int>(folder.size()));
    }
    m_preferences->AddRef();
    return m_preferences;
}

void CAppSource::initilizePreferences()
{
    m_preferences = getIPtPreferences();
}

FxStatus CAppSource::GetPreferences(CProp& record)
{
    if (!isPreferencesRecord(record))
        return kFxErrBadRecord;
    return fxGuard([this, &record] {
        auto& preferences = static_cast<CPropAppPreferences3&>(record);
        CPropAppPreferences3 defaults;
        defaults.firstFlag = false;
        preferences = defaults;
        if (m_preferences && m_preferences->LoadStore(kPreferenceDomain))
            readStore(preferences);
        else
            applyFixedDefaults(preferences);
        if (!m_convertToDNG)
            disableDNGControls();
        return kFxOk;
    });
}

void CAppSource::disableDNGControls()
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

// The order of the keys matters: see PreferenceReader.
void CAppSource::readStore(CPropAppPreferences3& record)
{
    PreferenceReader reader(*m_preferences);
    reader.text("XMLFileVersion");
    readRecordStrings(reader, record);
    record.customGroupOpen = reader.boolean("CustomGroupOpen");
    const auto sequence = reader.textIfThere("RenameSequenceNumber");
    record.renameSequenceNumber = sequence ? sequence->toInt() : 1;
    const auto keepName = reader.textIfThere("PreserveOriginalFilename");
    record.keepDeviceName = keepName ? keepName->toInt() : 0;
    record.quickViewerMode = reader.integer("QuickViewerMode");
    readCheckboxes(reader);
    setLocation(record, reader.text("Location"));
    record.dontShowAgainFlags = static_cast<std::uint32_t>(reader.integer("DontShowAgainFlags"));
    record.option1 = reader.boolean("Option1Pref");
    record.option2 = reader.boolean("Option2Pref");
    record.option3 = reader.boolean("Option3Pref");
    record.gridFilter = reader.integer("GridFilterPref");
    const float level = getBackgroundColor();
    record.backdropColour = ::backdropColour(level);
    record.textColour = ::textColour(level);
}

void CAppSource::readRecordStrings(PreferenceReader& reader, CPropAppPreferences3& record)
{
    const int batchRenameSize = reader.integer("BatchRenamePreferenceSize");
    const QByteArray batchRename = batchRenameSize < 1
        ? QByteArray(kDefaultBatchRename)
        : reader.bytes("BatchRenamePreference", batchRenameSize);
    record.setBatchRenamePreference(batchRename.constData(), 0);
    record.createSubfoldersIndex = reader.integer("CreateSubfoldersComboIndex");
    record.renameIndex = reader.integer("RenameFilesComboIndex");
    record.applyMetadataGroupOpen = reader.boolean("ApplyMetadataGroupOpen");
    record.setApplyMetadataAuthorName(
        sizedBytes(reader, "ApplyMetadataAuthorNameSize", "ApplyMetadataAuthorName").constData(),
        0);
    record.setApplyMetadataCopyright(
        sizedBytes(reader, "ApplyMetadataCopyrightSize", "ApplyMetadataCopyright").constData(), 0);
    record.setApplyMetadataTemplateName(
        sizedBytes(reader, "ApplyMetadataTemplateNameSize", "ApplyMetadataTemplateName")
            .constData(),
        0);
    record.SetMobileFolderSetting(
        sizedBytes(reader, "MobileFolderSettingSize", "MobileFolderSetting").constData(), 0);
}

void CAppSource::readCheckboxes(PreferenceReader& reader)
{
    if (m_panel.controls().launchTevoroCheckbox)
        m_panel.controls().launchTevoroCheckbox->SetChecked(reader.boolean("OpenTevoro"));
    if (m_panel.controls().deleteFilesCheckbox)
        m_panel.controls().deleteFilesCheckbox->SetChecked(reader.boolean("DeleteOriginals"));
    if (m_panel.controls().dngCheckbox)
        readDNGOptions(reader);
    if (m_panel.controls().saveCopiesCheckbox) {
        const bool savesCopies = reader.boolean("SaveToSecondaryLocation");
        m_panel.controls().saveCopiesCheckbox->SetChecked(savesCopies);
        m_panel.enableBackupControls(savesCopies);
    }
    if (m_panel.controls().secondaryBackupLabel)
        readSecondaryLocation(reader);
}

void CAppSource::readDNGOptions(PreferenceReader& reader)
{
    const bool converts = reader.boolean("ConvertToDNG");
    m_panel.controls().dngCheckbox->SetChecked(converts);
    setEnabled(m_panel.controls().settingsButton, converts);
    m_panel.settings().uncompressed = reader.boolean("DNGOutputUncompressed");
    m_panel.settings().linear = reader.boolean("DNGOutputLinear");
    m_panel.settings().embedRaw = reader.boolean("DNGEmbeddRAW");
    m_panel.settings().jpegPreviewSize = reader.integer("DNGJpegPreviewSize");
}

// A stored folder that has gone is passed over: the folder chosen at binding stays.
void CAppSource::readSecondaryLocation(PreferenceReader& reader)
{
    const QString folder = reader.text("SecondaryLocation");
    if (folder.isEmpty() || !QDir(folder).exists())
        return;
    m_panel.setBackupFolder(folder);
}

void CAppSource::applyFixedDefaults(CPropAppPreferences3& record)
{
    setLocation(record, QString());
    record.createSubfoldersIndex = 3;
    record.renameIndex = 0;
    record.applyMetadataGroupOpen = true;
    record.setApplyMetadataAuthorName("", 0);
    record.setApplyMetadataCopyright("", 0);
    record.customGroupOpen = true;
    record.renameSequenceNumber = 1;
    record.keepDeviceName = 0;
    setChecked(m_panel.controls().launchTevoroCheckbox, true);
    setChecked(m_panel.controls().dngCheckbox, false);
    setChecked(m_panel.controls().saveCopiesCheckbox, false);
    setChecked(m_panel.controls().deleteFilesCheckbox, false);
    if (m_panel.controls().secondaryBackupLabel)
        m_panel.controls().secondaryBackupLabel->SetText("");
    record.quickViewerMode = 1;
    record.backdropColour = 0xffd2d2d2;
    record.textColour = 0xff646464;
}

FxStatus CAppSource::SetPreferences(CProp& record)
{
    if (!isPreferencesRecord(record))
        return kFxErrBadRecord;
    if (!m_preferences)
        return kFxErrNotInitialised;
    return fxGuard([this, &record] {
        PreferenceWriter writer(*m_preferences);
        writeRecord(writer, static_cast<const CPropAppPreferences3&>(record));
        m_preferences->SaveStore(kPreferenceDomain);
        return kFxOk;
    });
}

void CAppSource::writeRecord(PreferenceWriter& writer, const CPropAppPreferences3& record)
{
    const auto length = [](std::uint32_t value) { return static_cast<int>(value); };
    writer.integer("BatchRenamePreferenceSize", length(record.batchRenameLength));
    writer.bytes("BatchRenamePreference", record.getBatchRenamePreference());
    writer.integer("CreateSubfoldersComboIndex", record.createSubfoldersIndex);
    writer.integer("RenameFilesComboIndex", record.renameIndex);
    writer.boolean("ApplyMetadataGroupOpen", record.applyMetadataGroupOpen);
    writer.integer("ApplyMetadataTemplateNameSize", length(record.templateNameLength));
    writer.bytes("ApplyMetadataTemplateName", record.getApplyMetadataTemplateName());
    writer.integer("ApplyMetadataAuthorNameSize", length(record.authorNameLength));
    writer.bytes("ApplyMetadataAuthorName", record.getApplyMetadataAuthorName());
    writer.integer("ApplyMetadataCopyrightSize", length(record.copyrightLength));
    writer.bytes("ApplyMetadataCopyright", record.getApplyMetadataCopyright());
    writer.integer("MobileFolderSettingSize", length(record.mobileFolderLength));
    writer.bytes("MobileFolderSetting", record.GetMobileFolderSetting());
    writer.boolean("CustomGroupOpen", record.customGroupOpen);
    writer.integer("RenameSequenceNumber", record.renameSequenceNumber);
    writer.integer("PreserveOriginalFilename", record.keepDeviceName);
    writer.integer("QuickViewerMode", record.quickViewerMode);
    writeControls(writer);
    writer.text("Location", toQString(record.location));
    writer.integer("DontShowAgainFlags", static_cast<int>(record.dontShowAgainFlags));
    writer.boolean("Option1Pref", record.option1);
    writer.boolean("Option2Pref", record.option2);
    writer.boolean("Option3Pref", record.option3);
    writer.integer("GridFilterPref", record.gridFilter);
}

void CAppSource::writeControls(PreferenceWriter& writer)
{
    if (m_panel.controls().launchTevoroCheckbox)
        writer.boolean("OpenTevoro", m_panel.controls().launchTevoroCheckbox->IsChecked());
    if (m_panel.controls().deleteFilesCheckbox)
        writer.boolean("DeleteOriginals", m_panel.controls().deleteFilesCheckbox->IsChecked());
    if (m_panel.controls().dngCheckbox) {
        const bool converts = m_panel.controls().dngCheckbox->IsChecked();
        writer.boolean("ConvertToDNG", converts);
        if (converts) {
            writer.boolean("DNGOutputUncompressed", m_panel.settings().uncompressed);
            writer.boolean("DNGOutputLinear", m_panel.settings().linear);
            writer.boolean("DNGEmbeddRAW", m_panel.settings().embedRaw);
            writer.integer("DNGJpegPreviewSize", m_panel.settings().jpegPreviewSize);
        }
    }
    if (m_panel.controls().saveCopiesCheckbox)
        writer.boolean(
            "SaveToSecondaryLocation", m_panel.controls().saveCopiesCheckbox->IsChecked());
    if (m_panel.controls().secondaryBackupLabel)
        writer.text("SecondaryLocation", m_panel.backupFolder());
}
