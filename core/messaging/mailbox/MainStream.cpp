#include "messaging/mailbox/MainStream.h"

#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/LocalPort.h"

#include <string>

namespace ScObjects::TevoroTalkData {

namespace {

using Specifier = TevoroTalk::Specifier;

// A process that is just starting may hold a companion of another number for a moment.
constexpr int kAttempts = 5;
constexpr unsigned int kPause = 50; // milliseconds

SoString withoutNumber(const SoString& name)
{
    Specifier specifier(name, false);
    specifier.setInstance("");
    return specifier;
}

bool isFree(const SoString& name)
{
    std::string port(gPortName);
    port += name.view();
    return Pt::isLocalPortFree(port);
}

SoString withSuffix(const SoString& name, const char* suffix)
{
    Specifier specifier(name, false);
    specifier.setSuffix(suffix);
    return specifier;
}

class MainStreamOpening {
public:
    explicit MainStreamOpening(const SoString& ownThread)
        : m_ownThread(ownThread)
    {
    }

    InterAppStream* withAnyNumber(const SoString& name) const
    {
        InterAppStream* stream = ifFree(name);
        Specifier specifier(nullptr, false);
        specifier.assign(name.view());
        for (int n = 1; n <= kMaxInstances && stream == nullptr; ++n) {
            specifier.setInstance(std::to_string(n).c_str());
            stream = ifFree(specifier);
        }
        return stream;
    }

private:
    InterAppStream* ifFree(const SoString& name) const
    {
        // Looked at before and after: between the two, another copy may have come up.
        if (!areCompanionsFree(name))
            return nullptr;
        auto* const stream = new InterAppStream(name, true);
        if (stream->isGood() && areCompanionsFree(name))
            return stream;
        delete stream;
        return nullptr;
    }

    // Whether no other process has the names that belong to that one.
    bool areCompanionsFree(const SoString& name) const
    {
        const SoString thread = withSuffix(name, "thread");
        const SoString ping = withSuffix(name, "ping");
        return (thread == m_ownThread || isFree(thread))
            && (InterAppStream::InitTerm::isCalled(ping) || isFree(ping));
    }

    const SoString& m_ownThread;
};

} // namespace

InterAppStream* openExactly(const SoString& name)
{
    auto* const stream = new InterAppStream(name, true);
    if (stream->isGood())
        return stream;
    delete stream;
    return nullptr;
}

bool isSameButForNumber(const SoString& a, const SoString& b)
{
    return withoutNumber(a) == withoutNumber(b);
}

InterAppStream* openMainStream(const SoString& name, const SoString& ownThread)
{
    Specifier specifier(nullptr, false);
    specifier.assign(name.view());
    if (specifier.isEmpty() || !specifier.instance().isEmpty() || !specifier.suffix().isEmpty())
        return TevoroTalkUtils::createNextAvailableInterAppStream(name);
    const MainStreamOpening opening(ownThread);
    InterAppStream* stream = opening.withAnyNumber(name);
    for (int i = 1; i < kAttempts && stream == nullptr; ++i) {
        TevoroTalkUtils::sleep(kPause);
        stream = opening.withAnyNumber(name);
    }
    return stream;
}

} // namespace ScObjects::TevoroTalkData
