#include "TevoroAppManager/CEnumSource.h"

#include "TevoroAppManager/CAppManager.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "platform/common/text/PtUcs.h"

#include <algorithm>

namespace {

// A host may use one record for many sources: a short text must not leave the end of a longer one
// behind it.
template <std::size_t N>
void copyText(unsigned short (&to)[N], const unsigned short (&from)[N])
{
    std::fill_n(to, N, static_cast<unsigned short>(0));
    ptucsncpy(to, from, N);
}

} // namespace

std::uint32_t CEnumSource::QueryInterface(long id, void** out)
{
    if (id != kFxIdEnumSource && id != kFxIdListItself && id != kFxIdDefault) {
        *out = nullptr;
        return 0;
    }
    *out = static_cast<IEnumSource*>(this);
    AddRef();
    return 1;
}

std::uint32_t CEnumSource::AddRef()
{
    return ++m_references;
}

std::uint32_t CEnumSource::Release()
{
    if (--m_references != 0)
        return m_references;
    delete this;
    return 0;
}

FxStatus CEnumSource::GetCount(long* out)
{
    if (!out)
        return kFxErrBadRecord;
    *out = static_cast<long>(m_sources.size());
    return kFxOk;
}

FxStatus CEnumSource::Next(CProp* record)
{
    if (!record || record->tag != kFxTagSource || record->size != kFxSizeSource)
        return kFxErrBadRecord;
    if (m_cursor == m_sources.size())
        return kFxEndOfList;
    // Field by field and not as a whole: the record's other fields are the host's.
    const CPropSource& source = m_sources[m_cursor++];
    auto& to = *static_cast<CPropSource*>(record);
    copyText(to.longName, source.longName);
    copyText(to.description, source.description);
    copyText(to.application, source.application);
    copyText(to.name, source.name);
    // Stamped in here and not stored: every source of this plug-in says which plug-in opens it.
    std::copy_n(CAppManager::m_appManagerUID, 16, to.identifier);
    to.flags = source.flags;
    to.kind = source.kind;
    return kFxOk;
}

FxStatus CEnumSource::Reset()
{
    m_cursor = 0;
    return kFxOk;
}
