#pragma once

#include "platform/common/threads/PtThread.h"

namespace Pt {

// A worker for devices whose transfers go on by themselves. There are none on this platform: the
// caller of a device does its transfers, and a worker returns at once and is joined at the end.
class IoThread final : public Thread {
public:
    IoThread()
        : Thread(false)
    {
    }

protected:
    void start() override { }
};

// Starts the workers for files, at most 8; a further call keeps those that are there. When one
// cannot be started, the others are ended and the failure is thrown. Any thread may call, also
// IoFileUninit, which tells them to end and waits for it; without workers it does nothing. What
// the system refuses meanwhile is thrown; there are no workers any more then, either.
void IoFileInit(int workers);
void IoFileUninit();

// How many there are.
int IoFileWorkerCount();

// Sockets need none.
void IoSocketInit(int workers);
void IoSocketUninit();

} // namespace Pt
