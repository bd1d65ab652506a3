#include "TevoroAppManager/CAppManager.h"

#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/CEnumSource.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/FxRef.h"
#include "platform/common/text/PtConstString.h"
#include "platform/common/text/PtUcs.h"

#include <algorithm>
#include <new>

const unsigned char CAppManager::m_appManagerUID[16] = {
    0xcd, 0x4c, 0xc9, 0x8c, 0x70, 0xaf, 0x39, 0x84, 0x9d, 0x9b, 0x87, 0x00, 0x00, 0x00, 0x00, 0x00};

namespace {

constexpr std::size_t kNameCapacity = 260;
constexpr std::uint32_t kSourceKind = 8;

FxString fromLiteral(const char* text)
{
    return toFxString(QString::fromUtf8(text));
}

// The name is what a host gives back to open the source; the other three texts are for people.
CPropSource describeSource(const CAppInfo& info)
{
    CPropSource source;
    ptucsncpy(source.name, info.sourceName.c_str(), std::size(source.name));
    ptucsncpy(source.application, info.publishedName.c_str(), std::size(source.application));
    ptucsncpy(source.longName, info.publishedName.c_str(), std::size(source.longName));
    ptucsncpy(source.description, info.publishedName.c_str(), std::size(source.description));
    source.kind = kSourceKind;
    source.flags = 0;
    return source;
}

} // namespace

// Id 0 is the source manager, though the plug-in's interface is the first of the bases: a host that
// asks for no interface in particular wants to see sources.
std::uint32_t CAppManager::QueryInterface(long id, void** out)
{
    switch (id) {
    case kFxIdPlugin:
        *out = static_cast<IFxPlugin*>(this);
        break;
    case kFxIdSourceManager:
    case kFxIdDefault:
        *out = static_cast<ISourceManager*>(this);
        break;
    case kFxIdSourceManagerCapabilities:
        *out = static_cast<ISourceManagerCapabilities*>(this);
        break;
    default:
        *out = nullptr;
        return 0;
    }
    AddRef();
    return 1;
}

std::uint32_t CAppManager::AddRef()
{
    return ++m_references;
}

std::uint32_t CAppManager::Release()
{
    if (--m_references != 0)
        return m_references;
    delete this;
    return 0;
}

FxStatus CAppManager::GetPluginName(unsigned short* buffer, unsigned int capacity)
{
    static const Pt::ConstString kName("Tevoro Application Manager");
    if (buffer)
        ptucsncpy(buffer, kName, std::min<std::size_t>(capacity, kNameCapacity));
    return kFxOk;
}

FxStatus CAppManager::GetPluginType()
{
    return 0;
}

FxStatus CAppManager::GetPluginUID(unsigned char (&bytes)[16])
{
    std::copy_n(m_appManagerUID, 16, bytes);
    return kFxOk;
}

FxStatus CAppManager::OnLoad()
{
    return kFxOk;
}

FxStatus CAppManager::OnUnload()
{
    return kFxOk;
}

// Set to initialised last: after an exception the manager is not. Nobody in this system reads the
// short name and the two paths.
FxStatus CAppManager::Init()
{
    return fxGuard([this] {
        m_info.publishedName = fromLiteral("Velmo Tevoro NX");
        m_info.sourceName = fromLiteral("Velmo Tevoro NX");
        m_info.shortName = fromLiteral("NX");
        m_info.programPath = fromLiteral("C:\\DummyApp.exe");
        m_info.iconPath = m_info.programPath;
        m_initialised = 1;
        return kFxOk;
    });
}

FxStatus CAppManager::EnumSources(IEnumSource** out)
{
    if (m_initialised == 0)
        return kFxErrNotInitialised;
    if (!out || *out) // an enumerator that is there already would be lost
        return kFxErrBadRecord;
    return fxGuard([this, out] {
        auto* sources = new (std::nothrow) CEnumSource;
        if (!sources)
            return kFxErrOutOfMemory;
        // Held until it is handed out: what throws before that takes the enumerator with it.
        auto reference = FxRef<CEnumSource>::share(sources);
        sources->append(describeSource(m_info));
        *out = reference.detach();
        return kFxOk;
    });
}

FxStatus CAppManager::CreateSource(const unsigned short* name, ISource** out)
{
    if (!name || !out || *out)
        return kFxErrBadRecord;
    // Letter by letter, in this case: only the name that EnumSources has published opens. Before
    // Init that is the empty text.
    if (ptucscmp(name, m_info.sourceName.c_str()) != 0)
        return kFxErrBadRecord;
    return fxGuard([this, out] {
        auto* source = new (std::nothrow) CAppSource(m_info);
        if (!source)
            return kFxErrOutOfMemory;
        source->AddRef(); // the host's; the manager keeps none, and a source outlives it
        *out = source;
        return kFxOk;
    });
}

// The one source never comes or goes, so that there are no events to be told of; formats and name
// are the sink's to know.
FxStatus CAppManager::RegisterEventCallbackFunc(ICallbackInterface*, eSourceEventType)
{
    return kFxErrNotImplemented;
}

FxStatus CAppManager::UnRegisterEventCallbackFunc(ICallbackInterface*)
{
    return kFxErrNotImplemented;
}

FxStatus CAppManager::SetSupportedFileFormats(IFileFormat*)
{
    return kFxErrNotImplemented;
}

FxStatus CAppManager::SetApplicationName(const unsigned short*)
{
    return kFxErrNotImplemented;
}

FxStatus CAppManager::GetPushPullStatus(eSourceManagerCap& out)
{
    out = kFxCapPush;
    return kFxOk;
}

FxStatus CAppManager::GetSourceDetectionStatus(eSourceManagerDetectCap& out)
{
    out = kFxDetectNone;
    return kFxOk;
}
