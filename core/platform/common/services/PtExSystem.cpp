#include "platform/common/services/PtExSystem.h"

#include "platform/common/services/SystemError.h"
#include "platform/common/text/PtUcs.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace Pt {

int ErrorCode()
{
    return errno;
}

// The first row with a system error holds; the second one for ENOENT is never reached.
const ExSystem::MapRow ExSystem::mErrorMap_[] = {
    {33000, EACCES},
    {33001, EBADF},
    {33002, EINVAL},
    {33003, EEXIST},
    {33004, ETXTBSY},
    {33005, ENOENT},
    {33005, ENODEV},
    {33005, ENOTDIR},
    {33006, ENOENT},
    {33007, EMFILE},
    {33008, ENAMETOOLONG},
    {33009, ENOSPC},
    {33010, ESPIPE},
    {33011, EPIPE},
    {33011, ECONNRESET},
    {33012, EHOSTDOWN},
    {33012, EHOSTUNREACH},
    {33013, ENETDOWN},
    {33013, ENETUNREACH},
    {33013, ENETRESET},
    {33014, ESHUTDOWN},
    {33014, ENOTSOCK},
};

int ExSystem::mapSize_()
{
    static_assert(std::size(mErrorMap_) == 22);
    return static_cast<int>(std::size(mErrorMap_));
}

ExSystem::ExSystem(int error, const ExWhere& where)
    : m_error(error)
    , m_textError(error)
    , m_text(toUtf16(systemErrorText(error)))
{
    pushReason(ExReason(getErrorString(error), where, kSeverity));
}

ExSystem::ExSystem(int error, const ExWhere& where, const Exception& cause)
    : Exception(cause)
    , m_error(error)
    , m_textError(error)
    , m_text(toUtf16(systemErrorText(error)))
{
    pushReason(ExReason(getErrorString(error), where, kSeverity));
}

ExSystem* ExSystem::clone() const
{
    return new ExSystem(*this);
}

int ExSystem::genericErrorCode() const
{
    const auto end = std::begin(mErrorMap_) + mapSize_();
    const auto row = std::find_if(std::begin(mErrorMap_), end, [this](const MapRow& each) {
        return each.systemError == m_error;
    });
    return row == end ? -1 : row->genericCode;
}

const unsigned short* ExSystem::getErrorString(int error)
{
    // The pointer that is returned stays valid until another error is asked for.
    if (error != m_textError) {
        m_text = toUtf16(systemErrorText(error));
        m_textError = error;
    }
    return m_text.c_str();
}

} // namespace Pt
