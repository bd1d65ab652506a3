// A library of the configuration store that can open sessions and nothing else.
#include "core/registry/support/CapsTable.h"

extern "C" __attribute__((visibility("default"))) std::int32_t pcdOpenSessionNoCreate(
    void** session)
{
    ++testCapsTable()->openSessions;
    *session = testCapsTable();
    return 0;
}

extern "C" __attribute__((visibility("default"))) std::int32_t capsOpenSession(void** session)
{
    return pcdOpenSessionNoCreate(session);
}
