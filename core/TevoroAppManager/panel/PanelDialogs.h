// What the options panel asks the user: a folder, and the settings of the conversion. The sink
// uses the dialogs on screen; a test puts scripted answers in their place. For the thread that owns
// the widgets; calls block until the user has answered.
#pragma once

#include <QString>

#include <cstdint>

// The settings of the conversion, as the sink keeps them.
struct DNGSettings {
    bool embedRaw = false;
    bool linear = false;
    bool uncompressed = false;
    std::int32_t jpegPreviewSize = 1; // 0 none, 1 medium, 2 full
};

class PanelDialogs {
public:
    // A folder for the backup copies, or an empty text when the user gives up. `isFirst` is false
    // when the user asks again after a folder that could not be written.
    virtual QString askFolder(const QString& start, bool isFirst) = 0;

    // Shows that the chosen folder cannot be written.
    virtual void warnUnwritable() = 0;

    // Edits the settings in place; false, with the settings as they were, when the user gives up.
    virtual bool editDNGSettings(DNGSettings& settings) = 0;

protected:
    ~PanelDialogs() = default;
};

// The dialogs on screen. They need a QApplication.
PanelDialogs& screenDialogs();
