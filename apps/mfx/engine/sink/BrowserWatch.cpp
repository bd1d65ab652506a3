#include "mfx/engine/sink/BrowserWatch.h"

#include "messaging/BusWords.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Specifier.h"
#include "mfx/texts/Texts.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/ProcessControl.h"
#include "platform/common/text/NameText.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>

namespace mfx {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using ScObjects::TevoroTalkData::kPortPrefix;
using ScObjects::TevoroTalkData::kProcessed;

namespace {

constexpr char kBrowser[] = "tevoro";

// Longer than the bus waits for somebody else who is just starting it.
constexpr std::chrono::seconds kGrace{6};

// Whether somebody holds a name of the browser's, even while it only looks for its parameters. The
// flag that there are some is its launcher's.
bool holdsName()
{
    const std::string begin = kPortPrefix + std::string(kBrowser);
    return std::ranges::any_of(Pt::heldLocalPorts(), [&begin](const Pt::HeldPort& port) {
        return port.name.starts_with(begin) && !port.name.ends_with("#haslaunchparams");
    });
}

// 0 if none was started in this process, or by another one for it.
unsigned long startedProcess(const SoString& target)
{
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getProcessID(target) : 0;
}

} // namespace

// Stands where the sink's own handler was, and passes on to it.
class BrowserWatch::Answers final : public TevoroTalk::MsgHandler {
public:
    Answers(BrowserWatch& watch, MsgHandler& sinks)
        : m_watch(watch)
        , m_sinks(sinks)
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason == kResult)
            m_watch.m_hasResult = true; // comes before the completion
        else if (reason == kOther && message.type == kProcessed)
            m_watch.m_isProcessed = true;
        return m_sinks.handleMessage(reason, message, result);
    }

    MsgHandler& sinks() const { return m_sinks; }

private:
    BrowserWatch& m_watch;
    MsgHandler& m_sinks;
};

BrowserWatch::BrowserWatch()
    : m_target(TevoroTalk::Specifier(kBrowser, true).view())
{
    TevoroTalk* const instance = TevoroTalk::get(nullptr);
    TevoroTalk::MsgHandler* const sinks = instance != nullptr
        ? instance->findHandler(
            ScObjects::TevoroTalkData::kQuillscriber, ScObjects::QK_INVALID_MESSAGE_NUMBER)
        : nullptr;
    if (sinks == nullptr)
        return;
    m_answers = new Answers(*this, *sinks);
    instance->changeHandler(m_answers);
}

BrowserWatch::~BrowserWatch()
{
    if (m_answers)
        delete TevoroTalk::get(nullptr)->changeHandler(&m_answers->sinks());
}

// Those who hold a name say so to nobody: asking would wait for a browser that does not read.
bool BrowserWatch::isThere() const
{
    return holdsName() || (wasStarted() && Pt::isProcessRunning(startedProcess(m_target)));
}

bool BrowserWatch::wasStarted() const
{
    return startedProcess(m_target) != 0;
}

bool BrowserWatch::isGone()
{
    const auto now = std::chrono::steady_clock::now();
    m_wasThere = m_wasThere || wasStarted();
    if (isThere()) {
        m_wasThere = true;
        m_missedSince.reset();
    } else if (!m_missedSince) {
        m_missedSince = now;
    }
    m_isGone = m_missedSince && now - *m_missedSince >= kGrace;
    return m_isGone;
}

std::optional<std::string> BrowserWatch::whyNotShown() const
{
    if (isShown())
        return std::nullopt;
    if (hasFailed())
        return text(
            "$$$/Mfx/Download/BrowserFailed=the result is not shown: tevoro answers with an error");
    if (!m_isGone)
        return text("$$$/Mfx/Download/BrowserSilent=the result is not shown: tevoro does not "
                    "answer; it may show it later");
    if (m_wasThere)
        return text("$$$/Mfx/Download/BrowserEnded=the result is not shown: tevoro has ended "
                    "without an answer");
    return text("$$$/Mfx/Download/BrowserNotStarted=the result is not shown: tevoro cannot be "
                "started from %1",
        {Pt::displayName(std::string(TevoroTalk::Specifier::getApplicationPath(m_target).view()))});
}

} // namespace mfx
