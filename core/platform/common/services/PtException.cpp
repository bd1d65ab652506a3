#include "platform/common/services/PtException.h"

#include "platform/common/services/PtExPost.h"

namespace Pt {

ExReason::ExReason(unsigned short const* text, ExWhere const& where, ExSeverity severity)
    : m_text(text ? WideText(text) : WideText())
    , m_where(where)
    , m_severity(severity)
{
}

Exception::Exception(ExReason const& reason)
    : m_reasons{reason}
{
}

Exception::Exception(ExReason const& reason, Exception const& cause)
    : Exception(cause)
{
    pushReason(reason);
}

char const* Exception::what() const noexcept
{
    return "";
}

Exception* Exception::clone() const
{
    return new Exception(m_reasons.front(), *this);
}

int Exception::Post(Exception const& exception)
{
    ExPost* const queue = ExPost::instance();
    if (!queue)
        return 0;
    queue->post(exception);
    return 1;
}

Exception* Exception::Poll()
{
    ExPost* const queue = ExPost::instance();
    return queue ? queue->poll() : nullptr;
}

} // namespace Pt
