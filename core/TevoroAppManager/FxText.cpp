#include "TevoroAppManager/FxText.h"

#include "platform/common/text/PtUcs.h"

void copyBounded(const QString& text, unsigned short* buffer, long capacity)
{
    if (buffer && capacity > 0)
        ptucsncpy(buffer, fxUnits(text), static_cast<std::size_t>(capacity));
}
