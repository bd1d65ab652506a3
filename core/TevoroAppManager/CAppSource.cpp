#include "TevoroAppManager/CAppSource.h"

#include "TevoroAppManager/BackupCopy.h"
#include "TevoroAppManager/CMOXFileFormat.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/SupportedFormats.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "strings/PtZString.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr long kHostNameCapacity = 260;
constexpr long kAdvancedCapability = 14;

// Sinks alive in this process: they share one dictionary, which the last one closes.
int gLiveSinks = 0;

void openDictionaryForFirst()
{
    if (gLiveSinks++ == 0)
        PtZString::openZStringDict(false);
}

void closeDictionaryForLast()
{
    if (--gLiveSinks == 0)
        PtZString::closeZStringDict();
}

// By its size alone; the tag is not looked at.
bool isItemRecord(const CPropSinkMediaItem* item)
{
    return item && item->size == kFxSizeSinkMediaItem;
}

QString pathOf(const CPropSinkMediaItem& item)
{
    return toQString(item.folder) + QDir::separator() + toQString(item.fileName);
}

// Text for the user into the host's buffer, cut at its capacity.
FxStatus giveText(const QString& literal, unsigned short* buffer, int capacity) noexcept
{
    return fxGuard([&] {
        copyBounded(PtZString::getZString(literal), buffer, capacity);
        return kFxOk;
    });
}

} // namespace

CAppSource::CAppSource(const CAppInfo& info, PanelDialogs& dialogs)
    : m_info(info)
    , m_panel(*this, dialogs)
{
    m_bus.Initialize();
    m_preferences.initilizePreferences();
    openDictionaryForFirst();
    m_converter.bindLibrary();
}

CAppSource::~CAppSource()
{
    m_panel.releaseControls();
    closeDictionaryForLast();
    m_bus.Terminate();
}

std::uint32_t CAppSource::AddRef()
{
    return ++m_references;
}

std::uint32_t CAppSource::Release()
{
    if (--m_references != 0)
        return m_references;
    if (m_formats)
        m_formats->Release();
    if (m_progress)
        m_progress->Release();
    delete this;
    return 0;
}

void* CAppSource::faceFor(long id)
{
    switch (id) {
    case kFxIdSource:
        return static_cast<ISource*>(this);
    case kFxIdDefault:
    case kFxIdSink:
    case kFxIdSink3:
        return static_cast<ISink3*>(this);
    case kFxIdSinkCapabilities:
    case kFxIdSinkCapabilities2:
        return static_cast<ISinkCapabilities2*>(this);
    case kFxIdSinkUICapabilities:
        return static_cast<ISinkUICapabilities*>(this);
    case kFxIdUICallback:
        return static_cast<IUICallback*>(this);
    case kFxIdSinkAdvancedCapabilities:
        return static_cast<ISinkAdvancedCapabilities*>(this);
    case kFxIdLogCallbacks:
        return static_cast<IMFXLogCallbacks*>(this);
    case kFxIdSinkUtilHandler:
    case kFxIdSinkUtilHandler2:
        return static_cast<ISinkUtilHandler2*>(this);
    case kFxIdPostProcessing:
    case kFxIdPostProcessing2:
        return static_cast<IMFXPostProcessing2*>(this);
    case kFxIdSinkManager:
        return static_cast<ISinkManager*>(this);
    case kFxIdSinkProgressDialog:
        return static_cast<ISinkProgressDialog*>(this);
    default:
        return nullptr;
    }
}

std::uint32_t CAppSource::QueryInterface(long id, void** out)
{
    *out = faceFor(id);
    if (!*out)
        return 0;
    AddRef();
    return 1;
}

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

