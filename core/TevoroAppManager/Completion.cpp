#include "TevoroAppManager/Completion.h"

#include "TevoroAppManager/FxNotice.h"
#include "TevoroAppManager/FxText.h"
#include "strings/PtZString.h"

#include <QFileInfo>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr long kOutcomeDeleted = 0;
constexpr long kOutcomeDeviceGone = 2;

QString filesCopiedCaption()
{
    return PtZString::getZString(u"$$$/AppSource/FilesCopiedCaption=Files Successfully Copied"_s);
}

CPropSinkMediaItem emptyItem()
{
    CPropSinkMediaItem item;
    item.tag = kFxTagSinkMediaItem;
    item.size = kFxSizeSinkMediaItem;
    item.lastWord = 0;
    return item;
}

// Whether the host's items come from a source at all. The count is asked for as it always was, and
// not used.
bool hasSource(ISinkEnumMediaItem& items)
{
    CPropSource source;
    source.tag = kFxTagSource;
    source.size = kFxSizeSource;
    items.GetSource(source);
    long count = 0;
    items.GetCount(count);
    return source.tag == kFxTagSource && source.size == kFxSizeSource;
}

// Items in one folder give that folder. Items in several are taken to lie one level below a common
// parent: that of the first.
QString commonFolder(ISinkEnumMediaItem& items)
{
    CPropSinkMediaItem item = emptyItem();
    std::optional<QString> first; // may well be an empty text
    items.Reset();
    while (items.Next(item) == kFxOk) {
        const QString current = toQString(item.folder);
        if (!first)
            first = current;
        else if (current != *first)
            return QFileInfo(*first).absolutePath();
    }
    return first.value_or(QString());
}

void reportFailedConversions(IDisplayMsgHandler& display, const QString& folder, int failures)
{
    if (failures == 0)
        return;
    // Both at once: a "%2" in the folder's name must stay as it is.
    const QString text = PtZString::getZString(
        u"$$$/AppSource/DNGConversionFailed=Files Successfully Copied to %1. However, DNG Conversion failed for %2 file(s)."_s)
                             .arg(folder, QString::number(failures));
    notify(display, filesCopiedCaption(), text, kFxStyleFailure);
}

// After a notice of failed conversions the user knows already.
void displayFilesCopied(IDisplayMsgHandler& display, const QString& folder, int failures)
{
    if (failures != 0)
        return;
    const QString text =
        PtZString::getZString(u"$$$/AppSource/DumpAndRun=Files have been successfully copied to "_s)
        + folder;
    notify(display, filesCopiedCaption(), text, kFxStyleFilesCopied);
}

// A device that has gone takes precedence over refusals, and a refusal over a cancel: the user gets
// one notice, of what matters most.
enum class Deletion { kDone, kSomeRefused, kCancelled, kDeviceGone };

// Without a callback the walk still goes to its end, and counts as done.
Deletion deleteEach(ISinkEnumMediaItem& items,
    FxPerItemCallback deleteItem,
    IProgressHandler& progress,
    const bool& cancelled)
{
    bool refused = false;
    CPropSinkMediaItem item = emptyItem();
    items.Reset(); // the walk for the folder has left the host somewhere in the middle
    while (items.Next(item) == kFxOk) {
        if (!deleteItem)
            continue;
        long outcome = item.itemKey; // the callback takes the key and gives the outcome in it
        deleteItem(outcome);
        if (outcome == kOutcomeDeviceGone)
            return Deletion::kDeviceGone;
        refused = refused || outcome != kOutcomeDeleted;
        progress.StepProgress();
        // Looked at behind the step alone: a cancel before the first item still costs that item.
        if (cancelled)
            break;
    }
    // What was refused is told even after a cancel: those files are still on the card.
    if (refused)
        return Deletion::kSomeRefused;
    return cancelled ? Deletion::kCancelled : Deletion::kDone;
}

void finishDeletion(IProgressHandler& progress, Deletion outcome)
{
    const auto finish = [&progress](const QString& title, const QString& text, bool success) {
        progress.FinishProgress(
            fxUnits(PtZString::getZString(title)), fxUnits(PtZString::getZString(text)), success);
    };
    switch (outcome) {
    case Deletion::kDeviceGone:
        finish(u"$$$/AppSource/Deleteprogress/DeviceNotAvailable=Velmo Tevoro NX"_s,
            u"$$$/AppSource/DeviceNotAvailableMsg=Device is not connected or is busy."_s,
            false);
        break;
    case Deletion::kSomeRefused:
        finish(u"$$$/AppSource/Deleteprogress/FilesNotDeleted=Velmo Tevoro NX"_s,
            u"$$$/AppSource/FilesNotDeletedText=One or more files cannot be deleted. This may be because the files have been locked."_s,
            false);
        break;
    case Deletion::kCancelled: // whoever cancelled needs no notice
        break;
    case Deletion::kDone:
        finish(u"$$$/AppSource/Deleteprogress/DeletedTitle=Velmo Tevoro NX"_s,
            u"$$$/AppSource/DeletedText=Your files have been successfully deleted from your camera, or card reader."_s,
            true);
        break;
    }
}

