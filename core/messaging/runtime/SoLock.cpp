#include "messaging/SoLock.h"

#include "messaging/Thread.h"

namespace ScObjects {

SoLock::SoLock()
{
    Thread::InitTerm::init();
}

SoLock::~SoLock()
{
    Thread::InitTerm::exit();
}

} // namespace ScObjects
