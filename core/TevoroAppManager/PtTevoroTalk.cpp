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

// As for an application that neither runs nor is installed: the sink goes on without a word to it.
int PtTevoroTalk::DoLaunchTevoro(const QByteArray&, bool)
{
    return -1;
}
