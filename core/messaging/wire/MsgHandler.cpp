#include "messaging/MsgHandler.h"

#include "messaging/BusWords.h"

namespace ScObjects {

void TevoroTalk::MsgHandler::initialize(TevoroTalk*) { }

const char* TevoroTalk::MsgHandler::getMsgType() const
{
    return TevoroTalkData::kQuillscriber;
}

std::uint32_t TevoroTalk::MsgHandler::getSerialNumber() const
{
    return QK_INVALID_MESSAGE_NUMBER;
}

} // namespace ScObjects
