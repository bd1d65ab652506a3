#include "mfx/engine/sink/SinkModule.h"

#include "mfx/texts/Texts.h"
#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtUnicode.h"

namespace mfx {

namespace {

// The library stays loaded to the end of the process, also when what follows throws: objects of the
// plug-in may be referred to until then.
FxPluginMainFunction loadEntry(const std::string& path)
{
    const PtModuleRef module = PtLoadLibrary(Pt::toUtf16(path).c_str());
    if (!module)
        throw SystemPartError(
            text("$$$/Mfx/System/NoPlugin=cannot load the plug-in %1: install mfx again", {path}));
    const auto entry =
        reinterpret_cast<FxPluginMainFunction>(PtGetProcAddress(module, kFxPluginMainName));
    if (!entry)
        throw SystemPartError(
            text("$$$/Mfx/System/NotAPlugin=%1 is no plug-in of mfx: it has no %2",
                {path, kFxPluginMainName}));
    return entry;
}

// A step of the contract by its name there.
void require(bool holds, const char* step)
{
    if (!holds)
        throw SystemPartError(
            text("$$$/Mfx/System/PluginRefuses=the plug-in refuses to work: %1", {step}));
}

} // namespace

// Each step of the contract is checked by itself and named when it fails: a plug-in of another
// version most often stops at one of them, and the name is all that a report of it can say.
SinkModule::SinkModule(const std::string& path)
{
    void* plugin = nullptr;
    require(loadEntry(path)(&plugin) == 1 && plugin != nullptr, kFxPluginMainName);
    m_plugin.reset(static_cast<IFxPlugin*>(plugin));
    void* manager = nullptr;
    m_plugin->QueryInterface(kFxIdSourceManager, &manager);
    m_manager.reset(static_cast<ISourceManager*>(manager));
    require(m_manager && m_manager->Init() == kFxOk, "Init");
    FxRef<IEnumSource> sources;
    require(m_manager->EnumSources(sources.receive()) == kFxOk && sources, "EnumSources");
    m_source.tag = kFxTagSource;
    m_source.size = kFxSizeSource;
    if (sources->Next(&m_source) != kFxOk)
        throw SystemPartError(text("$$$/Mfx/System/PluginWithoutSources=the plug-in refuses to "
                                   "work: its list of sources is empty"));
    require(m_manager->CreateSource(m_source.name, m_sink.receive()) == kFxOk && m_sink,
        "CreateSource");
}

void* SinkModule::queryInterface(long id) const
{
    void* out = nullptr;
    m_sink->QueryInterface(id, &out);
    if (!out)
        throw SystemPartError(text("$$$/Mfx/System/PluginWithoutInterface=the plug-in refuses to "
                                   "work: it lacks an interface"));
    return out;
}

} // namespace mfx
