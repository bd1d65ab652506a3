#include "mfx/engine/sink/PreferenceClient.h"

#include "mfx/engine/sink/SinkModule.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtUnicode.h"

namespace mfx {

namespace {

constexpr int kDomain = 3; // the sink's
constexpr int kMaxTextLength = 4096; // units; a folder's path is the longest there is

// nullptr when it cannot be loaded. It is never unloaded: the store that is asked for lives in it.
PtModuleMainFunction libraryEntry(const std::string& libraryPath)
{
    const PtModuleRef library = PtLoadLibrary(Pt::toUtf16(libraryPath).c_str());
    return library
        ? reinterpret_cast<PtModuleMainFunction>(PtGetProcAddress(library, kPtModuleMainName))
        : nullptr;
}

FxRef<IPtPreferences> openStore(const std::string& libraryPath)
{
    void* module = nullptr;
    void* store = nullptr;
    const auto entry = libraryEntry(libraryPath);
    if (entry && entry(&module) && module)
        static_cast<IPtPreferencesModule*>(module)->GetInterface(kIPtPreferencesID, &store);
    if (!store)
        throw SystemPartError(text("$$$/Mfx/System/NoPreferenceLibrary=cannot load the preference "
                                   "library %1: install mfx again",
            {libraryPath}));
    return FxRef<IPtPreferences>(static_cast<IPtPreferences*>(store));
}

} // namespace

PreferenceClient::PreferenceClient(const std::string& libraryPath, const std::string& folder)
    : m_store(openStore(libraryPath))
{
    const Pt::WideText path = Pt::toUtf16(folder);
    m_loaded = m_store->InitStore(path.c_str(), static_cast<int>(path.size()))
        && m_store->LoadStore(kDomain);
}

// A store that may not be looked at counts as there: whoever takes it for missing would go on as if
// nothing had ever been remembered, a second copy perhaps.
bool PreferenceClient::standsIn(const std::string& folder)
{
    std::error_code error;
    const std::string file = folder + "/preferences-" + std::to_string(kDomain) + ".xml";
    return Pt::fileStatus(file, error)
        || (error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory);
}

std::optional<std::string> PreferenceClient::text(const std::string& key)
{
    Pt::WideText buffer(kMaxTextLength, 0);
    if (!m_store->GetValue(kDomain, Pt::toUtf16(key).c_str(), buffer.data(), kMaxTextLength))
        return std::nullopt;
    return Pt::toUtf8(buffer.c_str());
}

void PreferenceClient::setText(const std::string& key, const std::string& value)
{
    const Pt::WideText units = Pt::toUtf16(value);
    m_store->SetValue(
        kDomain, Pt::toUtf16(key).c_str(), units.c_str(), static_cast<int>(units.size()));
}

bool PreferenceClient::save()
{
    return m_store->SaveStore(kDomain);
}

} // namespace mfx
