#include "e2e/hunts/PictureHuntJudge.h"

#include <algorithm>
#include <csignal>
#include <set>

namespace e2e::hunt {

namespace {

bool mayBeWiped(const RunEnd& end)
{
    return end.summary && end.summary->value("card_may_be_wiped", false);
}

bool sawNothing(const RunEnd& end)
{
    return end.summary && end.summary->value("items", 1) == 0
        && end.summary->value("not_handled", nlohmann::json::object()).empty();
}

bool hasSanitizerWords(const RunEnd& end)
{
    for (const char* words : {"Sanitizer", "runtime error:", "terminate called"})
        if (end.err.find(words) != std::string::npos)
            return true;
    return false;
}

// What an overlay keeps of a folder that somebody made and removed below it: marks, and no file.
bool isOfOverlay(const fs::path& folder)
{
    std::error_code error;
    if (folder.string().find("-upper/upper/") == std::string::npos
        || !fs::is_directory(folder, error))
        return false;
    const fs::recursive_directory_iterator entries(folder, error);
    return std::none_of(begin(entries), end(entries), [](const fs::directory_entry& entry) {
        return entry.is_regular_file();
    });
}

std::size_t files(const std::vector<Found>& copies)
{
    std::set<std::pair<dev_t, ino_t>> different;
    for (const Found& copy : copies)
        different.emplace(copy.device, copy.inode);
    return different.size();
}

} // namespace

std::vector<std::string> Judge::judge()
{
    expectOrdinaryEnds();
    expectNothingLost();
    expectTruthOfVerdicts();
    expectTwoCopies();
    expectPriors();
    expectNothingWritten();
    return m_wrongs;
}

bool Judge::isOnCard(const Found& copy) const
{
    const auto& reals = m_situation.card.reals;
    return std::any_of(reals.begin(), reals.end(), [&copy](const fs::path& real) {
        return isBelow(copy.path, real);
    });
}

// A view that is the card keeps to its folders: the disk beneath is nothing that anybody knows of.
bool Judge::isOnCardsDisk(const Found& copy) const
{
    static const std::set<std::string> kDisks{"plain", "memory", "image", "image looked at twice"};
    if (!kDisks.contains(m_situation.card.kind))
        return isOnCard(copy);
    const auto& reals = m_situation.card.reals;
    return std::any_of(reals.begin(), reals.end(), [this, &copy](const fs::path& real) {
        return &diskOf(m_situation.world, real) == copy.disk;
    });
}

bool Judge::liesOnCard(const Evidence& evidence, const std::string& bytes) const
{
    const auto& copies = evidence.copiesOf(bytes);
    return std::any_of(
        copies.begin(), copies.end(), [this](const Found& copy) { return isOnCard(copy); });
}

std::string Judge::whereabouts(const Picture& picture) const
{
    std::string text = picture.below.string() + " (" + std::to_string(picture.bytes.size()) + ')';
    for (const Found& copy : m_now.copiesOf(picture.bytes))
        text += "; at " + copy.path.string();
    return text;
}

void Judge::expectOrdinaryEnds()
{
    static const std::set<int> kCodes{0, 1, 3, 4, 130};
    for (const RunEnd& end : m_ends) {
        const bool isExpected =
            kCodes.contains(end.code) || (end.code < 0 && m_situation.signals.contains(-end.code));
        if (!isExpected)
            wrong("ended with " + std::to_string(end.code));
        if (end.isHung)
            wrong("did not end by itself");
        if (hasSanitizerWords(end))
            wrong("broke: " + end.err);
    }
}

void Judge::expectNothingLost()
{
    for (const Picture& picture : m_situation.pictures)
        if (!picture.bytes.empty() && !picture.isSpoilt && m_now.copiesOf(picture.bytes).empty())
            wrong("LOST: " + whereabouts(picture));
}

// Copies that the hunt takes after they were proven are not what the program speaks of, nor is a
// card that was gone, or was another, before it was looked at.
void Judge::expectTruthOfVerdicts()
{
    const auto isWrongToSay = [this](const RunEnd& end) {
        return mayBeWiped(end) && !m_situation.sawOtherCard
            && !(m_situation.lostTheCard && sawNothing(end));
    };
    if (std::none_of(m_ends.begin(), m_ends.end(), isWrongToSay))
        return;
    for (const Picture& picture : m_situation.pictures) {
        if (picture.bytes.empty() || picture.isHarmed || !liesOnCard(m_now, picture.bytes))
            continue;
        const auto& copies = m_now.copiesOf(picture.bytes);
        if (std::all_of(copies.begin(), copies.end(), [this](const Found& copy) {
                return isOnCardsDisk(copy);
            }))
            wrong("MAY NOT BE WIPED: " + whereabouts(picture));
    }
}

bool Judge::isDeleted(const Picture& picture) const
{
    return !picture.bytes.empty() && !picture.isSpoilt && liesOnCard(m_before, picture.bytes)
        && !liesOnCard(m_now, picture.bytes);
}

std::size_t Judge::deletedOriginals() const
{
    const auto& pictures = m_situation.pictures;
    return static_cast<std::size_t>(std::count_if(pictures.begin(),
        pictures.end(),
        [this](const Picture& picture) { return isDeleted(picture); }));
}

// Where both are called the same, one copy is all that was asked for.
bool Judge::wantsTwoPlaces() const
{
    std::error_code error;
    return m_situation.backup
        && fs::weakly_canonical(m_situation.backup->path, error)
        != fs::weakly_canonical(m_situation.target.path, error);
}

void Judge::expectTwoCopies()
{
    for (const Picture& picture : m_situation.pictures) {
        if (!isDeleted(picture))
            continue;
        if (!m_situation.deletes || m_situation.isDry)
            wrong("DELETED UNASKED: " + whereabouts(picture));
        expectCopies(picture);
    }
}

void Judge::expectCopies(const Picture& picture)
{
    const auto& copies = m_now.copiesOf(picture.bytes);
    const std::size_t wanted = wantsTwoPlaces() && !picture.isHarmed ? 2 : 1;
    if (files(copies) < wanted)
        wrong("DELETED WITH TOO FEW COPIES: " + whereabouts(picture));
    const auto isApart = [this](const Place& place) {
        const fs::path& real = place.reals[0];
        return !isOnCardsDisk({&diskOf(m_situation.world, real), real, 0, 0});
    };
    const bool isAnyApart =
        isApart(m_situation.target) || (m_situation.backup && isApart(*m_situation.backup));
    const bool isOff = std::any_of(
        copies.begin(), copies.end(), [this](const Found& copy) { return !isOnCardsDisk(copy); });
    const bool isTold = std::any_of(m_ends.begin(), m_ends.end(), [](const RunEnd& end) {
        return end.summary && end.summary->value("copies_on_cards_device", false);
    });
    if (isAnyApart && !isOff && !isTold && !picture.isHarmed)
        wrong("DELETED WITH NO COPY OFF THE CARD'S DISK: " + whereabouts(picture));
}

void Judge::expectPriors()
{
    for (const Prior& prior : m_situation.priors) {
        const auto now = m_now.files().find(prior.real);
        if (prior.isHarmed)
            continue;
        if (now == m_now.files().end())
            wrong("REMOVED: " + prior.real.string());
        else if (now->second != prior.bytes)
            wrong("WRITTEN OVER: " + prior.real.string());
    }
}

void Judge::expectNothingWritten()
{
    if (m_situation.isDry
        && m_now.files().size() > m_before.files().size() + m_situation.pictures.size())
        wrong("WRITTEN IN A DRY RUN");
}

// The work folder of a date, without bytes in it: a run that saves nothing of that date does not
// look there. And the second name of an original that a kill left, where the file system does not
// tell one file under two names from two files: it is named as passed over.
bool Judge::mayStay(const fs::path& path) const
{
    if (path.filename() == ".mfxdelete")
        return m_situation.card.kind == "forgetful";
    const bool isOfDate = path.parent_path().filename().string().starts_with("2026");
    const fs::recursive_directory_iterator below(path);
    return path.filename() == ".mfxdownload" && isOfDate
        && std::none_of(begin(below), end(below), [](const fs::directory_entry& entry) {
               return entry.is_regular_file() && entry.file_size() != 0;
           });
}

void Judge::expectNoLeftovers()
{
    for (const Disk& disk : m_situation.world.disks()) {
        if (m_situation.card.kind == "image looked at twice" && disk.name == "card")
            continue; // read-only
        for (const auto& entry : fs::recursive_directory_iterator(disk.shelf))
            if (isLeftover(entry.path()) && !isOfOverlay(entry.path()) && !mayStay(entry.path()))
                wrong("LEFT OVER: " + entry.path().string());
    }
}

} // namespace e2e::hunt
