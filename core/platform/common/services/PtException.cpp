#include "platform/common/services/PtException.h"

#include "platform/common/services/PtExPost.h"

namespace Pt {

ExReason::ExReason(const unsigned short* text, const ExWhere& where, ExSeverity severity)
    : m_text(text ? WideText(text) : WideText())
    , m_where(where)
    , m_severity(severity)
{
}

Exception::Exception(const ExReason& reason)
    : m_reasons{reason}
{
}

Exception::Exception(const ExReason& reason, const Exception& cause)
    : Exception(cause)
{
    pushReason(reason);
}

const char* Exception::what() const noexcept
{
    return "";
}

Exception* Exception::clone() const
{
    return new Exception(m_reasons.front(), *this);
}

int Exception::Post(const Exception& exception)
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
