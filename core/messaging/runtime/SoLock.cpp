#include "messaging/SoLock.h"

#include "messaging/Thread.h"

namespace ScObjects {

SoLock::SoLock()
{
    // A lock counts as a user of threads: the first one that is made tells which thread is the main
    // one.
    Thread::InitTerm::init();
}

SoLock::~SoLock()
{
    Thread::InitTerm::exit();
}

} // namespace ScObjects
