#include "platform/common/ports/LocalPort.h"

#include "platform/platforms/linux/ports/PortReceiver.h"

namespace Pt {

struct LocalPort::State : PortReceiver {
    using PortReceiver::PortReceiver;
};

std::unique_ptr<LocalPort> LocalPort::hold(std::string_view name)
{
    std::error_code error;
    auto folder = LocalPortFolder::openOrMake(error);
    auto held = folder ? HeldName::take(std::move(*folder), name) : std::nullopt;
    if (!held)
        return nullptr;
    auto state = std::make_unique<State>(std::move(*held));
    if (!state->open())
        return nullptr;
    return std::unique_ptr<LocalPort>(new LocalPort(std::move(state)));
}

LocalPort::LocalPort(std::unique_ptr<State> state)
    : m_state(std::move(state))
{
}

LocalPort::~LocalPort() = default;

std::size_t LocalPort::receive(const Taker& take)
{
    return receive(take, Bound());
}

std::size_t LocalPort::receive(const Taker& take, const Bound& room)
{
    return m_state->receive(take, room);
}

std::size_t LocalPort::receiveAwaited(const Taker& take)
{
    return receiveAwaited(take, Bound());
}

std::size_t LocalPort::receiveAwaited(const Taker& take, const Bound& room)
{
    return m_state->receiveAwaited(take, room);
}

bool LocalPort::hasMore() const
{
    return m_state->hasMore();
}

bool LocalPort::wait(std::chrono::milliseconds limit)
{
    return m_state->wait(limit);
}

void LocalPort::wakeOn(int other)
{
    m_state->wakeOn(other);
}

int LocalPort::descriptor() const
{
    return m_state->descriptor();
}

bool LocalPort::keepName()
{
    return m_state->keepName();
}

void LocalPort::giveUpName()
{
    m_state->giveUpName();
}

const std::string& LocalPort::name() const
{
    return m_state->name();
}

} // namespace Pt
