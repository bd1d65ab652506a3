// The plug-in module, loaded and opened as far as its one sink. Owns the plug-in's references and
// gives them back in order; the module itself stays loaded. One thread, the program's main thread.
#pragma once

#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxRef.h"
#include "TevoroAppManager/contract/IFxPlugin.h"
#include "TevoroAppManager/contract/ISource.h"
#include "TevoroAppManager/contract/ISourceManager.h"

#include <stdexcept>
#include <string>

namespace mfx {

// A part of the system is missing or broken; the text names it and says what to do.
class SystemPartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class SinkModule {
public:
    // Loads the module at a path and opens its first source. Throws SystemPartError.
    explicit SinkModule(const std::string& path);

    // Another interface of the sink, with a reference of its own. Throws SystemPartError when the
    // sink does not have it.
    template <typename Interface>
    FxRef<Interface> query(long id) const
    {
        return FxRef<Interface>(static_cast<Interface*>(queryInterface(id)));
    }

    const CPropSource& source() const { return m_source; }

private:
    void* queryInterface(long id) const;

    CPropSource m_source;
    FxRef<IFxPlugin> m_plugin;
    FxRef<ISourceManager> m_manager;
    FxRef<ISource> m_sink;
};

} // namespace mfx
