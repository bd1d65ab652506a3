// A library that uses all that must be gone when it is unloaded.
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/SecureRandom.h"
#include "platform/common/ports/Sha1.h"
#include "platform/common/ports/Waiting.h"

// 0 when all of it works.
extern "C" __attribute__((visibility("default"))) int useTransport()
{
    Pt::WaitableFlag flag;
    Pt::DescriptorSet waited;
    waited.add(flag.descriptor());
    flag.raise();
    const bool works = waited.wait(std::chrono::milliseconds(0)) && Pt::sha1({"text"})
        && Pt::secureRandom16() && !Pt::localPortFolder().empty();
    return works ? 0 : 1;
}
