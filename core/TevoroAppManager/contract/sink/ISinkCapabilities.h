// What the sink can do, and small questions of form.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFileFormat.h"
#include "TevoroAppManager/contract/IFxBase.h"
#include "TevoroAppManager/contract/sink/ISinkMediaHandler.h"
#include "TevoroAppManager/contract/sink/ISinkUtilHandler.h"

// Appears only in an operation that this plug-in refuses.
class ISinkStateInfo : public IFxBase {
protected:
    ~ISinkStateInfo() = default;
};

class ISinkCapabilities : public IFxBase {
public:
    // Stores the list of file types with one reference for the caller. It is built at the first
    // call and is the same object afterwards: set the extensions of ISinkCapabilities2 before.
    virtual FxStatus GetSupportedFileFormatList(IFileFormat*& out) = 0;

    virtual FxStatus GetSinkStateInformation(ISinkStateInfo*& out) = 0; // kFxErrNotSupported
    virtual FxStatus GetSinkMediaHandler(ISinkMediaHandler*& out) = 0; // kFxErrNotSupported
    virtual FxStatus GetSinkSupportInfo(long& out) = 0; // 0

    // Stores the sink's ISinkUtilHandler interface with one reference for the caller.
    virtual FxStatus GetSinkUtilHandler(ISinkUtilHandler*& out) = 0;

protected:
    ~ISinkCapabilities() = default;
};

class ISinkCapabilities2 : public ISinkCapabilities {
public:
    // Extensions of camera raw files, lower case, separated by commas. They decide what is
    // converted to DNG.
    virtual FxStatus SetRDXSupportedExtensions(unsigned short* text) = 0;

    // Further image extensions, separated by commas, for the list of file types.
    virtual FxStatus SetZQPluginSupportedExtensions(unsigned short* text) = 0;

    virtual FxStatus GetForceFourDigitSequenceNumber(bool& out) = 0; // true
    virtual FxStatus GetDateSeperatorChar(char& out) = 0; // the zero character: none
    virtual FxStatus GetSeperatorChar(char& out) = 0; // "_"

    // Copies the longest label that the sink shows during a download, so that the host can size
    // its progress display; at most `capacity` units.
    virtual FxStatus GetCopyProgressLongestLabelString(unsigned short* buffer, int capacity) = 0;

protected:
    ~ISinkCapabilities2() = default;
};

class ISinkAdvancedCapabilities : public IFxBase {
public:
    virtual FxStatus GetSinkAdvancedCapability(long& out) = 0; // 14

protected:
    ~ISinkAdvancedCapabilities() = default;
};
