#include "TevoroAppManager/CMOXFileFormat.h"

#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "platform/common/text/PtUcs.h"

#include <algorithm>

namespace {

bool isFormatRecord(const CPropFileFormat& record)
{
    return record.size == kFxSizeFileFormat && record.tag == kFxTagFileFormat;
}

unsigned short lowered(unsigned short unit)
{
    unsigned short lower = unit;
    ptucslowerCase(unit, &lower);
    return lower;
}

// ptucsicmp does not fold case; the same extension in another case is a duplicate all the same.
bool isSameFormat(const CPropFileFormat& a, const CPropFileFormat& b)
{
    if (a.mediaMask != b.mediaMask)
        return false;
    for (std::size_t i = 0; i < std::size(a.extension); ++i) {
        if (lowered(a.extension[i]) != lowered(b.extension[i]))
            return false;
        if (a.extension[i] == 0)
            break;
    }
    return true;
}

} // namespace

std::uint32_t CMOXFileFormat::QueryInterface(long id, void** out)
{
    if (id != kFxIdFileFormat && id != kFxIdListItself && id != kFxIdDefault) {
        *out = nullptr;
        return 0;
    }
    *out = static_cast<IFileFormat*>(this);
    AddRef();
    return 1;
}

std::uint32_t CMOXFileFormat::AddRef()
{
    return ++m_references;
}

// The count is taken once: to read it again after the decrement might be to read an object that
// another thread has deleted.
std::uint32_t CMOXFileFormat::Release()
{
    const std::uint32_t left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

FxStatus CMOXFileFormat::Reset()
{
    m_cursor = 0;
    return kFxOk;
}

FxStatus CMOXFileFormat::GetFormatCount(unsigned long& out)
{
    out = m_formats.size();
    return kFxOk;
}

FxStatus CMOXFileFormat::ClearFormatList()
{
    m_formats.clear();
    return kFxOk;
}

FxStatus CMOXFileFormat::SetFormat(CPropFileFormat& record)
{
    if (!isFormatRecord(record))
        return kFxErrBadRecord;
    const auto isSame = [&record](
                            const CPropFileFormat& other) { return isSameFormat(record, other); };
    if (std::any_of(m_formats.begin(), m_formats.end(), isSame))
        return kFxErrBadArgument;
    return fxGuard([this, &record] {
        m_formats.push_back(record);
        return kFxOk;
    });
}

FxStatus CMOXFileFormat::GetFormat(CPropFileFormat& record)
{
    if (!isFormatRecord(record))
        return kFxErrBadRecord;
    if (m_cursor >= m_formats.size()) // ClearFormatList leaves the cursor where it was
        return kFxEndOfList;
    const CPropFileFormat& format = m_formats[m_cursor++];
    ptucsncpy(record.extension, format.extension, std::size(record.extension));
    record.mediaMask = format.mediaMask;
    return kFxOk;
}

// A record that is refused is passed over; the caller sees it from the count alone.
FxStatus CMOXFileFormat::SetMultipleFormat(
    CPropFileFormat*& records, unsigned long count, unsigned long& added)
{
    if (count == 0)
        return kFxErrBadRecord;
    added = 0;
    for (unsigned long i = 0; i < count; ++i) {
        const FxStatus status = SetFormat(records[i]);
        if (status == kFxErrException)
            return status;
        if (status == kFxOk)
            ++added;
    }
    return kFxOk;
}

// A call that fails is tried again into the same element: the records stand side by side at the
// front, and behind the end of the list the rest of the array is left alone.
FxStatus CMOXFileFormat::GetMultipleFormat(
    CPropFileFormat*& records, unsigned long count, unsigned long& got)
{
    if (count == 0)
        return kFxErrBadRecord;
    got = 0;
    for (unsigned long i = 0; i < count; ++i)
        if (GetFormat(records[got]) == kFxOk)
            ++got;
    return kFxOk;
}
