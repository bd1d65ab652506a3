#include "mfx/engine/sink/SinkSession.h"

#include "messaging/TevoroTalkUtils.h"
#include "mfx/engine/card/MediaItem.h"
#include "mfx/engine/sink/FxUnits.h"
#include "mfx/engine/sink/HostObject.h"
#include "mfx/engine/sink/SinkItemList.h"
#include "mfx/texts/Texts.h"

#include <set>
#include <utility>

namespace mfx {

namespace {

// What the context-free callbacks of the contract reach.
struct CallbackContext {
    std::string errorText;
    const std::function<DeletionOutcome(long)>* deleteOriginal = nullptr;
};

// The contract's callbacks have no parameter for a context, so that there is one for the process:
// one session at a time, on one thread.
CallbackContext gContext;

unsigned long noteError(const unsigned short* text, long)
{
    gContext.errorText = Pt::toUtf8(text);
    return 0;
}

// The contract passes the key in and the outcome out by the same word: it tells a refusal, after
// which the sink goes on, from a device that is gone, after which it stops.
bool deleteOne(long& key)
{
    key = static_cast<long>((*gContext.deleteOriginal)(key));
    return key == static_cast<long>(DeletionOutcome::kDeleted);
}

CPropSinkMediaItem recordOf(const SinkItem& item)
{
    CPropSinkMediaItem record;
    record.tag = kFxTagSinkMediaItem;
    record.size = kFxSizeSinkMediaItem;
    record.lastWord = 0;
    fillRecord(record, item);
    return record;
}

} // namespace

// The contract does not say when the browser's turn comes: it is behind the last of what the sink
// tells or asks, which is known before it begins.
class SinkSession::BrowserTurn {
public:
    enum class Behind { kNothing, kMessage, kQuestion };

    void await(Behind behind, const std::function<void()>& onBrowser)
    {
        m_behind = behind;
        m_onBrowser = onBrowser;
        reach(Behind::kNothing);
    }
    void reach(Behind behind)
    {
        if (behind == m_behind)
            come();
    }
    void come()
    {
        if (const auto onBrowser = std::exchange(m_onBrowser, nullptr))
            onBrowser();
    }
    void drop() { m_onBrowser = nullptr; }

private:
    Behind m_behind = Behind::kNothing;
    std::function<void()> m_onBrowser; // until it was called
};

// Shows the sink's messages and asks its questions.
class SinkSession::Messages final : public HostObject<IDisplayMsgHandler> {
public:
    Messages(DownloadEvents& events, BrowserTurn& browserTurn)
        : m_events(events)
        , m_browserTurn(browserTurn)
    {
    }

    FxStatus DisplayMessage(
        const unsigned short* title, const unsigned short* text, int*, void*, void*) override
    {
        // The notice of a failed backup comes once for each item; once is enough.
        if (m_shown.insert(Pt::toUtf8(text)).second)
            m_events.message(Pt::toUtf8(title), Pt::toUtf8(text));
        m_browserTurn.reach(BrowserTurn::Behind::kMessage);
        return kFxOk;
    }

    FxStatus DisplayQuestion(const unsigned short* title,
        const unsigned short* text,
        int*,
        int* answer,
        void*,
        void*,
        void*,
        void*,
        void*) override
    {
        constexpr int kNo = 1; // the index of the button
        constexpr int kYes = 0;
        auto said = Answer::kNo;
        if (m_words)
            said = m_events.question(Pt::toUtf8(title), Pt::toUtf8(text) + '\n' + *m_words);
        m_foundNobody = m_foundNobody || said == Answer::kNobody;
        *answer = said == Answer::kYes ? kYes : kNo;
        if (said != Answer::kYes)
            m_browserTurn.reach(BrowserTurn::Behind::kQuestion);
        return kFxOk;
    }

    void askWith(std::optional<std::string> words) { m_words = std::move(words); }
    bool foundNobody() const { return m_foundNobody; }

private:
    DownloadEvents& m_events;
    BrowserTurn& m_browserTurn;
    std::optional<std::string> m_words; // asked with; without them, nobody is asked
    bool m_foundNobody = false;
    std::set<std::string> m_shown;
};

// Deletion goes fast and is told of at its end. An interrupt stops it after the item in hand.
class SinkSession::Progress final : public HostObject<IProgressHandler> {
public:
    Progress(DownloadEvents& events, BrowserTurn& browserTurn)
        : m_events(events)
        , m_browserTurn(browserTurn)
    {
    }

    void stopWhen(std::function<bool()> wasInterrupted)
    {
        m_wasInterrupted = std::move(wasInterrupted);
    }

