#pragma once

#include "platform/common/services/PtException.h"

namespace Pt {

// The error number of the last system call that failed in this thread.
int ErrorCode();

// A failed system call: the error number, with the system's text as the reason, severity 1.
class ExSystem final : public Exception {
public:
    static constexpr ExSeverity kSeverity = 1;

    ExSystem(int error, const ExWhere& where);
    ExSystem(int error, const ExWhere& where, const Exception& cause);

    // Unlike its base's, a plain copy.
    ExSystem* clone() const override;

    // The system's own number, as in errno.
    int errorCode() const { return m_error; }

    // A number of this layer for the failure, 33000 to 33014; -1 where it has none.
    int genericErrorCode() const;

    // The system's text for an error number; valid until the next call with another number.
    const unsigned short* getErrorString(int error);

private:
    struct MapRow {
        int genericCode;
        int systemError;
    };
    static const MapRow mErrorMap_[];
    static int mapSize_();

    int m_error;
    int m_textError;
    WideText m_text;
};

} // namespace Pt
