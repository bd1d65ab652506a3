// The stream that a process asks its questions over, and how streams get their names.
#include "messaging/SoVector.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/mailbox/MainStream.h"
#include "platform/common/threads/Lock.h"

#include <string>
#include <utility>

namespace ScObjects {

namespace {

constexpr const char* kNameless = "interappstream-1.0";

constinit Pt::Lock gStreamLock;
constinit InterAppStream* gInterAppStream TEVORO_GUARDED_BY(gStreamLock) = nullptr;
// Former ones. A question on another thread may still use one, and finds it without a port.
constinit SoVector<InterAppStream>* gRetired TEVORO_GUARDED_BY(gStreamLock) = nullptr;

void retire() TEVORO_REQUIRES(gStreamLock)
{
    if (gInterAppStream == nullptr)
        return;
    gInterAppStream->closePort();
    if (gRetired == nullptr)
        gRetired = new SoVector<InterAppStream>;
    gRetired->append(std::exchange(gInterAppStream, nullptr));
}

// Of the numbered instances the first whose name is free; nullptr when all are taken.
InterAppStream* firstFreeInstance(TevoroTalk::Specifier& specifier)
{
    InterAppStream* stream = nullptr;
    for (int n = 1; n <= kMaxInstances && stream == nullptr; ++n) {
        specifier.setInstance(std::to_string(n).c_str());
        stream = TevoroTalkData::openExactly(specifier);
    }
    return stream;
}

} // namespace

void InterAppStream::InitTerm::init(const SoString& appName)
{
    TevoroTalk::Specifier specifier(appName, false);
    specifier.setSuffix("ping");
    const Pt::Locked lock(gStreamLock);
    // First the old one's port, whose name may be the same.
    retire();
    gInterAppStream = TevoroTalkUtils::createNextAvailableInterAppStream(specifier);
}

bool InterAppStream::InitTerm::follow(const SoString& appName, bool isLast)
{
    using TevoroTalkData::isSameButForNumber;
    TevoroTalk::Specifier wanted(appName, false);
    wanted.setSuffix("ping");
    const Pt::Locked lock(gStreamLock);
    if (gInterAppStream != nullptr) {
        const SoString& former = gInterAppStream->getSpecifier();
        // One that was asked for before there was an application's name is not anybody's.
        if (former == wanted
            || (!isSameButForNumber(wanted, former) && !isSameButForNumber(kNameless, former)))
            return true;
    }
    retire();
    gInterAppStream = isLast ? TevoroTalkUtils::createNextAvailableInterAppStream(wanted)
                             : TevoroTalkData::openExactly(wanted);
    return gInterAppStream != nullptr && gInterAppStream->getSpecifier() == wanted;
}

bool InterAppStream::InitTerm::isCalled(const SoString& name)
{
    const Pt::Locked lock(gStreamLock);
    return gInterAppStream != nullptr && gInterAppStream->getSpecifier() == name;
}

void InterAppStream::InitTerm::exit()
{
    const Pt::Locked lock(gStreamLock);
    retire();
    while (
        const InterAppStream* const stream = gRetired != nullptr ? gRetired->removeAt(0) : nullptr)
        delete stream;
    delete std::exchange(gRetired, nullptr);
}

void InterAppStream::InitTerm::keepName()
{
    const Pt::Locked lock(gStreamLock);
    if (gInterAppStream != nullptr)
        gInterAppStream->keepName();
}

void InterAppStream::InitTerm::giveUpName()
{
    const Pt::Locked lock(gStreamLock);
    if (gInterAppStream != nullptr)
        gInterAppStream->giveUpName();
}

InterAppStream* InterAppStream::get()
{
    const Pt::Locked lock(gStreamLock);
    if (gInterAppStream == nullptr)
        gInterAppStream = TevoroTalkUtils::createNextAvailableInterAppStream(kNameless);
    return gInterAppStream;
}

InterAppStream* TevoroTalkUtils::createNextAvailableInterAppStream(const SoString& text)
{
    TevoroTalk::Specifier specifier(nullptr, false);
    // As it stands: the constructor would change it to lower case, and refuse a long one.
    specifier.assign(text.view());
    if (specifier.isEmpty())
        return nullptr;
    InterAppStream* const stream = TevoroTalkData::openExactly(specifier);
    // A name with an instance means that one and no other.
    if (stream != nullptr || !specifier.instance().isEmpty())
        return stream;
    return firstFreeInstance(specifier);
}

} // namespace ScObjects
