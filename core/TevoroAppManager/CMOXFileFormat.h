// The sink's list of file types. Counted atomically, since a host may release it from another
// thread; all else is called from one.
#pragma once

#include "TevoroAppManager/contract/IFileFormat.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

class CMOXFileFormat final : public IFileFormat {
public:
    CMOXFileFormat() = default;
    CMOXFileFormat(const CMOXFileFormat&) = delete;
    CMOXFileFormat& operator=(const CMOXFileFormat&) = delete;

    std::uint32_t QueryInterface(long id, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    FxStatus Reset() override;
    FxStatus GetFormatCount(unsigned long& out) override;
    FxStatus ClearFormatList() override;
    FxStatus SetFormat(CPropFileFormat& record) override;
    FxStatus GetFormat(CPropFileFormat& record) override;
    FxStatus SetMultipleFormat(
        CPropFileFormat*& records, unsigned long count, unsigned long& added) override;
    FxStatus GetMultipleFormat(
        CPropFileFormat*& records, unsigned long count, unsigned long& got) override;

private:
    ~CMOXFileFormat() = default;

    std::atomic<std::uint32_t> m_references{0};
    std::vector<CPropFileFormat> m_formats;
    std::size_t m_cursor = 0;
};
