#include "TevoroAppManager/PtTevoroTalk.h"

int PtTevoroTalk::Initialize()
{
    return 1;
}

void PtTevoroTalk::Terminate() { }

bool PtTevoroTalk::targetIsRunning() const
{
    return false;
}

bool PtTevoroTalk::isTevoroBusy() const
{
    return false;
}

int PtTevoroTalk::DoLaunchTevoro(const QByteArray&, bool)
{
    return -1;
}