    FxStatus BeginProgress(
        long, bool* cancelled, const unsigned short*, const unsigned short*) override
    {
        m_cancelled = cancelled;
        return kFxOk;
    }
    FxStatus StepProgress() override
    {
        if (m_cancelled && m_wasInterrupted && m_wasInterrupted()) {
            *m_cancelled = true;
            m_browserTurn.come(); // the end of a deletion that was broken off need not be told
        }
        return kFxOk;
    }
    FxStatus FinishProgress(const unsigned short* title, const unsigned short* text, bool) override
    {
        m_events.message(Pt::toUtf8(title), Pt::toUtf8(text));
        m_browserTurn.come();
        return kFxOk;
    }

private:
    DownloadEvents& m_events;
    BrowserTurn& m_browserTurn;
    std::function<bool()> m_wasInterrupted;
    bool* m_cancelled = nullptr; // the sink's; good while it deletes
};

SinkSession::SinkSession(const std::string& modulePath, DownloadEvents& events)
    : m_events(events)
    , m_browserTurn(std::make_unique<BrowserTurn>())
    , m_messages(std::make_unique<Messages>(events, *m_browserTurn))
    , m_progress(std::make_unique<Progress>(events, *m_browserTurn))
    , m_module(modulePath)
    , m_sink(m_module.query<ISink3>(kFxIdSink3))
    , m_capabilities(m_module.query<ISinkCapabilities2>(kFxIdSinkCapabilities2))
    , m_panel(m_module.query<ISinkUICapabilities>(kFxIdSinkUICapabilities))
    , m_preferences(m_module.query<ISinkUtilHandler2>(kFxIdSinkUtilHandler2))
    , m_processing(m_module.query<IMFXPostProcessing2>(kFxIdPostProcessing2))
{
    m_record.tag = kFxTagAppPreferences;
    m_record.size = kFxSizeAppPreferences;
    Pt::WideText rawExtensions = Pt::toUtf16(extensionList(MediaKind::kRaw));
    m_capabilities->SetRDXSupportedExtensions(rawExtensions.data());
    m_capabilities->SetZQPluginSupportedExtensions(rawExtensions.data());
    m_progress->AddRef(); // the sink takes this one over
    m_module.query<ISinkProgressDialog>(kFxIdSinkProgressDialog)
        ->SetProgressHandler(m_progress.get());
}

// The strings of the record are the sink's objects and are released while it is still loaded; the
// module is a member, and goes after this body.
SinkSession::~SinkSession()
{
    releaseRecordStrings();
}

void SinkSession::releaseRecordStrings()
{
    for (IEnumArbitraryData** text : {&m_record.templateName,
             &m_record.authorName,
             &m_record.copyright,
             &m_record.mobileFolder,
             &m_record.batchRename})
        if (IEnumArbitraryData* owned = std::exchange(*text, nullptr))
            owned->Release();
}

std::string SinkSession::panelFile()
{
    unsigned short path[1024] = {};
    m_panel->GetUIFilename(path, std::size(path) - 1);
    return Pt::toUtf8(path);
}

// The sink fills the panel while it reads the preferences, so that it needs the panel before. The
// record may hold strings of an earlier call.
void SinkSession::bindPanel(IClientUIHandler& panel)
{
    m_panel->SetClientUIHandler(&panel);
    releaseRecordStrings();
    m_preferences->GetPreferences(m_record);
}

// The text of an earlier item is cleared first: a hook that succeeds sets none.
FxStatus SinkSession::process(const SinkItem& item, std::string& error, Hook hook)
{
    CPropSinkMediaItem record = recordOf(item);
    gContext.errorText.clear();
    const FxStatus status =
        ((*m_processing).*hook)(&record, nullptr, nullptr, noteError, nullptr, m_messages.get());
    error = gContext.errorText;
    return status;
}

// The status tells apart what the sink's own text does not: it has one text for all failures.
bool SinkSession::makeBackup(const SinkItem& item, std::string& error)
{
    const FxStatus status = process(item, error, &IMFXPostProcessing::DoPreProcessing);
    if (status == kFxOk)
        return true;
    if (status == kFxErrBadArgument)
        error = text("$$$/Mfx/Backup/CannotMakeFolder=the backup folder cannot be made");
    else if (status == kFxErrNoUniqueName)
        error = text("$$$/Mfx/Backup/NoNameFree=the backup folder takes no file of that name");
    else
        error = text("$$$/Mfx/Backup/NotProven=the backup copy could not be written and proven");
    return false;
}

bool SinkSession::convert(const SinkItem& item, std::string& error)
{
    const bool isDone = process(item, error, &IMFXPostProcessing::DoPostProcessing) == kFxOk;
    m_hasNews = m_hasNews || !isDone;
    return isDone;
}

bool SinkSession::savePreferences()
{
    return m_preferences->SetPreferences(m_record) == kFxOk;
}

void SinkSession::askWith(std::optional<std::string> words)
{
    m_messages->askWith(std::move(words));
}

bool SinkSession::foundNobody() const
{
    return m_messages->foundNobody();
}

void SinkSession::stopWaitingForBrowser()
{
    ScObjects::TevoroTalkUtils::stopWaitingForOthers();
}

// The callbacks are set for the length of the call and no longer: after it, what they lead to may
// be gone.
void SinkSession::finish(const SinkClosing& closing)
{
    SinkItemList list(closing.source, closing.items);
    unsigned long count = closing.items.count;
    m_progress->stopWhen(closing.wasInterrupted);
    gContext.deleteOriginal = &closing.deleteOriginal;
    const auto news = m_hasNews ? BrowserTurn::Behind::kMessage : BrowserTurn::Behind::kNothing;
    m_browserTurn->await(closing.asks ? BrowserTurn::Behind::kQuestion : news, closing.onBrowser);
    m_sink->PushAllMediaItems(list, *m_messages, count, nullptr, deleteOne);
    m_browserTurn->drop();
    gContext.deleteOriginal = nullptr;
}

} // namespace mfx
