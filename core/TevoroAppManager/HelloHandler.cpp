#include "TevoroAppManager/HelloHandler.h"

int gMessageReceived = 0;

HelloHandler::~HelloHandler() = default;

long HelloHandler::handleMessage(int reason, ScObjects::TevoroTalk::Message&, ScObjects::SoString*)
{
    if (reason == kResult)
        gMessageReceived = 1;
    return 0;
}
