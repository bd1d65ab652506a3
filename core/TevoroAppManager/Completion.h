// How the sink closes a download: finds the folder that the items went to, shows them to the user,
// offers to delete the originals from the device, and tells the browser application.
//
// Owned by the sink. Borrows its panel, where the user's choices stand, and its door to the bus.
// The progress handler is the host's own, without a reference taken, and still released once at
// the sink's end: `releaseProgressHandler` has that place among the other steps. For the host's
// main thread; blocks for as long as the user thinks and the device deletes.
#pragma once

#include "TevoroAppManager/PtTevoroTalk.h"
#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IDisplayMsgHandler.h"
#include "TevoroAppManager/contract/IProgressHandler.h"
#include "TevoroAppManager/contract/sink/ISink.h"
#include "TevoroAppManager/panel/SinkPanel.h"

#include <QString>

#include <cstdint>

class Completion {
public:
    Completion(const SinkPanel& panel, PtTevoroTalk& bus)
        : m_panel(panel)
        , m_bus(bus)
    {
    }
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;

    // Shows the deletion of the originals; without one none are deleted. A later handler replaces
    // the earlier, which is not released.
    void setProgressHandler(IProgressHandler* handler) { m_progress = handler; }
    void releaseProgressHandler();

    // `failedConversions` are those of the session. `deleteItem` deletes one original, and may be
    // null. kFxErrBadRecord when the host's source record is not one; all that fails behind that is
    // reported to the user or passed over, and the status stays kFxOk.
    FxStatus run(ISinkEnumMediaItem& items,
        IDisplayMsgHandler& display,
        FxPerItemCallback deleteItem,
        std::int32_t failedConversions);

private:
    void offerDeletion(ISinkEnumMediaItem& items,
        IDisplayMsgHandler& display,
        FxPerItemCallback deleteItem,
        const QString& folder);
    void deleteOriginals(ISinkEnumMediaItem& items, FxPerItemCallback deleteItem);
    void handOff(const QString& folder, bool launch, const QString& caption);

    const SinkPanel& m_panel;
    PtTevoroTalk& m_bus;
    IProgressHandler* m_progress = nullptr;
    bool m_cancelled = false; // the host writes here until the whole completion is over
};