FxStatus CAppSource::GetSupportedFileFormatList(IFileFormat*& out)
{
    return fxGuard([this, &out] {
        if (!m_formats)
            m_formats = makeSupportedFormats(m_zqExtensions).detach();
        if (m_formats) {
            m_formats->AddRef();
            out = m_formats;
        }
        return kFxOk;
    });
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

FxStatus CAppSource::GetSinkUtilHandler(ISinkUtilHandler*& out)
{
    m_utilHandler = static_cast<ISinkUtilHandler2*>(this);
    AddRef();
    out = m_utilHandler;
    return kFxOk;
}

FxStatus CAppSource::SetRDXSupportedExtensions(unsigned short* text)
{
    return fxGuard([this, text] {
        m_converter.setRawExtensions(toQString(text));
        return kFxOk;
    });
}

FxStatus CAppSource::SetZQPluginSupportedExtensions(unsigned short* text)
{
    return fxGuard([this, text] {
        m_zqExtensions = toQString(text);
        return kFxOk;
    });
}

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

FxStatus CAppSource::GetCopyProgressLongestLabelString(unsigned short* buffer, int capacity)
{
    return giveText(
        u"$$$/AppSource/CreatingBackupCopy=Creating Backup Copy..."_s, buffer, capacity);
}

FxStatus CAppSource::GetUIFilename(unsigned short* buffer, int capacity)
{
    return fxGuard([buffer, capacity] {
        copyBounded(SinkPanel::descriptionPath(), buffer, capacity);
        return kFxOk;
    });
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

FxStatus CAppSource::GetUIControlOrder(IUIOrderingOptionsEnum& order)
{
    return fxGuard([&order] {
        SinkPanel::orderHostControls(order);
        return kFxOk;
    });
}

FxStatus CAppSource::SetClientUIHandler(IClientUIHandler* handler)
{
    return fxGuard([this, handler] {
        m_panel.bind(handler);
        return kFxOk;
    });
}

FxStatus CAppSource::HandleUIModeChange(void*, eMFXUIMode mode, int& value)
{
    return fxGuard([this, mode, &value] {
        m_panel.changeMode(mode, value);
        return kFxOk;
    });
}

FxStatus CAppSource::handleUIEvent(const char* name)
{
    return fxGuard([this, name] {
        m_panel.handleEvent(name ? name : "");
        return kFxOk;
    });
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

FxStatus CAppSource::GetPreferences(CProp& record)
{
    return fxGuard([this, &record] { return m_preferences.read(record, isDNGConverterPresent()); });
}

FxStatus CAppSource::SetPreferences(CProp& record)
{
    return fxGuard([this, &record] { return m_preferences.write(record); });
}

FxStatus CAppSource::GetDisplayString(eDisplayStringType, unsigned short*, unsigned int)
{
    return kFxErrNotSupported;
}

FxStatus CAppSource::DoPreProcessing(CPropSinkMediaItem* item,
    FxStatusTextCallback label,
    FxStatusTextCallback detail,
    FxStatusTextCallback,
    FxPerItemCallback,
    IDisplayMsgHandler* display)
{
    if (!isChecked(m_panel.controls().saveCopiesCheckbox))
        return kFxOk;
    if (!isItemRecord(item))
        return kFxErrBadArgument;
    return fxGuard([=, this] {
        return makeBackupCopy(*item, m_panel.backupFolder(), {label, detail, display});
    });
}

// A file that is missing counts as a failed conversion, even when it was no raw file.
FxStatus CAppSource::DoPostProcessing(CPropSinkMediaItem* item,
    FxStatusTextCallback label,
    FxStatusTextCallback,
    FxStatusTextCallback error,
    FxPerItemCallback,
    IDisplayMsgHandler*)
{
    if (!isChecked(m_panel.controls().dngCheckbox))
        return kFxOk;
    if (!isItemRecord(item))
        return kFxWarnPostProcess;
    return fxGuard([=, this] {
        const QString path = pathOf(*item);
        if (QFile::exists(path) && m_converter.convertToDNG(path, label, error))
            return kFxOk;
        ++m_dngFailures;
        return kFxWarnPostProcess;
    });
}

FxStatus CAppSource::deleteXMPData(bool flag)
{
    m_converter.deleteXMPData(flag);
    return kFxOk;
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

FxStatus CAppSource::GetHostAppPath(unsigned short* buffer, unsigned int)
{
    return buffer ? kFxOk : kFxErrBadArgument;
}

FxStatus CAppSource::SetMFXHandle(void* handle)
{
    m_hostHandle = handle;
    return kFxOk;
}

FxStatus CAppSource::GetIsHostAppRunning(unsigned int& running, void*&)
{
    running = 0;
    return kFxOk;
}

FxStatus CAppSource::InvokeHostApp(void*, unsigned int, unsigned short*)
{
    return fxGuard([this] {
        if (m_bus.targetIsRunning() && m_bus.isTevoroBusy())
            return kFxOk;
        const QByteArray script =
            QByteArrayLiteral("{ app.runMediafetcher();") + "app.document.bringToFront (); }";
        return m_bus.DoLaunchTevoro(script, true) == -1 ? kFxErrBadArgument : kFxOk;
    });
}

FxStatus CAppSource::SetProgressHandler(IProgressHandler* handler)
{
    m_progress = handler;
    return kFxOk;
}

int CAppSource::getMFXLogFolderPath(unsigned short*)
{
    return 0;
}
