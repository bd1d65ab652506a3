#include "mfx/engine/run/GroupConversion.h"

#include "mfx/engine/dng/ConversionLibrary.h"
#include "mfx/engine/dng/ConversionText.h"
#include "mfx/engine/dng/DNGSearch.h"
#include "mfx/engine/dng/FileConversion.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FolderLock.h"
#include "platform/common/text/NameText.h"

namespace mfx {

namespace {

// Whether the sink came as far as the library. It does not where the raw file cannot be set aside:
// then the file is in both places, or in neither.
bool libraryWasAsked(const std::string& folder, const std::string& name)
{
    std::error_code error;
    const bool stands = Pt::fileStatus(folder + '/' + name, error).has_value();
    const auto aside = Pt::fileStatus(folder + '/' + WorkFolder::kName + '/' + name, error);
    return stands != aside.has_value();
}

// The sink has one text for every failure. The library knows more, of the last file that it was
// asked about.
std::string reasonForNoDNG(
    const MemberWork& member, const FinalFolder& folder, const std::string& sinks)
{
    const auto library = ConversionLibrary::loaded();
    const auto result = library && libraryWasAsked(folder.ownPath, member.finalName)
        ? library->lastResult()
        : std::nullopt;
    return result || sinks.empty() ? conversionText(result) : sinks;
}

// A failed backup keeps its status: an original without its second copy is not to be deleted,
// whatever else fails.
void noteNoDNG(ItemEvent& event, const std::string& reason)
{
    if (event.status != ItemStatus::kBackupFailed)
        event.status = ItemStatus::kDNGFailed;
    addError(event, reason);
}

// A raw file that was there before the run stays as it is, for it may be somebody's. But one that
// was put back was in the hands of a run that was cut off while converting it, and that conversion
// is done now.
bool isToConvert(const GroupWork& work, const MemberWork& member)
{
    return member.isPlaced() || work.folder->work.isUnconverted(member.finalName);
}

} // namespace

GroupConversion::GroupConversion(const DownloadRequest& request,
    SinkSession& sink,
    const PlaceWatch& places,
    DownloadAccount& account,
    ProgressMeter& progress,
    Hooks hooks)
    : m_request(request)
    , m_sink(sink)
    , m_places(places)
    , m_account(account)
    , m_progress(progress)
    , m_hooks(std::move(hooks))
{
}

void GroupConversion::noteAwaited(GroupWork& work) const
{
    for (MemberWork& member : work.members)
        member.awaitsConversion = m_request.convertsToDNG && member.wantsDNG;
}

void GroupConversion::convert(GroupWork& work, std::vector<ItemEvent>& events)
{
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        const MemberWork& member = work.members[i];
        if (!member.wantsDNG || !isToConvert(work, member))
            continue;
        if (m_request.convertsToDNG) {
            convertMember(work, i, events[i]);
            continue;
        }
        noteNoDNG(events[i],
            text("$$$/Mfx/Download/StaysRaw=it stays as it is: the DNG conversion library is "
                 "not installed"));
        events[i].alreadyReported = events[i].status == ItemStatus::kDNGFailed;
    }
}

// The sink takes paths, and is about to replace a raw file: it must not do so beneath a mount point
// whose disk has just been pulled.
//
// It sets the raw file aside under a path that all runs share, and removes what it finds there. So
// the runs take turns, and what lies there is brought into safety first. Where nothing can be
// locked, there are no turns.
void GroupConversion::convertMember(GroupWork& work, std::size_t member, ItemEvent& event)
{
    if (const auto lost = m_hooks.stopWherePlaceIsLost(work)) {
        noteNoDNG(event, *lost);
        return;
    }
    std::error_code noTurns;
    const auto turn = Pt::FolderLock::waitAlone(work.folder->ownPath, noTurns);
    MemberWork& file = work.members[member];
    if (finishConversion(work, file))
        return;
    if (turn)
        bringBack(work, file);
    if (work.folder->work.hasSetAside(file.finalName)) {
        noteNoDNG(event,
            text("$$$/Mfx/Download/AsideTaken=it stays as it is: another conversion has left a "
                 "file of its name in %1",
                {Pt::displayName(work.folder->path + '/' + WorkFolder::kName)}));
        return;
    }
    convertAlone(work, member, event);
    if (turn)
        bringBack(work, file);
}

