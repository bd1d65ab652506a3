#include "core/registry/support/CapsTable.h"

namespace test {

CapsTable*& CapsTable::current()
{
    static CapsTable* table = nullptr;
    return table;
}

} // namespace test

extern "C" __attribute__((visibility("default"))) test::CapsTable* testCapsTable()
{
    return test::CapsTable::current();
}
