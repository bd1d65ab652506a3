#include "mfx/cli/JsonEvents.h"

#include "commandline/JsonLine.h"

namespace mfx {

using namespace commandline;

namespace {

// The words are a promise to programs, and the same in every language.
const char* statusWord(ItemStatus status)
{
    switch (status) {
    case ItemStatus::kPending:
        break;
    case ItemStatus::kOk:
        return "ok";
    case ItemStatus::kExists:
        return "exists";
    case ItemStatus::kFailed:
        return "failed";
    case ItemStatus::kBackupFailed:
        return "backup-failed";
    case ItemStatus::kDNGFailed:
        return "dng-failed";
    }
    return "failed";
}

const char* phaseWord(ProgressPhase phase)
{
    switch (phase) {
    case ProgressPhase::kCopy:
        break;
    case ProgressPhase::kProve:
        return "prove";
    case ProgressPhase::kBackup:
        return "backup";
    case ProgressPhase::kConvert:
        return "convert";
    case ProgressPhase::kDelete:
        return "delete";
    }
    return "copy";
}

std::string_view kindWord(const PassedOver& entry)
{
    switch (entry.kind) {
    case PassedOverKind::kNotHandled:
        break;
    case PassedOverKind::kEmptyFile:
        return "empty file";
    case PassedOverKind::kNotAskedFor:
        return "not asked for";
    }
    return reasonWord(entry.reason);
}

Json orNull(const std::optional<std::string>& text)
{
    return text ? Json(*text) : Json(nullptr);
}

Json notSafeList(const DownloadSummary& summary)
{
    Json list = Json::array();
    for (const NotSafe& entry : summary.notSafe)
        list.push_back({{"name", entry.name}, {"reason", entry.reason}});
    return list;
}

Json passedOverList(const DownloadSummary& summary)
{
    Json list = Json::array();
    for (const PassedOver& entry : summary.passedOver)
        list.push_back({{"kind", kindWord(entry)}, {"count", entry.count}, {"names", entry.names}});
    return list;
}

Json notHandledCounts(const DownloadSummary& summary)
{
    Json counts = Json::object();
    for (const auto& [reason, count] : summary.notHandled)
        counts[std::string(reasonWord(reason))] = count;
    return counts;
}

Json progressRecord(const ProgressEvent& event)
{
    return {{"event", "progress"},
        {"items", event.itemsDone},
        {"of", event.itemsTotal},
        {"bytes", event.bytesDone},
        {"of_bytes", event.bytesTotal},
        {"phase", phaseWord(event.phase)},
        {"rate", event.rate}};
}

} // namespace

void JsonEvents::source(const std::string& name, std::size_t items, std::uint64_t bytes)
{
    Pt::Locked locked(m_lock);
    m_lastReport = Clock::now();
    printJson({{"event", "source"}, {"name", name}, {"items", items}, {"bytes", bytes}});
}

void JsonEvents::item(const ItemEvent& event)
{
    Pt::Locked locked(m_lock);
    printJson({{"event", "item"},
        {"key", event.key},
        {"name", event.name},
        {"saved", orNull(event.saved)},
        {"backup", orNull(event.backup)},
        {"dng", orNull(event.dng)},
        {"status", statusWord(event.status)},
        {"error", orNull(event.error)}});
}

void JsonEvents::message(const std::string& title, const std::string& text)
{
    Pt::Locked locked(m_lock);
    printJson({{"event", "message"}, {"title", title}, {"text", text}});
}

// Without the lock: a question may wait for hours, and progress goes on being told beside it.
Answer JsonEvents::question(const std::string&, const std::string& text)
{
    return askYesOrNo(text, m_answering);
}

// Under the lock, since asking flushes: a line that is just being written must not be cut in two.
bool JsonEvents::isHeard() const
{
    Pt::Locked locked(m_lock);
    return !outputError();
}

// The last one comes whenever all is done: whoever followed sees the end. A run that is over before
// the first pause has told no progress, and then tells no end of it either.
void JsonEvents::progress(const ProgressEvent& event)
{
    Pt::Locked locked(m_lock);
    const auto now = Clock::now();
    const bool isLast = m_hasReported && event.itemsDone == event.itemsTotal;
    if (m_lastReport && now - *m_lastReport < m_pause && !isLast)
        return;
    m_lastReport = now;
    m_hasReported = true;
    printJson(progressRecord(event));
}

void JsonEvents::summary(const DownloadSummary& summary)
{
    Pt::Locked locked(m_lock);
    printJson({{"event", "summary"},
        {"items", summary.items},
        {"saved", summary.saved},
        {"existing", summary.existing},
        {"backups", summary.backups},
        {"converted", summary.converted},
        {"failed", summary.failed},
        {"deleted", summary.deleted},
        {"folder", Pt::displayName(summary.folder)},
        {"proven", summary.proven},
        {"dated_by_file_time", summary.datedByFile},
        {"not_deleted", summary.notDeleted},
        {"not_handled", notHandledCounts(summary)},
        {"not_asked_for", summary.notAskedFor},
        {"passed_over", passedOverList(summary)},
        {"not_safe", notSafeList(summary)},
        {"copies_on_cards_device", summary.copiesOnCardsDevice},
        {"copies_on_one_disk", summary.copiesOnOneDisk},
        {"interrupted", summary.interrupted},
        {"card_may_be_wiped", summary.cardMayBeWiped},
        {"verdict", summary.verdict}});
}

} // namespace mfx
