// Thumbnail handler of the sink. Its two thumbnail operations differ in signature from those of
// the interface, so the class stays abstract and nobody makes one: GetSinkMediaHandler refuses.
#pragma once

#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/sink/ISinkMediaHandler.h"

class CAppMediaHandler : public ISinkMediaHandler {
public:
    using ISinkMediaHandler::GetThumbnailData;
    using ISinkMediaHandler::GetThumbnailSize;

    std::uint32_t QueryInterface(long id, void** out) override
    {
        if (id != kFxIdSinkMediaHandler) {
            *out = nullptr;
            return 0;
        }
        *out = static_cast<ISinkMediaHandler*>(this);
        AddRef();
        return 1;
    }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override
    {
        if (--m_references != 0)
            return m_references;
        delete this;
        return 0;
    }

    FxStatus GetThumbnailSize(long&) { return kFxErrNotSupported; }
    FxStatus GetThumbnailData(const unsigned short*, unsigned char**, long)
    {
        return kFxErrNotImplemented;
    }

protected:
    virtual ~CAppMediaHandler() = default;

private:
    std::uint32_t m_references = 0;
};
