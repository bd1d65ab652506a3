// The sink's side of the options panel. The host builds the widgets; this class finds them by
// name, follows their events, and keeps what they stand for: the backup folder and the settings of
// the conversion.
//
// Owned by the sink. Borrows the host's handler, the dialogs and the callback that the widgets
// tell; owns one reference on each widget in its controls, which `releaseControls` lets go: its
// place among the other steps of the sink's end is fixed, so that no destructor does it. For the
// host's main thread, which owns the widgets; `handleEvent` blocks while a dialog is open.
#pragma once

#include "TevoroAppManager/contract/IUIOrderingOptionsEnum.h"
#include "TevoroAppManager/contract/sink/ISinkUICapabilities.h"
#include "TevoroAppManager/panel/PanelControls.h"
#include "TevoroAppManager/panel/PanelDialogs.h"

#include <QString>

#include <string_view>

class SinkPanel {
public:
    SinkPanel(IUICallback& callback, PanelDialogs& dialogs)
        : m_callback(callback)
        , m_dialogs(dialogs)
    {
    }
    SinkPanel(const SinkPanel&) = delete;
    SinkPanel& operator=(const SinkPanel&) = delete;

    // The panel's description for the application's locale, else the English one, which need not
    // be there. Relative to the host's working folder.
    static QString descriptionPath();

    // Says where the host's standard controls stand.
    static void orderHostControls(IUIOrderingOptionsEnum& order);

    // Finds the widgets and brings those of the backup into their first state: no copies, and the
    // user's pictures folder. Null only forgets the handler. Widgets of an earlier panel are
    // replaced without being released.
    void bind(IClientUIHandler* handler);

    // Lets go of the widgets, but for the check box of deletion.
    void releaseControls();

    // The widget of this name was used. Other names do nothing.
    void handleEvent(std::string_view widget);

    // The host's dialogue took another form; `value` goes to the label that reacts to it.
    void changeMode(ISinkUICapabilities::eMFXUIMode mode, int value);

    // The widgets; each may be null.
    const PanelControls& controls() const { return m_controls; }

    // What the settings dialog edits.
    DNGSettings& settings() { return m_settings; }

    // Where backup copies go, with the system's separators. Empty before a panel is bound.
    const QString& backupFolder() const { return m_backupFolder; }

    // Takes another folder, and shows it.
    void setBackupFolder(const QString& folder);

    // Enables the label of the backup folder and the button that chooses it.
    void enableBackupControls(bool enabled);

private:
    IClientUIControl* bindControl(const char* name);
    void bindBackupControls();
    void showBackupFolder();
    void chooseBackupFolder();

    IUICallback& m_callback;
    PanelDialogs& m_dialogs;
    IClientUIHandler* m_handler = nullptr;
    PanelControls m_controls;
    DNGSettings m_settings;
    QString m_backupFolder;
};
