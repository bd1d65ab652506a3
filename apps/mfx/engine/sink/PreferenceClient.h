// The host's use of the preference store: texts by key in the sink's domain of one folder. Owns its
// reference on the store. One thread.
#pragma once

#include "TevoroAppManager/contract/FxRef.h"
#include "TevoroAppManager/contract/IPtPreferences.h"

#include <memory>
#include <optional>
#include <string>

namespace mfx {

class PreferenceClient {
public:
    // Loads the store's library and opens the folder, which is made when it is missing. Throws
    // SystemPartError when the library is missing.
    PreferenceClient(const std::string& libraryPath, const std::string& folder);

    // Whether there is a store in the folder, whole or not.
    static bool standsIn(const std::string& folder);

    // Whether stored preferences were there and whole.
    bool wasLoaded() const { return m_loaded; }

    std::optional<std::string> text(const std::string& key);
    void setText(const std::string& key, const std::string& value);

    // False when they could not be written down.
    bool save();

private:
    FxRef<IPtPreferences> m_store;
    bool m_loaded = false;
};

} // namespace mfx
