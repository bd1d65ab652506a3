// The host's list of the items of one download.
#pragma once

#include "TevoroAppManager/contract/sink/ISinkEnumMediaItem.h"
#include "core/TevoroAppManager/support/FxUnits.h"

#include <functional>
#include <string>
#include <vector>

namespace test {

class HostItems final : public ISinkEnumMediaItem {
public:
    // The items are numbered from 100.
    explicit HostItems(std::vector<std::string> folders = {})
        : m_folders(std::move(folders))
    {
    }

    std::uint32_t QueryInterface(long, void**) override { return 0; }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
    std::uint32_t Release() override { return static_cast<std::uint32_t>(--references); }
    FxStatus GetCount(long& out) override
    {
        out = static_cast<long>(m_folders.size());
        return countStatus;
    }
    FxStatus Next(CPropSinkMediaItem& record) override
    {
        isRecordWellMade = isRecordWellMade && record.tag == 3 && record.size == 2104;
        if (m_cursor == m_folders.size())
            return kFxEndOfList;
        record.itemKey = static_cast<std::int32_t>(100 + m_cursor);
        put(record.folder, m_folders[m_cursor++]);
        return kFxOk;
    }
    FxStatus Reset() override
    {
        m_cursor = 0;
        return kFxOk;
    }
    FxStatus Unused1() override { return unexpected(); }
    FxStatus Unused2() override { return unexpected(); }
    FxStatus GetSource(CPropSource& record) override
    {
        isRecordWellMade = isRecordWellMade && record.tag == 2 && record.size == 3640;
        if (changeSource)
            changeSource(record);
        return sourceStatus;
    }

    std::function<void(CPropSource&)> changeSource;
    FxStatus sourceStatus = kFxOk;
    FxStatus countStatus = kFxOk;
    bool isRecordWellMade = true;
    int unexpectedCalls = 0;
    int references = 0;

private:
    FxStatus unexpected()
    {
        ++unexpectedCalls;
        return kFxErrNotSupported;
    }

    std::vector<std::string> m_folders;
    std::size_t m_cursor = 0;
};

} // namespace test
