// The module object of the library and its one exported function.
//
// One object for the process, there from loading to unloading; it needs no construction and no
// destruction, so it can be used at any point of a program's start and end. One thread only.
#pragma once

#include "TevoroAppManager/contract/IPtPreferences.h"
#include "preference_xml_parser/PreferenceStore.h"

namespace preferences {

class PreferenceModule final : public IPtPreferencesModule {
public:
    bool GetInterface(const unsigned char* id16, void** out) override;
    void Destroy() override;

private:
    StoreChain m_stores;
};

} // namespace preferences

extern "C" __attribute__((visibility("default"))) bool PtModuleMain(void** out);
