#include "platform/common/services/PtModule.h"

#include "platform/common/services/ModuleLoader.h"
#include "platform/common/text/PtUnicode.h"
#include "platform/common/threads/Lock.h"

#include <map>
#include <memory>
#include <string>

struct PtModule {
    std::string file;
    Pt::ModuleHandle handle = nullptr;
    bool hasLoaded = false; // as against found loaded
};

namespace {

// The references that are out. It keeps those that are never ended reachable for leak checkers, and
// is never destroyed: modules may be in use until the last static object has gone.
class Modules {
public:
    PtModuleRef add(PtModule module)
    {
        auto owned = std::make_unique<PtModule>(std::move(module));
        const PtModuleRef reference = owned.get();
        const Pt::Locked locked(m_lock);
        m_modules.emplace(reference, std::move(owned));
        return reference;
    }

    std::unique_ptr<PtModule> take(PtModuleRef reference)
    {
        const Pt::Locked locked(m_lock);
        // Looked up instead of trusted: a reference that was ended twice is ignored.
        const auto found = m_modules.find(reference);
        if (found == m_modules.end())
            return nullptr;
        // The module is closed by the caller, without the lock: its destructors may use modules
        // themselves.
        std::unique_ptr<PtModule> taken = std::move(found->second);
        m_modules.erase(found);
        return taken;
    }

private:
    Pt::Lock m_lock;
    std::map<PtModuleRef, std::unique_ptr<PtModule>> m_modules TEVORO_GUARDED_BY(m_lock);
};

Modules& modules()
{
    static Modules* const instance = new Modules;
    return *instance;
}

std::string fileAt(const unsigned short* path)
{
    return Pt::moduleFile(Pt::toUtf8(path));
}

PtModuleRef referenceTo(std::string file, Pt::ModuleHandle handle, bool hasLoaded)
{
    return handle ? modules().add({std::move(file), handle, hasLoaded}) : nullptr;
}

void closeIfLoaded(const PtModule& module)
{
    if (module.handle)
        Pt::closeModule(module.handle);
}

} // namespace

PtModuleRef PtCreateBundle(const unsigned short* path)
{
    std::string file = fileAt(path);
    // Nothing is loaded: the reference only stands for the file.
    return file.empty() ? nullptr : modules().add({std::move(file), nullptr, false});
}

PtModuleRef PtLoadLibrary(const unsigned short* path)
{
    std::string file = fileAt(path);
    const Pt::ModuleHandle handle = file.empty() ? nullptr : Pt::openModule(file);
    return referenceTo(std::move(file), handle, true);
}

PtModuleRef PtGetModuleHandle(const unsigned short* path)
{
    std::string file = fileAt(path);
    const Pt::ModuleHandle handle = file.empty() ? nullptr : Pt::openLoadedModule(file);
    return referenceTo(std::move(file), handle, false);
}

bool PtUnloadLibrary(PtModuleRef module)
{
    if (const auto ended = modules().take(module))
        closeIfLoaded(*ended);
    return true;
}

void PtReleaseModuleRef(PtModuleRef module)
{
    const auto ended = modules().take(module);
    // A module that was loaded stays loaded, on purpose; only the reference ends. Finding a loaded
    // one had counted it once more.
    if (ended && !ended->hasLoaded)
        closeIfLoaded(*ended);
}

void* PtGetProcAddress(PtModuleRef module, const char* name)
{
    return module && module->handle && name ? Pt::moduleSymbol(module->handle, name) : nullptr;
}
