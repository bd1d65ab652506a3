// Saved preferences of the sink and its host.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

#include <cstdint>

class ISinkUtilHandler : public IFxBase {
public:
    enum eDisplayStringType : std::int32_t {};

    virtual FxStatus DisplayHelp(void* window) = 0; // kFxErrNotSupported

    // `record` is a CPropAppPreferences3; another tag or size gives kFxErrBadRecord. GetPreferences
    // fills the record and the bound controls of the panel; without a stored file it gives fixed
    // defaults. The record's strings then belong to the caller.
    virtual FxStatus GetPreferences(CProp& record) = 0;

    // Stores the record and the state of the controls. kFxErrNotInitialised without a store.
    virtual FxStatus SetPreferences(CProp& record) = 0;

    // kFxErrNotSupported
    virtual FxStatus GetDisplayString(
        eDisplayStringType type, unsigned short* buffer, unsigned int capacity) = 0;

protected:
    ~ISinkUtilHandler() = default;
};

class ISinkUtilHandler2 : public ISinkUtilHandler {
protected:
    ~ISinkUtilHandler2() = default;
};
