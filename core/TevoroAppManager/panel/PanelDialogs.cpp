#include "TevoroAppManager/panel/PanelDialogs.h"

#include "dialogs/DNGConversionDlg.h"
#include "dialogs/PtMessageBox.h"
#include "strings/PtZString.h"

#include <QApplication>
#include <QFileDialog>

using namespace Qt::StringLiterals;

namespace {

// Without an application for widgets there is nobody to ask: as if the user gave up.
bool canAsk()
{
    return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

// Each dialog belongs to the window that is active when it opens, which is the host's: the sink
// knows of no other.
class ScreenDialogs final : public PanelDialogs {
public:
    // Asked again, after a warning, it has no parent and follows symbolic links: so the contract.
    QString askFolder(const QString& start, bool isFirst) override
    {
        if (!canAsk())
            return {};
        const QString caption = PtZString::getZString(
            u"$$$/AppSource/SelectDirToStoreImages=Select folder to store backup copies:"_s);
        QFileDialog::Options options = QFileDialog::ShowDirsOnly;
        if (isFirst)
            options |= QFileDialog::DontResolveSymlinks;
        QWidget* parent = isFirst ? QApplication::activeWindow() : nullptr;
        return QFileDialog::getExistingDirectory(parent, caption, start, options);
    }

    void warnUnwritable() override
    {
        if (!canAsk())
            return;
        constexpr int kEscape = 0;
        constexpr int kNoDefault = -1;
        PtMessageBox::warning(QApplication::activeWindow(),
            PtZString::getZString(
                u"$$$/PtQuickViewer/InvalidDirectoryCaption=Cannot Write to Directory"_s),
            PtZString::getZString(
                u"$$$/PtQuickViewer/InvalidDirectoryMessg=Cannot write to the specified directory. Please choose a different directory."_s),
            PtZString::getOKString(),
            QString(),
            QString(),
            kEscape,
            kNoDefault);
    }

    // The dialog takes "compressed" and answers "uncompressed": the one undoes the other.
    bool editDNGSettings(DNGSettings& settings) override
    {
        if (!canAsk())
            return false;
        DNGConversionDlg dialog(QApplication::activeWindow(),
            settings.embedRaw,
            settings.linear,
            !settings.uncompressed,
            settings.jpegPreviewSize);
        if (dialog.exec() == 0)
            return false;
        settings.embedRaw = dialog.getEmbedOriginalRawFileStatus();
        settings.linear = dialog.getImageConversionMethod();
        settings.jpegPreviewSize = dialog.getJpegPreviewSize();
        settings.uncompressed = dialog.getCompressionState();
        return true;
    }
};

} // namespace

PanelDialogs& screenDialogs()
{
    static ScreenDialogs dialogs;
    return dialogs;
}
