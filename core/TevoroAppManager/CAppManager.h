// The plug-in object and its source manager: publishes the one source, the browser application,
// and opens the sink behind it. Made by FxPluginMain, which gives the host its one reference.
// Called from one thread; counted with a plain integer.
#pragma once

#include "TevoroAppManager/CAppInfo.h"
#include "TevoroAppManager/contract/IFxPlugin.h"
#include "TevoroAppManager/contract/ISourceManager.h"

#include <cstdint>

class CAppManager final : public IFxPlugin,
                          public ISourceManager,
                          public ISourceManagerCapabilities {
public:
    // The plug-in's identifier; stamped into every CPropSource too.
    static const unsigned char m_appManagerUID[16];

    CAppManager() = default;
    CAppManager(const CAppManager&) = delete;
    CAppManager& operator=(const CAppManager&) = delete;

    std::uint32_t QueryInterface(long id, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    FxStatus GetPluginName(unsigned short* buffer, unsigned int capacity) override;
    FxStatus GetPluginType() override;
    FxStatus GetPluginUID(unsigned char (&bytes)[16]) override;
    FxStatus OnLoad() override;
    FxStatus OnUnload() override;

    FxStatus Init() override;
    FxStatus EnumSources(IEnumSource** out) override;
    FxStatus CreateSource(const unsigned short* name, ISource** out) override;
    FxStatus RegisterEventCallbackFunc(
        ICallbackInterface* callback, eSourceEventType eventType) override;
    FxStatus UnRegisterEventCallbackFunc(ICallbackInterface* callback) override;
    FxStatus SetSupportedFileFormats(IFileFormat* formats) override;
    FxStatus SetApplicationName(const unsigned short* name) override;

    FxStatus GetPushPullStatus(eSourceManagerCap& out) override;
    FxStatus GetSourceDetectionStatus(eSourceManagerDetectCap& out) override;

private:
    ~CAppManager() = default;

    std::int32_t m_initialised = 0;
    std::uint32_t m_references = 0;
    CAppInfo m_info;
};