// In two parts around the folder: a place mark in one text would be found in a folder's name too.
QString deletionQuestion(const QString& folder)
{
    return PtZString::getZString(
               u"$$$/AppSource/VerifyDelete/Text=Files have been successfully copied to "_s)
        + folder
        + PtZString::getZString(
            u"$$$/AppSource/VerifyDelete/Text2=. Do you want to delete these files from your camera, or card reader?"_s);
}

bool confirmDeletion(IDisplayMsgHandler& display, const QString& folder)
{
    const QString text = deletionQuestion(folder);
    const QString title =
        PtZString::getZString(u"$$$/AppSource/VerifyDelete/Caption=Velmo Tevoro NX"_s);
    constexpr int kNo = 1; // also what stands there when the host shows nothing
    int style = kFxStyleDeleteQuestion;
    int answer = kNo;
    display.DisplayQuestion(fxUnits(title),
        fxUnits(text),
        &style,
        &answer,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr);
    return answer != kNo;
}

// A double quote in the folder breaks the script: only backslashes are escaped, as ever.
QString handOffScript(QString folder, bool running, bool launch, const QString& caption)
{
    folder.replace(u'\\', u"\\\\"_s);
    if (!running) {
        if (!launch)
            return {};
        return u"if (app.documents.length == 0) app.browseTo (\""_s + folder
            + u"\"); else { app.document.thumbnail = new Thumbnail (\""_s + folder
            + u"\"); app.document.bringToFront (); } app.beep();"_s;
    }
    if (launch)
        return u" app.browseTo (\""_s + folder + u"\");  app.beep() ;"_s;
    return u"{ app.beep();app.document.status = \""_s + caption + u"\"; }"_s;
}

} // namespace

void Completion::releaseProgressHandler()
{
    if (m_progress)
        m_progress->Release();
}

// The choices are read once, before any dialogue: what the user changes while one is open is for
// the next download.
FxStatus Completion::run(ISinkEnumMediaItem& items,
    IDisplayMsgHandler& display,
    FxPerItemCallback deleteItem,
    std::int32_t failedConversions)
{
    const QString caption = filesCopiedCaption();
    if (!hasSource(items))
        return kFxErrBadRecord;
    const bool launch = isChecked(m_panel.controls().launchTevoroCheckbox);
    const bool deletes = isChecked(m_panel.controls().deleteFilesCheckbox);
    const QString folder = commonFolder(items);
    reportFailedConversions(display, folder, failedConversions);
    if (deletes)
        offerDeletion(items, display, deleteItem, folder);
    else if (!m_bus.targetIsRunning() && !launch)
        displayFilesCopied(display, folder, failedConversions);
    handOff(folder, launch, caption);
    return kFxOk;
}

void Completion::offerDeletion(ISinkEnumMediaItem& items,
    IDisplayMsgHandler& display,
    FxPerItemCallback deleteItem,
    const QString& folder)
{
    if (confirmDeletion(display, folder) && m_progress)
        deleteOriginals(items, deleteItem);
}

void Completion::deleteOriginals(ISinkEnumMediaItem& items, FxPerItemCallback deleteItem)
{
    const QString caption =
        PtZString::getZString(u"$$$/AppSource/DeleteProgress/DeleteCaption=Deleting Photos..."_s);
    const QString cancel = PtZString::getZString(u"$$$/AppSource/DeleteProgress/Cancel=Cancel"_s);
    long count = 0;
    items.GetCount(count);
    m_cancelled = false;
    m_progress->BeginProgress(count, &m_cancelled, fxUnits(caption), fxUnits(cancel));
    finishDeletion(*m_progress, deleteEach(items, deleteItem, *m_progress, m_cancelled));
}

// Whether the application runs is asked anew: the user may have taken long over the deletion.
void Completion::handOff(const QString& folder, bool launch, const QString& caption)
{
    const QString script = handOffScript(folder, m_bus.targetIsRunning(), launch, caption);
    if (!script.isEmpty())
        m_bus.DoLaunchTevoro(script.toUtf8(), launch);
}
