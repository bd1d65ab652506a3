#include "TevoroAppManager/panel/SinkPanel.h"

#include "TevoroAppManager/ApplicationFolders.h"
#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/TargetFolder.h"
#include "TevoroAppManager/panel/BackupLabel.h"
#include "strings/ApplicationLocale.h"
#include "strings/PtZString.h"

#include <QDir>
#include <QFile>

#include <array>

using namespace Qt::StringLiterals;

namespace {

QString descriptionFor(const QString& locale)
{
    return u"../shared_assets/locales/"_s + locale + u"/Tevoro_custom_options.ui"_s;
}

void setText(IClientUIControl* control, const QString& text)
{
    if (control)
        control->SetText(text.toUtf8().constData());
}

void release(IClientUIControl* control)
{
    if (control)
        control->Release();
}

} // namespace

QString SinkPanel::descriptionPath()
{
    std::array<unsigned short, kApplicationLocaleCapacity> locale{};
    getApplicationLocale(locale.data());
    const QString path = descriptionFor(toQString(locale.data()));
    return QFile::exists(path) ? path : descriptionFor(u"en_us"_s);
}

void SinkPanel::orderHostControls(IUIOrderingOptionsEnum& order)
{
    // By control id, -1 for not shown. Ids beyond are of a host that knows more controls than we
    // do: they stay where they are, and are given back all the same.
    constexpr std::array kPositions{0, 2, 1, -1};
    CPropUIControlOrder record;
    record.tag = kFxTagUIControlOrder;
    record.size = kFxSizeUIControlOrder;
    order.Reset();
    while (order.Next(record) == 0) {
        if (record.controlId < kPositions.size())
            record.position = kPositions[record.controlId];
        order.Update(record);
    }
}

void SinkPanel::bind(IClientUIHandler* handler)
{
    m_handler = handler;
    if (!handler)
        return;
    m_controls.settingsButton = bindControl("settings_button");
    m_controls.deleteFilesCheckbox = bindControl("deletefiles_checkbox");
    m_controls.dngCheckbox = bindControl("dng_checkbox");
    m_controls.launchTevoroCheckbox = bindControl("launchtevoro_checkbox");
    bindBackupControls();
}

// A host can follow each of these calls, and their order is fixed. The folder is set before the
// label is looked up: on a second binding the old label must not be told of it.
void SinkPanel::bindBackupControls()
{
    m_controls.saveCopiesCheckbox = bindControl("savecopies_checkbox");
    setChecked(m_controls.saveCopiesCheckbox, false);
    m_backupFolder = QDir::toNativeSeparators(getMyPicturesPath());
    m_controls.secondaryBackupLabel = bindControl("secondary_backup_label");
    showBackupFolder();
    m_controls.browseButton = bindControl("browse_button");
    setText(m_controls.browseButton, PtZString::getZString(u"$$$/AppSource/Choose=Choose..."_s));
    // Asked, not remembered: a host may keep a check box on, whatever it was told.
    if (m_controls.saveCopiesCheckbox && !m_controls.saveCopiesCheckbox->IsChecked())
        enableBackupControls(false);
}

IClientUIControl* SinkPanel::bindControl(const char* name)
{
    IClientUIControl* control = nullptr;
    m_handler->FindControl(name, &control);
    if (control)
        control->SetCallback(&m_callback);
    return control;
}

// The reference on deletefiles_checkbox is left alone: hosts count on that.
void SinkPanel::releaseControls()
{
    release(m_controls.secondaryBackupLabel);
    release(m_controls.browseButton);
    release(m_controls.settingsButton);
    release(m_controls.dngCheckbox);
    release(m_controls.launchTevoroCheckbox);
    release(m_controls.saveCopiesCheckbox);
}

void SinkPanel::setBackupFolder(const QString& folder)
{
    m_backupFolder = QDir::toNativeSeparators(folder);
    showBackupFolder();
}

void SinkPanel::showBackupFolder()
{
    IClientUIControl* label = m_controls.secondaryBackupLabel;
    if (!label)
        return;
    setText(label, fittedTo(*label, m_backupFolder));
    label->SetToolTip(m_backupFolder.toUtf8().constData());
}

void SinkPanel::enableBackupControls(bool enabled)
{
    setEnabled(m_controls.secondaryBackupLabel, enabled);
    setEnabled(m_controls.browseButton, enabled);
}

// The label is looked up each time and never released: hosts count on that too.
void SinkPanel::changeMode(ISinkUICapabilities::eMFXUIMode mode, int value)
{
    if (!m_handler)
        return;
    IClientUIControl* label = nullptr;
    m_handler->FindControl("delete_options_label_minimum_ui", &label);
    const bool isFirst = mode == ISinkUICapabilities::kFxUIMode1;
    if (!label || (!isFirst && mode != ISinkUICapabilities::kFxUIMode2))
        return;
    label->SetModeValue(value);
    isFirst ? label->ApplyMode1() : label->ApplyMode2();
}

// Using the settings button while the conversion is off disables it first, and still opens the
// dialog.
void SinkPanel::handleEvent(std::string_view widget)
{
    if (widget == "savecopies_checkbox")
        enableBackupControls(isChecked(m_controls.saveCopiesCheckbox));
    if (widget == "settings_button" || widget == "dng_checkbox")
        setEnabled(m_controls.settingsButton, isChecked(m_controls.dngCheckbox));
    if (widget == "browse_button")
        chooseBackupFolder();
    else if (widget == "settings_button")
        m_dialogs.editDNGSettings(m_settings);
}

// Asks until the folder can be written or the user gives up. Each time it starts from the folder
// that still holds, not from the one just refused.
void SinkPanel::chooseBackupFolder()
{
    QString folder = m_dialogs.askFolder(m_backupFolder, true);
    while (!folder.isEmpty() && !isFolderWritable(folder)) {
        m_dialogs.warnUnwritable();
        folder = m_dialogs.askFolder(m_backupFolder, false);
    }
    if (!folder.isEmpty())
        setBackupFolder(folder);
}