void GroupConversion::convertAlone(GroupWork& work, std::size_t member, ItemEvent& event)
{
    const PhaseScope phase(m_progress, ProgressPhase::kConvert);
    MemberWork& file = work.members[member];
    const std::string raw = work.folder->ownPath + '/' + file.finalName;
    std::error_code unknown;
    file.converted = Pt::fileStatus(raw, unknown);
    const std::string dng = nextDNGPath(raw);
    std::string error;
    if (m_sink.convert(m_hooks.sinkItem(work, member), error))
        noteDNG(file, dng, event);
    else
        noteNoDNG(event, reasonForNoDNG(file, *work.folder, error));
    work.folder->work.forgetUnconverted(file.finalName);
}

// What conversions left aside: those of runs that were killed, and those that failed when another
// file had taken the name of the raw file meanwhile. Ours has another name from then on.
void GroupConversion::bringBack(const GroupWork& work, MemberWork& file)
{
    std::error_code error; // what could not go back stays where it is, and is not removed
    for (const std::string& name : work.folder->work.putBackSetAside(error)) {
        if (!file.converted || !isCopyStill(file, work.folder->ownPath + '/' + name)) {
            m_hooks.tellPutBack(work.folder->path + '/' + name);
            continue;
        }
        file.finalName = name;
        work.folder->stems.take(name);
        work.folder->work.forgetUnconverted(name);
    }
}

// The run that was to convert the file was killed when its DNG, verified, had just got its name:
// what is left is to let the raw file go, which has just been found to be the card's byte for byte.
bool GroupConversion::finishConversion(const GroupWork& work, MemberWork& member)
{
    const std::string raw = work.folder->ownPath + '/' + member.finalName;
    if (!member.alreadyPresent() || !member.digest)
        return false;
    const auto dng = findDNGOf(raw, member.digest->size, [&member] { return member.digest; });
    if (!dng || Pt::unlinkPath(raw) != 0)
        return false;
    member.dng = *dng;
    work.folder->work.forgetUnconverted(member.finalName);
    return true;
}

// The sink says that it made a verified DNG. `expected` is the path that was free before the call.
// If the raw file is still there, it was none to convert, and what has the name now is not believed
// to be its DNG: the raw file is what was proven. What the DNG was made of is believed only where
// it is what the card has: others may write into a file that is set aside.
void GroupConversion::noteDNG(
    const MemberWork& member, const std::string& expected, ItemEvent& event)
{
    std::error_code error;
    const std::string raw = expected.substr(0, expected.rfind('/') + 1) + member.finalName;
    if (isCopyStill(member, raw))
        return;
    const auto dng = member.digest ? findMadeDNG(raw, expected, *member.digest) : expected;
    if (!dng) {
        noteNoDNG(event,
            text("$$$/Mfx/Download/DNGOfOtherBytes=its copy was changed before it was converted: "
                 "the DNG holds other bytes than the card's file"));
        return;
    }
    takeOverTime(member.source, *dng);
    const auto status = Pt::fileStatus(*dng, error);
    if (!status)
        return;
    event.dng = Pt::displayName(m_places.nameOf(*dng));
    m_account.items[member.item].kept.dng = KeptCopy{*dng, *status};
    ++m_account.summary.converted;
}

// That of an earlier run, which bears the record of just this raw file.
void GroupConversion::noteStandingDNG(const MemberWork& member, ItemEvent& event)
{
    std::error_code error;
    const auto status = Pt::fileStatus(member.dng, error);
    if (!status)
        return;
    event.dng = Pt::displayName(m_places.nameOf(member.dng));
    m_account.items[member.item].kept.dng = KeptCopy{member.dng, *status};
}

} // namespace mfx
