// Does not compile with clang: that it does not is the test. See CMakeLists.txt.
#include "messaging/SoLock.h"

namespace {

class Counter final : public ScObjects::SoLockable {
public:
    void count() { ++m_count; }

private:
    long m_count TEVOROTALK_GUARDED_BY(this) = 0;
};

} // namespace

void countWithoutTheLock()
{
    Counter().count();
}
