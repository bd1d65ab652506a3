// What the sink answers at once: what it does not do, and small questions of the host.

#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/FxText.h"
#include "strings/PtZString.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr long kHostNameCapacity = 260; // units, whatever the host says of its buffer
constexpr long kAdvancedCapability = 14;

// Text for the user into the host's buffer, cut at its capacity.
FxStatus giveText(const QString& literal, unsigned short* buffer, int capacity) noexcept
{
    return fxGuard([&] {
        copyBounded(PtZString::getZString(literal), buffer, capacity);
        return kFxOk;
    });
}

} // namespace

// The four operations of the source's interface: nothing is fetched from the application, only
// brought to it.
FxStatus CAppSource::EnumMediaItems(eMediaItemType, IEnumMediaItem**, bool)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::AcquireAllMediaItems(
    eMediaItemType, const unsigned short*, unsigned long&, bool, FxPerItemCallback)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::DeleteAllMediaItems(eMediaItemType, unsigned long&, FxPerItemCallback)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::ShowUI(void*, IEnumMediaItem**)
{
    return kFxErrNotSupported;
}

// A host that cannot show messages gets no completion at all, and hears that all is well.
FxStatus CAppSource::PushAllMediaItems(
    ISinkEnumMediaItem&, unsigned long&, void*, FxPerItemCallback)
{
    return kFxOk;
}

FxStatus CAppSource::ShowSinkUI(void*, ISinkEnumMediaItem&)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::PushOneMediaItem(
    const unsigned short*, const unsigned short*, FxPerItemCallback, eUploadAction)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::GetSinkStateInformation(ISinkStateInfo*&)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::GetSinkMediaHandler(ISinkMediaHandler*&)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::GetSinkSupportInfo(long& out)
{
    out = 0;
    return kFxOk;
}

// How the host is to build names: numbers of four digits, nothing inside a date, "_" between parts.
FxStatus CAppSource::GetForceFourDigitSequenceNumber(bool& out)
{
    out = true;
    return kFxOk;
}

FxStatus CAppSource::GetDateSeperatorChar(char& out)
{
    out = '\0';
    return kFxOk;
}

FxStatus CAppSource::GetSeperatorChar(char& out)
{
    out = '_';
    return kFxOk;
}

// The host makes room for this label before the copying starts.
FxStatus CAppSource::GetCopyProgressLongestLabelString(unsigned short* buffer, int capacity)
{
    return giveText(
        u"$$$/AppSource/CreatingBackupCopy=Creating Backup Copy..."_s, buffer, capacity);
}

FxStatus CAppSource::GetCustomUICaption(unsigned short* buffer, int capacity)
{
    return giveText(u"$$$/AppSource/AdvancedOptionsOpen=Advanced Options"_s, buffer, capacity);
}

FxStatus CAppSource::GetCustomUISummary(unsigned short* buffer, int capacity)
{
    return giveText(
        u"$$$/AppSource/AdvancedOptionsSummary=Open to view advanced options"_s, buffer, capacity);
}

FxStatus CAppSource::GetSinkAdvancedCapability(long& out)
{
    out = kAdvancedCapability;
    return kFxOk;
}

FxStatus CAppSource::GetLogParams(unsigned short*, unsigned int, long&)
{
    return kFxErrNotImplemented;
}

FxStatus CAppSource::GetDeviceEntryParams(CPropSource*, IEnumArbitraryData**)
{
    return kFxErrNotImplemented;
}

FxStatus CAppSource::GetMediaEntryParams(CPropSinkMediaItem*, IEnumArbitraryData**)
{
    return kFxErrNotImplemented;
}

FxStatus CAppSource::GetSessionEndParams(IEnumArbitraryData**)
{
    return kFxErrNotImplemented;
}

FxStatus CAppSource::DisplayHelp(void*)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::GetDisplayString(eDisplayStringType, unsigned short*, unsigned int)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::GetHostAppName(unsigned short* buffer, unsigned int capacity)
{
    if (!buffer)
        return kFxErrBadArgument;
    return fxGuard([buffer, capacity] {
        copyBounded(u"Tevoro"_s, buffer, std::min<long>(capacity, kHostNameCapacity));
        return kFxOk;
    });
}

// Says that there is a path, and writes none.
FxStatus CAppSource::GetHostAppPath(unsigned short* buffer, unsigned int)
{
    return buffer ? kFxOk : kFxErrBadArgument;
}

// Kept and never read.
FxStatus CAppSource::SetMFXHandle(void* handle)
{
    m_hostHandle = handle;
    return kFxOk;
}

// Never running, whatever is the case; the handle is left alone.
FxStatus CAppSource::GetIsHostAppRunning(unsigned int& running, void*&)
{
    running = 0;
    return kFxOk;
}

int CAppSource::getMFXLogFolderPath(unsigned short*)
{
    return 0;
}
