// List of the file types that a sink takes; records are CPropFileFormat. The reference count is
// atomic, since a host may release the list from another thread; all else is called from one.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class IFileFormat : public IFxBase {
public:
    virtual FxStatus Reset() = 0; // back to the first record
    virtual FxStatus GetFormatCount(unsigned long& out) = 0;
    virtual FxStatus ClearFormatList() = 0; // the place of GetFormat is not moved

    // Appends a record; kFxErrBadArgument when an equal one is there (same extension in any case of
    // letters, same mask), kFxErrBadRecord for a record of another tag or size.
    virtual FxStatus SetFormat(CPropFileFormat& record) = 0;

    // Fills the record with the next one; kFxEndOfList behind the last.
    virtual FxStatus GetFormat(CPropFileFormat& record) = 0;

    // SetFormat for each of `count` records; `added` counts those that were taken. A count of zero
    // gives kFxErrBadRecord.
    virtual FxStatus SetMultipleFormat(
        CPropFileFormat*& records, unsigned long count, unsigned long& added) = 0;

    // GetFormat `count` times into the element numbered `got`, which counts the successes. A count
    // of zero gives kFxErrBadRecord.
    virtual FxStatus GetMultipleFormat(
        CPropFileFormat*& records, unsigned long count, unsigned long& got) = 0;

protected:
    ~IFileFormat() = default;
};
