// The user's choices between sessions: fills the host's record and the options panel from the
// preference store, and writes both back. The store comes from a library that may be absent; a
// session without it runs on fixed defaults.
//
// Owned by the sink. Borrows the panel, which holds the sink's own choices. Takes one reference on
// the store each time it is fetched and never gives one back, so that the store outlives the sink.
// For the host's main thread; saving may wait for another process that saves.
#pragma once

#include "TevoroAppManager/contract/CPropAppPreferences.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IPtPreferences.h"
#include "TevoroAppManager/panel/SinkPanel.h"

class PreferenceReader;
class PreferenceWriter;

class SinkPreferences {
public:
    explicit SinkPreferences(SinkPanel& panel)
        : m_panel(panel)
    {
    }
    SinkPreferences(const SinkPreferences&) = delete;
    SinkPreferences& operator=(const SinkPreferences&) = delete;

    // Fetches the store, which the other operations then use.
    void initilizePreferences();

    // Fills a CPropAppPreferences3 and the widgets; any other record is refused untouched. Without
    // a converter the conversion is switched off and cannot be switched on.
    FxStatus read(CProp& record, bool canConvert);

    // Writes the record and the state of the widgets, and saves. What the store answers is not
    // examined. kFxErrNotInitialised without a store.
    FxStatus write(const CProp& record);

private:
    IPtPreferences* getIPtPreferences();
    void readStore(CPropAppPreferences3& record);
    void readCheckboxes(PreferenceReader& reader);
    void readDNGOptions(PreferenceReader& reader);
    void readBackupControls(PreferenceReader& reader);
    void readSecondaryLocation(PreferenceReader& reader);
    void applyFixedDefaults(CPropAppPreferences3& record);
    void applyFixedDefaultsToPanel();
    void disableDNGControls();
    void writeControls(PreferenceWriter& writer);
    void writeDNGOptions(PreferenceWriter& writer);

    SinkPanel& m_panel;
    IPtPreferences* m_store = nullptr; // one reference a fetch
};
