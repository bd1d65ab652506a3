#include "TevoroAppManager/CAppSource.h"

#include "TevoroAppManager/BackupCopy.h"
#include "TevoroAppManager/CMOXFileFormat.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/SupportedFormats.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "strings/PtZString.h"

#include <QDir>
#include <QFile>

namespace {

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

// By its size alone: hosts leave what they like in the tag.
bool isItemRecord(const CPropSinkMediaItem* item)
{
    return item != nullptr && item->size == kFxSizeSinkMediaItem;
}

QString pathOf(const CPropSinkMediaItem& item)
{
    return toQString(item.folder) + QDir::separator() + toQString(item.fileName);
}

} // namespace

// The bus comes first: it alone can fail, and then nothing else has been taken that would have to
// be given back. What the later steps do not find stays null, which is a state to run in.
CAppSource::CAppSource(const CAppInfo& info, PanelDialogs& dialogs, Pt::Clock& clock)
    : m_info(info)
    , m_bus(clock)
    , m_panel(*this, dialogs)
{
    m_bus.Initialize();
    m_preferences.initilizePreferences();
    openDictionaryForFirst();
    m_converter.bindLibrary();
}

// The other way round, and the widgets before all: the host's code runs when they are let go, and
// finds texts and bus as they were.
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

// What is counted goes first, while the object still stands: a handler that ends may call back.
std::uint32_t CAppSource::Release()
{
    if (--m_references != 0)
        return m_references;
    if (m_formats)
        m_formats->Release();
    m_completion.releaseProgressHandler();
    delete this;
    return 0;
}

// Each interface has an address of its own inside the object, which a void pointer no longer tells
// apart: hence a cast in every case. The identity, id 0, is the sink and not the first of the
// bases.
void* CAppSource::interfaceFor(long id)
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
    *out = interfaceFor(id);
    if (!*out)
        return 0;
    AddRef();
    return 1;
}

FxStatus CAppSource::PushAllMediaItems(ISinkEnumMediaItem& items,
    IDisplayMsgHandler& display,
    unsigned long&,
    void*,
    FxPerItemCallback deleteItem)
{
    return fxGuard(
        [&, this] { return m_completion.run(items, display, deleteItem, m_dngFailures); });
}

// Built once: extensions that the host sets later are not in it. The caller gets a reference, and
// the sink keeps one.
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

FxStatus CAppSource::GetUIFilename(unsigned short* buffer, int capacity)
{
    return fxGuard([buffer, capacity] {
        copyBounded(SinkPanel::descriptionPath(), buffer, capacity);
        return kFxOk;
    });
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

FxStatus CAppSource::GetPreferences(CProp& record)
{
    return fxGuard([this, &record] { return m_preferences.read(record, isDNGConverterPresent()); });
}

FxStatus CAppSource::SetPreferences(CProp& record)
{
    return fxGuard([this, &record] { return m_preferences.write(record); });
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

// Each of the two hooks refuses a bad record in its own way. A file that is missing counts as a
// failed conversion, even when it was no raw file.
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

// A busy application is left in peace. No answer in time counts as success; only an application
// that is not there at all does not.
FxStatus CAppSource::InvokeHostApp(void*, unsigned int, unsigned short*)
{
    return fxGuard([this] {
        if (m_bus.targetIsRunning() && m_bus.isTevoroBusy())
            return kFxOk;
        const QByteArray script =
            QByteArrayLiteral("{ app.runMediafetcher();") + "app.document.bringToFront (); }";
        if (m_bus.DoLaunchTevoro(script, true) == -1)
            return kFxErrBadArgument;
        m_bus.sendPending();
        return kFxOk;
    });
}

FxStatus CAppSource::SetProgressHandler(IProgressHandler* handler)
{
    m_completion.setProgressHandler(handler);
    return kFxOk;
}
