#include "e2e/hunts/PictureHuntBlows.h"

#include <algorithm>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace e2e::hunt {

namespace {

enum class Harm { kEmpty, kRemove, kSpoil, kLink, kHardLink };

const std::vector<std::string> kHarms{"emptying", "removal", "spoiling", "linking", "hard-linking"};

bool liesOnCard(const Situation& situation, const std::string& bytes)
{
    const Evidence evidence(situation.world);
    const auto& copies = evidence.copiesOf(bytes);
    return std::any_of(copies.begin(), copies.end(), [&situation](const Found& copy) {
        return std::any_of(situation.card.reals.begin(),
            situation.card.reals.end(),
            [&copy](const fs::path& real) { return isBelow(copy.path, real); });
    });
}

// A copy was taken: where the original was gone by then, the hunt itself lost the picture.
void noteHarm(Situation& situation, const std::string& bytes)
{
    for (Picture& picture : situation.pictures) {
        if (picture.bytes != bytes)
            continue;
        picture.isHarmed = true;
        picture.isSpoilt = picture.isSpoilt || !liesOnCard(situation, bytes);
    }
    std::error_code unreadable;
    for (Prior& prior : situation.priors)
        prior.isHarmed = prior.isHarmed || fs::is_symlink(prior.real, unreadable)
            || readFile(prior.real) != prior.bytes;
}

std::vector<fs::path> copiesIn(const Situation& situation, const fs::path& folder)
{
    std::vector<fs::path> copies;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::string path = entry->path().string();
        if (!entry->is_regular_file(error) || path.find("/.mfx") != std::string::npos
            || path.find("/.unfinished-") != std::string::npos)
            continue;
        const std::string bytes = readFile(entry->path());
        const bool isPicture = std::any_of(situation.pictures.begin(),
            situation.pictures.end(),
            [&bytes](const Picture& picture) { return !bytes.empty() && picture.bytes == bytes; });
        if (isPicture)
            copies.push_back(entry->path());
    }
    std::sort(copies.begin(), copies.end());
    return copies;
}

bool rewrite(const fs::path& path, const std::string& bytes)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool isWhole =
        ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    ::close(file);
    return isWhole;
}

// With the time it had, as a program would that knows better.
bool spoil(const fs::path& copy, std::size_t size)
{
    struct stat before { };
    if (::stat(copy.c_str(), &before) != 0 || !rewrite(copy, std::string(size, '\0')))
        return false;
    const timespec times[2] = {before.st_atim, before.st_mtim};
    return ::utimensat(AT_FDCWD, copy.c_str(), times, 0) == 0;
}

// The copy becomes a link, symbolic or hard, to what it is a copy of.
bool replace(
    const Situation& situation, const fs::path& copy, const std::string& bytes, bool isHard)
{
    for (const Picture& picture : situation.pictures) {
        const fs::path original = situation.card.path / picture.below;
        std::error_code error;
        if (picture.bytes != bytes || !fs::exists(original, error)
            || fs::equivalent(original, copy, error) || !fs::remove(copy, error))
            continue;
        if (isHard)
            fs::create_hard_link(original, copy, error);
        else
            fs::create_symlink(original, copy, error);
        return true;
    }
    return false;
}

bool harm(const Situation& situation, const fs::path& copy, const std::string& bytes, Harm kind)
{
    std::error_code error;
    switch (kind) {
    case Harm::kEmpty:
        return rewrite(copy, "");
    case Harm::kRemove:
        return fs::remove(copy, error);
    case Harm::kSpoil:
        return spoil(copy, bytes.size());
    case Harm::kLink:
        return replace(situation, copy, bytes, false);
    case Harm::kHardLink:
        break;
    }
    return replace(situation, copy, bytes, true);
}

void harmOne(Situation& situation, const fs::path& folder, std::size_t which, Harm kind)
{
    const std::vector<fs::path> copies = copiesIn(situation, folder);
    if (copies.empty())
        return;
    const fs::path& copy = copies[which % copies.size()];
    const std::string bytes = readFile(copy);
    if (harm(situation, copy, bytes, kind))
        noteHarm(situation, bytes);
    situation.world.flush();
}

