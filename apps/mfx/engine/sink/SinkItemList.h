// The items of a download as the sink walks them. Borrows the items.
#pragma once

#include "TevoroAppManager/contract/sink/ISinkEnumMediaItem.h"
#include "mfx/engine/sink/HostObject.h"
#include "mfx/engine/sink/SinkSession.h"

#include <string>

namespace mfx {

// The item's key, names and folder; the rest of the record stays.
void fillRecord(CPropSinkMediaItem& record, const SinkItem& item);

class SinkItemList final : public HostObject<ISinkEnumMediaItem> {
public:
    SinkItemList(std::string source, const SinkItems& items)
        : m_source(std::move(source))
        , m_items(items)
    {
    }

    FxStatus GetCount(long& out) override;
    FxStatus Next(CPropSinkMediaItem& record) override;
    FxStatus Reset() override;
    FxStatus Unused1() override { return kFxErrNotImplemented; }
    FxStatus Unused2() override { return kFxErrNotImplemented; }
    FxStatus GetSource(CPropSource& record) override;

private:
    const std::string m_source;
    const SinkItems& m_items;
    std::size_t m_next = 0;
};

} // namespace mfx
