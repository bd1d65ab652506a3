// Enumerators of the contract.
#pragma once

#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

// Walks a list of records. At its end Next gives kFxEndOfList and leaves the record alone.
class IEnum : public IFxBase {
public:
    // Stores the number of elements (or of bytes, for IEnumArbitraryData).
    virtual FxStatus GetCount(long* out) = 0;

    // Fills the caller's record with the next element. A record of another tag or size gives
    // kFxErrBadRecord and is not touched.
    virtual FxStatus Next(CProp* record) = 0;

    // Back to the first element.
    virtual FxStatus Reset() = 0;

protected:
    ~IEnum() = default;
};

// The sources of a manager: records are CPropSource.
class IEnumSource : public IEnum {
protected:
    ~IEnumSource() = default;
};

// A byte string that is read in pieces: records are CPropBuffer.
class IEnumArbitraryData : public IEnum {
protected:
    ~IEnumArbitraryData() = default;
};
