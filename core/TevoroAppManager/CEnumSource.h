// Enumerator over the manager's sources. Holds them by value; counted with a plain integer.
#pragma once

#include "TevoroAppManager/contract/IEnum.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class CEnumSource final : public IEnumSource {
public:
    CEnumSource() = default;
    CEnumSource(const CEnumSource&) = delete;
    CEnumSource& operator=(const CEnumSource&) = delete;

    void append(const CPropSource& source) { m_sources.push_back(source); }

    std::uint32_t QueryInterface(long id, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    FxStatus GetCount(long* out) override;
    FxStatus Next(CProp* record) override;
    FxStatus Reset() override;

private:
    ~CEnumSource() = default;

    std::vector<CPropSource> m_sources;
    std::size_t m_cursor = 0;
    std::uint32_t m_references = 0;
};
