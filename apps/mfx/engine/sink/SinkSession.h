// The host's side of one session with the sink: its interfaces, its dialogue with the user, and its
// calls in the order in which the sink wants them. Owns its references; borrows the panel and the
// events. One thread, and one session at a time, since callbacks of the contract carry no context.
#pragma once

#include "TevoroAppManager/contract/CPropAppPreferences.h"
#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "TevoroAppManager/contract/IMFXPostProcessing.h"
#include "TevoroAppManager/contract/sink/ISink.h"
#include "TevoroAppManager/contract/sink/ISinkCapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkProgressDialog.h"
#include "TevoroAppManager/contract/sink/ISinkUICapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkUtilHandler.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "mfx/engine/sink/SinkModule.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace mfx {

// Where one item lies and what it is called, for the sink.
struct SinkItem {
    long key = 0;
    std::string deviceName;
    std::string fileName;
    std::string folder;
};

// The items of a download, told one by one: a large card's are not all held as records at once.
struct SinkItems {
    std::size_t count = 0;
    std::function<SinkItem(std::size_t index)> at;
};

// What became of one original: as the contract's per-item callback tells it.
enum class DeletionOutcome : long { kDeleted = 0, kRefused = 1, kDeviceGone = 2 };

// What closes a download.
struct SinkClosing {
    std::string source; // the device's name
    SinkItems items;
    bool asks = false; // the sink's choice of deletion is on: it asks
    std::function<DeletionOutcome(long key)> deleteOriginal; // if the user says so
    std::function<bool()> wasInterrupted; // that is enough of it
    // Nothing is left but the browser, which may be waited for: called before that, once at most.
    std::function<void()> onBrowser;
};

class SinkSession {
public:
    // Opens the sink. Throws SystemPartError.
    SinkSession(const std::string& modulePath, DownloadEvents& events);
    ~SinkSession();
    SinkSession(const SinkSession&) = delete;
    SinkSession& operator=(const SinkSession&) = delete;

    // Where the description of the panel is, relative to the working folder.
    std::string panelFile();

    // Binds the panel and lets the sink fill it from its preferences. The handler outlives the
    // session.
    void bindPanel(IClientUIHandler& panel);

    // A proven backup copy; false, with the sink's reason, when there is none.
    bool makeBackup(const SinkItem& item, std::string& error);

    // False when the sink counted a failed conversion.
    bool convert(const SinkItem& item, std::string& error);

    // Stores the preferences as they are now.
    bool savePreferences();

    // The sink's question reaches the user with these words of ours behind its own; without any, it
    // is answered with no.
    void askWith(std::optional<std::string> words);

    // Whether a question found nobody to answer it.
    bool foundNobody() const;

    // Ends the waits of the sink for the browser, now and from now on. Any thread may call.
    static void stopWaitingForBrowser();

    // Closes the download: tells of it, asks, has originals deleted, and shows the result.
    void finish(const SinkClosing& closing);

private:
    class BrowserTurn;
    class Messages;
    class Progress;

    // What the sink does to one item.
    using Hook = FxStatus (IMFXPostProcessing::*)(CPropSinkMediaItem*,
        FxStatusTextCallback,
        FxStatusTextCallback,
        FxStatusTextCallback,
        FxPerItemCallback,
        IDisplayMsgHandler*);

    FxStatus process(const SinkItem& item, std::string& error, Hook hook);
    void releaseRecordStrings();

    DownloadEvents& m_events;
    std::unique_ptr<BrowserTurn> m_browserTurn; // the next two tell it
    std::unique_ptr<Messages> m_messages; // these two outlive the sink, which calls them to its end
    std::unique_ptr<Progress> m_progress;
    SinkModule m_module;
    FxRef<ISink3> m_sink;
    FxRef<ISinkCapabilities2> m_capabilities;
    FxRef<ISinkUICapabilities> m_panel;
    FxRef<ISinkUtilHandler2> m_preferences;
    FxRef<IMFXPostProcessing2> m_processing;
    CPropAppPreferences3 m_record;
    bool m_hasNews = false; // a conversion failed, which the sink tells when it closes the download
};

} // namespace mfx
