// Implemented by the host: messages to the user. Texts are UTF-16, zero-terminated, and valid
// during the call. The trailing pointers are always null.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

inline constexpr int kFxStyleFilesCopied = 17; // the files-copied notice
inline constexpr int kFxStyleDeleteQuestion = 28; // the question whether to delete the originals
inline constexpr int kFxStyleFailure = 33; // failure notices

class IDisplayMsgHandler : public IFxBase {
public:
    virtual FxStatus DisplayMessage(const unsigned short* title,
        const unsigned short* text,
        int* style,
        void* unused1,
        void* unused2) = 0;

    // `answer` comes in as 1, which means no; any other value on return is a yes.
    virtual FxStatus DisplayQuestion(const unsigned short* title,
        const unsigned short* text,
        int* style,
        int* answer,
        void* unused1,
        void* unused2,
        void* unused3,
        void* unused4,
        void* unused5) = 0;

protected:
    ~IDisplayMsgHandler() = default;
};
