// How the sink closes a download: the folder, the notices, the deletion of the originals, and the
// word to the browser application.

#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/FxGuard.h"
#include "strings/PtZString.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

constexpr long kOutcomeDeleted = 0;
constexpr long kOutcomeDeviceGone = 2;

QString filesCopiedCaption()
{
    return PtZString::getZString(u"$$$/AppSource/FilesCopiedCaption=Files Successfully Copied"_s);
}

void show(IDisplayMsgHandler& display, const QString& title, const QString& text, int style)
{
    display.DisplayMessage(fxUnits(title), fxUnits(text), &style, nullptr, nullptr);
}

CPropSinkMediaItem emptyItem()
{
    CPropSinkMediaItem item;
    item.tag = kFxTagSinkMediaItem;
    item.size = kFxSizeSinkMediaItem;
    item.lastWord = 0;
    return item;
}

enum class Deletion { kDone, kSomeRefused, kCancelled, kDeviceGone };

Deletion deleteEach(ISinkEnumMediaItem& items,
    FxPerItemCallback deleteItem,
    IProgressHandler& progress,
    const bool& cancelled)
{
    bool refused = false;
    CPropSinkMediaItem item = emptyItem();
    items.Reset();
    while (items.Next(item) == kFxOk) {
        if (!deleteItem)
            continue;
        long outcome = item.itemKey;
        deleteItem(outcome);
        if (outcome == kOutcomeDeviceGone)
            return Deletion::kDeviceGone;
        refused = refused || outcome != kOutcomeDeleted;
        progress.StepProgress();
        if (cancelled)
            break;
    }
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

bool confirmDeletion(IDisplayMsgHandler& display, const QString& folder)
{
    const QString text =
        PtZString::getZString(
            u"$$$/AppSource/VerifyDelete/Text=Files have been successfully copied to "_s)
        + folder
        + PtZString::getZString(
            u"$$$/AppSource/VerifyDelete/Text2=. Do you want to delete these files from your camera, or card reader?"_s);
    const QString title =
        PtZString::getZString(u"$$$/AppSource/VerifyDelete/Caption=Velmo Tevoro NX"_s);
    constexpr int kNo = 1;
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

FxStatus CAppSource::PushAllMediaItems(ISinkEnumMediaItem& items,
    IDisplayMsgHandler& display,
    unsigned long&,
    void*,
    FxPerItemCallback deleteItem)
{
    return fxGuard([&, this] {
        const QString caption = filesCopiedCaption();
        CPropSource source;
        source.tag = kFxTagSource;
        source.size = kFxSizeSource;
        items.GetSource(source);
        long count = 0;
        items.GetCount(count);
        if (source.tag != kFxTagSource || source.size != kFxSizeSource)
            return kFxErrBadRecord;
        const bool launch = isChecked(m_panel.controls().launchTevoroCheckbox);
        const bool deletes = isChecked(m_panel.controls().deleteFilesCheckbox);
        const QString folder = commonFolder(items);
        reportFailedConversions(display, folder);
        if (deletes)
            offerDeletion(items, display, deleteItem, folder);
        else if (!m_bus.targetIsRunning() && !launch)
            displayFilesCopied(display, folder);
        handOff(folder, launch, caption);
        return kFxOk;
    });
}

// Items in one folder give that folder. Items in several are taken to lie one level below a common
// parent: that of the first.
QString CAppSource::commonFolder(ISinkEnumMediaItem& items)
{
    CPropSinkMediaItem item = emptyItem();
    QString first;
    bool isSet = false;
    items.Reset();
    while (items.Next(item) == kFxOk) {
        const QString current = toQString(item.folder);
        if (!isSet) {
            first = current;
            isSet = true;
        } else if (current != first) {
            return QFileInfo(first).absolutePath();
        }
    }
    return first;
}

void CAppSource::reportFailedConversions(IDisplayMsgHandler& display, const QString& folder)
{
    if (m_dngFailures == 0)
        return;
    const QString text = PtZString::getZString(
        u"$$$/AppSource/DNGConversionFailed=Files Successfully Copied to %1. However, DNG Conversion failed for %2 file(s)."_s)
                             .arg(folder, QString::number(m_dngFailures));
    show(display, filesCopiedCaption(), text, kFxStyleFailure);
}

// After a notice of failed conversions the user knows already.
void CAppSource::displayFilesCopied(IDisplayMsgHandler& display, const QString& folder)
{
    if (m_dngFailures != 0)
        return;
    const QString text =
        PtZString::getZString(u"$$$/AppSource/DumpAndRun=Files have been successfully copied to "_s)
        + folder;
    show(display, filesCopiedCaption(), text, kFxStyleFilesCopied);
}

void CAppSource::offerDeletion(ISinkEnumMediaItem& items,
    IDisplayMsgHandler& display,
    FxPerItemCallback deleteItem,
    const QString& folder)
{
    if (confirmDeletion(display, folder) && m_progress)
        deleteOriginals(items, deleteItem);
}

void CAppSource::deleteOriginals(ISinkEnumMediaItem& items, FxPerItemCallback deleteItem)
{
    const QString caption =
        PtZString::getZString(u"$$$/AppSource/DeleteProgress/DeleteCaption=Deleting Photos..."_s);
    const QString cancel = PtZString::getZString(u"$$$/AppSource/DeleteProgress/Cancel=Cancel"_s);
    long count = 0;
    items.GetCount(count);
    bool cancelled = false;
    m_progress->BeginProgress(count, &cancelled, fxUnits(caption), fxUnits(cancel));
    finishDeletion(*m_progress, deleteEach(items, deleteItem, *m_progress, cancelled));
}

void CAppSource::handOff(const QString& folder, bool launch, const QString& caption)
{
    const QString script = handOffScript(folder, m_bus.targetIsRunning(), launch, caption);
    if (!script.isEmpty())
        m_bus.DoLaunchTevoro(script.toUtf8(), launch);
}
