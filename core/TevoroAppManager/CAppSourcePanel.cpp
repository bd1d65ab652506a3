// The sink and its options panel: which description, which widgets, what they do.

#include "TevoroAppManager/ApplicationFolders.h"
#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/TargetFolder.h"
#include "TevoroAppManager/panel/FitPath.h"
#include "strings/ApplicationLocale.h"
#include "strings/PtZString.h"

#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QRect>

#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace {

QString panelPath(const QString& locale)
{
    return u"../shared_assets/locales/"_s + locale + u"/Tevoro_custom_options.ui"_s;
}

QString existingPanelPath()
{
    std::array<unsigned short, kApplicationLocaleCapacity> locale{};
    getApplicationLocale(locale.data());
    const QString path = panelPath(toQString(locale.data()));
    return QFile::exists(path) ? path : panelPath(u"en_us"_s);
}

QFont fontOf(IClientUIControl& control)
{
    QFont font(QString::fromUtf8(control.GetFontFamily()),
        control.GetFontSize(),
        control.IsFontBold() ? QFont::Bold : QFont::Normal);
    font.setItalic(control.IsFontItalic());
    return font;
}

} // namespace

FxStatus CAppSource::GetUIFilename(unsigned short* buffer, int capacity)
{
    return fxGuard([buffer, capacity] {
        copyBounded(existingPanelPath(), buffer, capacity);
        return kFxOk;
    });
}

FxStatus CAppSource::GetCustomUICaption(unsigned short* buffer, int capacity)
{
    return fxGuard([buffer, capacity] {
        copyBounded(PtZString::getZString(u"$$$/AppSource/AdvancedOptionsOpen=Advanced Options"_s),
            buffer,
            capacity);
        return kFxOk;
    });
}

FxStatus CAppSource::GetCustomUISummary(unsigned short* buffer, int capacity)
{
    return fxGuard([buffer, capacity] {
        copyBounded(PtZString::getZString(
                        u"$$$/AppSource/AdvancedOptionsSummary=Open to view advanced options"_s),
            buffer,
            capacity);
        return kFxOk;
    });
}

FxStatus CAppSource::GetUIControlOrder(IUIOrderingOptionsEnum& order)
{
    return fxGuard([&order] {
        constexpr std::array kPositions{0, 2, 1, -1}; // by control id; others stay
        CPropUIControlOrder record;
        record.tag = kFxTagUIControlOrder;
        record.size = kFxSizeUIControlOrder;
        order.Reset();
        while (order.Next(record) == 0) {
            if (record.controlId < kPositions.size())
                record.position = kPositions[record.controlId];
            order.Update(record);
        }
        return kFxOk;
    });
}

// Binds again at each call; the references of an earlier panel are the host's to know of.
FxStatus CAppSource::SetClientUIHandler(IClientUIHandler* handler)
{
    return fxGuard([this, handler] {
        m_uiHandler = handler;
        if (!handler)
            return kFxOk;
        m_controls.settingsButton = bindControl("settings_button");
        m_controls.deleteFilesCheckbox = bindControl("deletefiles_checkbox");
        m_controls.dngCheckbox = bindControl("dng_checkbox");
        m_controls.launchTevoroCheckbox = bindControl("launchtevoro_checkbox");
        m_controls.saveCopiesCheckbox = bindControl("savecopies_checkbox");
        setChecked(m_controls.saveCopiesCheckbox, false);
        m_secondaryLocation = QDir::toNativeSeparators(getMyPicturesPath());
        m_controls.secondaryBackupLabel = bindControl("secondary_backup_label");
        refreshBackupLabel();
        m_controls.browseButton = bindControl("browse_button");
        if (m_controls.browseButton) {
            const QString text = PtZString::getZString(u"$$$/AppSource/Choose=Choose..."_s);
            m_controls.browseButton->SetText(text.toUtf8().constData());
        }
        if (m_controls.saveCopiesCheckbox && !m_controls.saveCopiesCheckbox->IsChecked())
            enableBackupControls(false);
        return kFxOk;
    });
}

IClientUIControl* CAppSource::bindControl(const char* name)
{
    IClientUIControl* control = nullptr;
    m_uiHandler->FindControl(name, &control);
    if (control)
        control->SetCallback(this);
    return control;
}

void CAppSource::refreshBackupLabel()
{
    IClientUIControl* label = m_controls.secondaryBackupLabel;
    if (!label)
        return;
    QString fitted = m_secondaryLocation;
    if (qGuiApp) { // fonts can be measured only in an application with a screen, real or not
        const QRect rect(
            QPoint(0, 0), QPoint(label->GetControlWidth() - 1, label->GetControlHeight() - 1));
        fitPath(m_secondaryLocation, fitted, QFontMetrics(fontOf(*label)), rect);
    }
    label->SetText(fitted.toUtf8().constData());
    label->SetToolTip(m_secondaryLocation.toUtf8().constData());
}

void CAppSource::enableBackupControls(bool enabled)
{
    setEnabled(m_controls.secondaryBackupLabel, enabled);
    setEnabled(m_controls.browseButton, enabled);
}

// The control looked up is not released: hosts count on that too.
FxStatus CAppSource::HandleUIModeChange(void*, eMFXUIMode mode, int& value)
{
    return fxGuard([this, mode, &value] {
        if (!m_uiHandler)
            return kFxOk;
        IClientUIControl* label = nullptr;
        m_uiHandler->FindControl("delete_options_label_minimum_ui", &label);
        if (!label)
            return kFxOk;
        if (mode == kFxUIMode1) {
            label->SetModeValue(value);
            label->ApplyMode1();
        } else if (mode == kFxUIMode2) {
            label->SetModeValue(value);
            label->ApplyMode2();
        }
        return kFxOk;
    });
}

// Using the settings button while the conversion is off disables it first, and still opens the
// dialog.
FxStatus CAppSource::handleUIEvent(const char* name)
{
    return fxGuard([this, name] {
        const std::string_view widget = name ? name : "";
        if (widget == "savecopies_checkbox")
            enableBackupControls(isChecked(m_controls.saveCopiesCheckbox));
        if (widget == "settings_button" || widget == "dng_checkbox")
            setEnabled(m_controls.settingsButton, isChecked(m_controls.dngCheckbox));
        if (widget == "browse_button")
            chooseBackupFolder();
        else if (widget == "settings_button")
            m_dialogs.editDNGSettings(m_dng);
        return kFxOk;
    });
}

void CAppSource::chooseBackupFolder()
{
    QString folder = m_dialogs.askFolder(m_secondaryLocation, true);
    while (!folder.isEmpty() && !isFolderWritable(folder)) {
        m_dialogs.warnUnwritable();
        folder = m_dialogs.askFolder(m_secondaryLocation, false);
    }
    if (folder.isEmpty())
        return;
    m_secondaryLocation = QDir::toNativeSeparators(folder);
    refreshBackupLabel();
}
