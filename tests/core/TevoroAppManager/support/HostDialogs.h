// The host's messages, questions and progress, answered from a script.
#pragma once

#include "TevoroAppManager/contract/IDisplayMsgHandler.h"
#include "TevoroAppManager/contract/IProgressHandler.h"
#include "core/TevoroAppManager/support/FxUnits.h"
#include "core/TevoroAppManager/support/Journal.h"

#include <string>

namespace test {

class HostDisplay final : public IDisplayMsgHandler {
public:
    explicit HostDisplay(Journal& journal)
        : m_journal(journal)
    {
    }

    std::uint32_t QueryInterface(long, void**) override { return 0; }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
    std::uint32_t Release() override { return static_cast<std::uint32_t>(--references); }
    FxStatus DisplayMessage(const unsigned short* title,
        const unsigned short* text,
        int* style,
        void* unused1,
        void* unused2) override
    {
        allNull = allNull && !unused1 && !unused2;
        m_journal.add("message " + std::to_string(*style) + " [" + utf8(title) + "] " + utf8(text));
        return kFxOk;
    }
    FxStatus DisplayQuestion(const unsigned short* title,
        const unsigned short* text,
        int* style,
        int* answered,
        void* unused1,
        void* unused2,
        void* unused3,
        void* unused4,
        void* unused5) override
    {
        allNull = allNull && !unused1 && !unused2 && !unused3 && !unused4 && !unused5;
        m_journal.add("question " + std::to_string(*style) + "/" + std::to_string(*answered) + " ["
            + utf8(title) + "] " + utf8(text));
        *answered = answer;
        return kFxOk;
    }

    int answer = 1; // no
    bool allNull = true; // the trailing arguments
    int references = 0;

private:
    Journal& m_journal;
};

class HostProgress final : public IProgressHandler {
public:
    explicit HostProgress(Journal& journal)
        : m_journal(journal)
    {
    }

    std::uint32_t QueryInterface(long, void**) override { return 0; }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
    std::uint32_t Release() override
    {
        m_journal.add("progress.Release");
        return static_cast<std::uint32_t>(--references);
    }
    FxStatus BeginProgress(long count,
        bool* cancelled,
        const unsigned short* caption,
        const unsigned short* cancelLabel) override
    {
        m_cancelled = cancelled;
        m_journal.add("begin " + std::to_string(count) + " [" + utf8(caption) + "] ["
            + utf8(cancelLabel) + "] " + std::to_string(*cancelled));
        cancelWhenDue();
        return kFxOk;
    }
    FxStatus StepProgress() override
    {
        m_journal.add("step");
        ++m_steps;
        cancelWhenDue();
        return kFxOk;
    }
    FxStatus FinishProgress(
        const unsigned short* title, const unsigned short* text, bool success) override
    {
        m_journal.add("finish " + std::to_string(success) + " [" + utf8(title) + "] " + utf8(text));
        return kFxOk;
    }

    // Where to write that the user has cancelled; null before a display was opened.
    const bool* cancelFlag() const { return m_cancelled; }

    int cancelAtStep = -1; // 0: as soon as the display opens
    int references = 1; // the one that the sink takes over

private:
    void cancelWhenDue()
    {
        if (m_steps == cancelAtStep)
            *m_cancelled = true;
    }

    Journal& m_journal;
    bool* m_cancelled = nullptr;
    int m_steps = 0;
};

} // namespace test
