#include "TevoroAppManager/FxText.h"

#include "platform/common/text/PtUcs.h"

// Where the text fills the buffer the platform's copy writes no terminator: a host, which knows its
// capacity, has to mind that.
void copyBounded(const QString& text, unsigned short* buffer, long capacity)
{
    if (buffer && capacity > 0)
        ptucsncpy(buffer, fxUnits(text), static_cast<std::size_t>(capacity));
}
