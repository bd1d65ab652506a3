#include "mfx/engine/sink/SinkItemList.h"

#include "mfx/engine/sink/FxUnits.h"

namespace mfx {

void fillRecord(CPropSinkMediaItem& record, const SinkItem& item)
{
    record.itemKey = static_cast<std::int32_t>(item.key);
    setField(record.deviceName, item.deviceName);
    setField(record.fileName, item.fileName);
    setField(record.folder, item.folder);
}

FxStatus SinkItemList::GetCount(long& out)
{
    out = static_cast<long>(m_items.count);
    return kFxOk;
}

// One record at a time into memory of the sink: a card may have ten thousand items.
FxStatus SinkItemList::Next(CPropSinkMediaItem& record)
{
    if (m_next == m_items.count)
        return kFxEndOfList;
    fillRecord(record, m_items.at(m_next++));
    return kFxOk;
}

FxStatus SinkItemList::Reset()
{
    m_next = 0;
    return kFxOk;
}

FxStatus SinkItemList::GetSource(CPropSource& record)
{
    setField(record.name, m_source);
    setField(record.longName, m_source);
    return kFxOk;
}

} // namespace mfx
