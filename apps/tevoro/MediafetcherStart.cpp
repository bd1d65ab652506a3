#include "tevoro/MediafetcherStart.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/ProgramStart.h"

namespace tevoro {

bool startMediafetcher(QString& error)
{
    std::error_code reason;
    const std::string path = Pt::programFolder() + "/mfx";
    if (Pt::startProgram(path, {}, reason))
        return true;
    error = QStringLiteral("%1 cannot be started: %2")
                .arg(QString::fromStdString(path), QString::fromStdString(reason.message()));
    return false;
}

} // namespace tevoro
