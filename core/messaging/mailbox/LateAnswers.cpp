#include "messaging/mailbox/LateAnswers.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ScObjects::TevoroTalkData {

bool LateAnswers::keep(
    const SoString& target, const SoString& text, std::chrono::milliseconds patience)
{
    const std::size_t size = text.view().size();
    const Pt::Locked locked(m_lock);
    if (m_answers.size() >= kMaxTexts || size > kMaxBytes - m_bytes)
        return false;
    m_answers.push_back({target, text, std::chrono::steady_clock::now() + patience});
    m_bytes += size;
    m_count = m_answers.size();
    return true;
}

bool LateAnswers::holdsFor(const SoString& target) const
{
    if (isEmpty())
        return false;
    const Pt::Locked locked(m_lock);
    return std::ranges::any_of(
        m_answers, [&](const Answer& answer) { return answer.target == target; });
}

void LateAnswers::retry(
    const Attempt& attempt, const std::function<void(const SoString& target)>& giveUp)
{
    if (isEmpty())
        return;
    // Held over the attempts, which do not wait: two threads would change the order.
    const Pt::Locked locked(m_lock);
    const auto now = std::chrono::steady_clock::now();
    std::deque<Answer> kept;
    std::unordered_set<std::string_view> heldUp; // texts that `kept` holds, which do not move
    for (Answer& answer : m_answers) {
        const bool isOver = now >= answer.deadline;
        if (isOver)
            giveUp(answer.target);
        if (isOver
            || (!heldUp.contains(answer.target.view()) && attempt(answer.target, answer.text))) {
            m_bytes -= answer.text.view().size();
            continue;
        }
        kept.push_back(std::move(answer));
        heldUp.insert(kept.back().target.view());
    }
    m_answers.swap(kept);
    m_count = m_answers.size();
}

} // namespace ScObjects::TevoroTalkData
