// The manager of sources: what a host asks for after FxPluginMain.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IEnum.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IFileFormat;
class ISource;

// Appears only in operations that this plug-in refuses.
class ICallbackInterface : public IFxBase {
protected:
    ~ICallbackInterface() = default;
};

class ISourceManager : public IFxBase {
public:
    // Makes the manager ready; may be called again. kFxErrException when it fails.
    virtual FxStatus Init() = 0;

    // Stores an enumerator with one reference for the caller. `*out` comes in as null.
    // kFxErrNotInitialised before Init, else kFxErrBadRecord when `*out` is set.
    virtual FxStatus EnumSources(IEnumSource** out) = 0;

    // Opens the source with this name (CPropSource::name, compared exactly) and stores it with one
    // reference for the caller. `*out` comes in as null; else, and for another name,
    // kFxErrBadRecord. A source does not depend on the manager's later life.
    virtual FxStatus CreateSource(const unsigned short* name, ISource** out) = 0;

    virtual FxStatus RegisterEventCallbackFunc(
        ICallbackInterface* callback, eSourceEventType eventType) = 0;
    virtual FxStatus UnRegisterEventCallbackFunc(ICallbackInterface* callback) = 0;
    virtual FxStatus SetSupportedFileFormats(IFileFormat* formats) = 0;
    virtual FxStatus SetApplicationName(const unsigned short* name) = 0;

protected:
    ~ISourceManager() = default;
};

class ISourceManagerCapabilities : public IFxBase {
public:
    virtual FxStatus GetPushPullStatus(eSourceManagerCap& out) = 0;
    virtual FxStatus GetSourceDetectionStatus(eSourceManagerDetectCap& out) = 0;

protected:
    ~ISourceManagerCapabilities() = default;
};
