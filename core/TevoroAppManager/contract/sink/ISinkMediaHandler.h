// Thumbnails of a sink. This plug-in hands none out: GetSinkMediaHandler refuses.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IFxBase.h"

class ISinkMediaHandler : public IFxBase {
public:
    virtual FxStatus GetThumbnailSize(unsigned long& out) = 0;
    virtual FxStatus GetThumbnailData(
        const unsigned short* path, unsigned char*& out, unsigned long size) = 0;

protected:
    ~ISinkMediaHandler() = default;
};
