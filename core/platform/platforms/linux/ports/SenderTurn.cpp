#include "platform/platforms/linux/ports/SenderTurn.h"

namespace Pt {

void SenderTurn::begin(int connection)
{
    if (m_owner != connection)
        m_bytes = 0;
    m_owner = connection;
}

void SenderTurn::end()
{
    m_owner = kNobody;
    m_bytes = 0;
}

int SenderTurn::owner()
{
    // A long turn ends where the next sender is chosen, so that a call finishes what it has begun.
    if (isLong())
        end();
    return m_owner;
}

bool SenderTurn::isAnothers(int connection) const
{
    return m_owner != kNobody && m_owner != connection;
}

} // namespace Pt
