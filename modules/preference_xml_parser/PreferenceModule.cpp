#include "preference_xml_parser/PreferenceModule.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace preferences {

bool PreferenceModule::GetInterface(const unsigned char* id16, void** out)
{
    if (out == nullptr)
        return false;
    *out = nullptr;
    if (id16 == nullptr
        || !std::equal(std::begin(kIPtPreferencesID), std::end(kIPtPreferencesID), id16))
        return false;
    IPtPreferences* const store = new (std::nothrow) PreferenceStore(m_stores);
    *out = store;
    return store != nullptr;
}

// The object is the library's own and stays as long as that; stores count for themselves.
void PreferenceModule::Destroy() { }

} // namespace preferences

bool PtModuleMain(void** out)
{
    // Initialised at compile time: no guard is needed, and no destructor runs when the library is
    // unloaded.
    static constinit preferences::PreferenceModule module;
    if (out == nullptr)
        return false;
    *out = static_cast<IPtPreferencesModule*>(&module);
    return true;
}