void change(Situation& situation, std::size_t which, const std::string& bytes, bool keepsTime)
{
    Picture& old = situation.pictures[which % situation.pictures.size()];
    const fs::path path = situation.card.path / old.below;
    struct stat before { };
    if (::stat(path.c_str(), &before) != 0 || readFile(path) != old.bytes || !rewrite(path, bytes))
        return;
    const timespec times[2] = {before.st_atim, before.st_mtim};
    if (keepsTime)
        ::utimensat(AT_FDCWD, path.c_str(), times, 0);
    Picture now{old.below, bytes};
    for (Picture& picture : situation.pictures)
        picture.isSpoilt = picture.isSpoilt || picture.bytes == old.bytes;
    situation.pictures.push_back(std::move(now));
    situation.world.flush();
}

void add(Situation& situation, const Picture& picture)
{
    const fs::path path = situation.card.path / picture.below;
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error || fs::exists(path, error))
        return;
    writeFile(path, picture.bytes);
    if (readFile(path) == picture.bytes)
        situation.pictures.push_back(picture);
    situation.world.flush();
}

void takeAway(Situation& situation, std::size_t step, bool dies)
{
    const auto& ofCard = situation.card.steps;
    situation.lostTheCard =
        situation.lostTheCard || std::find(ofCard.begin(), ofCard.end(), step) != ofCard.end();
    if (!dies || !situation.world.die(step))
        situation.world.detach(step);
}

} // namespace

Blow BlowMaker::detach()
{
    World& world = m_situation.world;
    if (world.stepCount() == 0)
        return {};
    const std::size_t step = m_draw.below(world.stepCount());
    const bool dies = m_draw.chance(50);
    Blow blow;
    blow.story = (dies ? "death or detach of " : "detach of ") + world.step(step).story;
    blow.strike = [situation = &m_situation, step, dies] { takeAway(*situation, step, dies); };
    return blow;
}

// Another disk, or a folder of the card, comes where one was.
Blow BlowMaker::swap()
{
    World& world = m_situation.world;
    if (world.stepCount() == 0)
        return {};
    const std::size_t step = m_draw.below(world.stepCount());
    std::vector<fs::path> folders{m_situation.card.reals[0],
        m_situation.card.reals[0] / "DCIM/100MFX",
        m_situation.target.reals[0],
        world.addMemoryDisk("stranger").shelf};
    const fs::path other = m_draw.oneOf(folders);
    fs::create_directories(other);
    Blow blow;
    blow.story = "swap of " + world.step(step).story + " for " + other.string();
    blow.strike = [situation = &m_situation, step, other] {
        takeAway(*situation, step, false);
        situation->wasSwapped = true;
        situation->world.bindForNow(other, situation->world.step(step).place);
    };
    return blow;
}

Blow BlowMaker::addPicture()
{
    static const std::vector<std::string> kNames{"DCIM/100MFX/ADDED.JPG",
        "DCIM/103NEW/ADDED.JPG",
        "DCIM/100MFX/IMG_0001.xmp",
        "DCIM/100MFX/.ADDED.JPG",
        "ADDED.JPG"};
    const Picture picture = drawPicture(m_draw, m_draw.oneOf(kNames));
    Blow blow;
    blow.story = "a picture comes onto the card: " + picture.below.string();
    blow.strike = [situation = &m_situation, picture] { add(*situation, picture); };
    return blow;
}

Blow BlowMaker::changePicture()
{
    const std::size_t which = m_draw.below(m_situation.pictures.size());
    const Picture& old = m_situation.pictures[which];
    const bool keepsTime = m_draw.chance(50);
    std::string bytes = drawPicture(m_draw, old.below).bytes;
    if (m_draw.chance(50) && old.bytes.size() > 16)
        bytes = old.bytes.substr(0, 4) + m_draw.bytes(old.bytes.size() - 4);
    Blow blow;
    blow.story = "a picture of the card changes: " + old.below.string()
        + (keepsTime ? ", with its time" : "") + ", to " + std::to_string(bytes.size()) + " bytes";
    blow.strike = [situation = &m_situation, which, bytes, keepsTime] {
        change(*situation, which, bytes, keepsTime);
    };
    return blow;
}

Blow BlowMaker::harmCopy()
{
    const bool isBackup = m_situation.backup && m_draw.chance(50);
    const fs::path folder = isBackup ? m_situation.backup->path : m_situation.target.path;
    const std::size_t which = m_draw.below(8);
    const std::size_t kind = m_draw.below(kHarms.size());
    Blow blow;
    blow.story = kHarms[kind] + " of a copy in " + folder.string();
    blow.strike = [situation = &m_situation, folder, which, kind] {
        harmOne(*situation, folder, which, static_cast<Harm>(kind));
    };
    return blow;
}

} // namespace e2e::hunt
