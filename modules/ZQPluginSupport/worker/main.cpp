// The program mfx-dng: converts the raw files that the conversion library hands it, one after the
// other, and can do nothing else. Started by the library, not by people.

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/protocol/WorkMessages.h"
#include "ZQPluginSupport/worker/Conversion.h"
#include "ZQPluginSupport/writing/SourceNotes.h"
#include "platform/common/files/FileBytes.h"
#include "platform/common/services/ProcessFence.h"
#include "platform/common/services/WorkerProcess.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <new>
#include <optional>

namespace {

using dng::ConversionFailure;
using dng::WorkAnswer;
using Clock = std::chrono::steady_clock;

constexpr Pt::FenceBounds kBounds{
    .addresses = Pt::kAddressesBoundElsewhere,
    .processorSeconds = Pt::kTimeBoundElsewhere,
    .descriptors = 32,
    .fileBytes = std::size_t{1} << 32, // no DNG is larger
};
constexpr std::chrono::milliseconds kSilence{200};

// Tells the library that the work goes on, not more often than it wants to know. Nobody waits for a
// DNG whose library has gone.
class Heartbeat {
public:
    explicit Heartbeat(const Pt::DescriptorChannel& channel)
        : m_channel(channel)
    {
    }

    void operator()()
    {
        const auto now = Clock::now();
        if (now - m_last < kSilence)
            return;
        m_last = now;
        const auto error = m_channel.send(dng::formatAnswer({WorkAnswer::Kind::kGoesOn}));
        if (error && error != std::errc::resource_unavailable_try_again)
            std::_Exit(0);
    }

private:
    const Pt::DescriptorChannel& m_channel;
    Clock::time_point m_last = Clock::now();
};

// What was handed over, as memory.
class HandedFiles {
public:
    explicit HandedFiles(const Pt::ChannelMessage& message)
        : m_message(message)
    {
    }

    int next()
    {
        if (m_next == m_message.descriptors.size())
            throw ConversionFailure(kZQPluginBadRequest);
        return m_message.descriptors[m_next++].get();
    }
    Pt::MappedFile nextBytes()
    {
        std::error_code error;
        auto file = Pt::MappedFile::map(next(), error);
        if (!file)
            throw ConversionFailure(error == std::errc::not_enough_memory
                    ? kZQPluginTooLarge
                    : kZQPluginSourceUnreadable);
        return std::move(*file);
    }

private:
    const Pt::ChannelMessage& m_message;
    std::size_t m_next = 0;
};

void convert(const Pt::ChannelMessage& message, dng::WorkerThreads& threads, Heartbeat& heartbeat)
{
    const auto order = dng::parseOrder(message.bytes);
    if (!order)
        throw ConversionFailure(kZQPluginBadRequest);
    HandedFiles files(message);
    const Pt::MappedFile raw = files.nextBytes();
    const int target = files.next();
    const auto sidecar = order->hasSidecar ? std::optional(files.nextBytes()) : std::nullopt;
    const auto thumbnail = order->hasThumbnail ? std::optional(files.nextBytes()) : std::nullopt;
    const dng::ConversionSource source{raw.bytes(),
        sidecar ? sidecar->bytes() : std::span<const std::byte>(),
        thumbnail ? thumbnail->bytes() : std::span<const std::byte>(),
        order->name};
    const dng::ConversionOptions options{static_cast<dng::PreviewSize>(order->preview),
        order->isCompressed,
        order->isLinear,
        order->embedsRaw};
    dng::convert(source, options, target, threads, [&heartbeat] { heartbeat(); });
}

// Whatever a library throws is said, and the next file is another matter.
ZQPluginResult resultOf(
    const Pt::ChannelMessage& message, dng::WorkerThreads& threads, Heartbeat& heartbeat)
try {
    convert(message, threads, heartbeat);
    return kZQPluginDone;
} catch (const ConversionFailure& failure) {
    return failure.reason();
} catch (const std::bad_alloc&) {
    return kZQPluginTooLarge;
} catch (const std::exception&) {
    return kZQPluginDamaged;
}

} // namespace

int main()
try {
    Pt::closeInheritedDescriptors();
    const Pt::DescriptorChannel channel = Pt::channelToStarter();
    dng::SourceNotes::warmUp();
    dng::WorkerThreads threads; // none can be made behind the fence
    if (Pt::boundProcess(kBounds))
        return 1;
    // Some containers take no filters; the bounds hold there, too.
    if (!Pt::forbidNewCode()) [[maybe_unused]]
        const std::error_code gap = Pt::shutOffSystem(Pt::FenceWork::kFiles);
    if (channel.send(dng::formatAnswer({WorkAnswer::Kind::kReady})))
        return 1;
    Heartbeat heartbeat(channel);
    Pt::ChannelMessage message;
    while (channel.receive(message) == Pt::DescriptorChannel::Heard::kMessage) {
        const ZQPluginResult result = resultOf(message, threads, heartbeat);
        message = {}; // its files are closed before the library goes on
        if (channel.send(dng::formatAnswer({WorkAnswer::Kind::kDone, result})))
            return 1;
    }
    return 0;
} catch (const std::exception&) {
    return 1; // the library says so
}
