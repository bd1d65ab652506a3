#include "e2e/hunts/PictureHuntSituation.h"

#include <iomanip>
#include <sstream>

namespace e2e::hunt {

std::string quoted(const std::string& word)
{
    std::ostringstream text;
    text << std::quoted(word);
    return text.str();
}

SituationMaker::SituationMaker(
    Situation& situation, Draw& draw, Figures& figures, std::vector<std::string>& story)
    : m_situation(situation)
    , m_draw(draw)
    , m_figures(figures)
    , m_story(story)
{
}

void SituationMaker::make()
{
    makePlaces();
    makeOptions();
}

void SituationMaker::makePlaces()
{
    Situation& now = m_situation;
    PlaceMaker maker(now.world, m_draw);
    now.card = maker.makeOwn("card");
    now.pictures = fillCard(m_draw, now.card.reals);
    if (m_draw.chance(10))
        addInnerDisk();
    now.target = m_draw.chance(60) ? maker.makeOwn("target") : maker.makeAlias("target", now.card);
    if (m_draw.chance(60)) {
        const std::size_t kind = m_draw.below(10);
        now.backup = kind < 5 ? maker.makeOwn("backup")
                              : maker.makeAlias("backup", kind < 8 ? now.target : now.card);
    }
    lookTwice();
    drawTrap(maker);
    tellPlaces();
    for (const Place* place : {&now.target, now.backup ? &*now.backup : nullptr})
        if (place && place->isOwn && m_draw.chance(40))
            drawPriors(*place);
    fillUp();
}

void SituationMaker::drawTrap(PlaceMaker& maker)
{
    Situation& now = m_situation;
    if (!m_draw.chance(20) || now.card.kind == "image looked at twice")
        return;
    const Place& backup = now.backup ? *now.backup : now.target;
    const std::vector<std::pair<const Place*, const Place*>> pairs{{&now.target, &now.card},
        {&backup, &now.card},
        {&now.target, &backup},
        {&now.card, &now.target},
        {&now.card, &backup}};
    const auto [place, other] = m_draw.oneOf(pairs);
    if (place == other || (!place->isOwn && place != &now.card))
        return;
    try {
        maker.addTrap(*place, *other);
        ++m_figures["traps"];
        m_story.push_back(
            "a trap in " + place->path.string() + " shows " + other->reals[0].string());
    } catch (const std::exception& refused) {
        m_story.push_back(std::string("no trap: ") + refused.what());
    }
}

// Now and then a disk in memory has no room for anything, or for little.
void SituationMaker::fillUp()
{
    if (!m_draw.chance(10))
        return;
    const Place& place = m_draw.chance(50) ? m_situation.card : m_situation.target;
    const Disk& disk = diskOf(m_situation.world, place.reals[0]);
    std::error_code error;
    const std::size_t keep = m_draw.oneOf(std::vector<std::size_t>{0, 0, 9000, 300'000});
    const std::uintmax_t room = fs::space(disk.shelf, error).available;
    if (disk.name == "house" || place.reals[0] == disk.shelf || room <= keep)
        return;
    writeFile(disk.shelf / "ballast", std::string(room - keep, 'b'));
    m_story.push_back("full but for " + std::to_string(keep) + " bytes: " + disk.shelf.string());
    ++m_figures["full disks"];
}

// A disk of its own, mounted below the card.
void SituationMaker::addInnerDisk()
{
    Situation& now = m_situation;
    const Disk& disk = now.world.addMemoryDisk("inner");
    const std::string folder = "DCIM/106MFX";
    const Picture picture = drawPicture(m_draw, fs::path(folder) / "INNER.JPG");
    fs::create_directories(now.card.reals[0] / folder);
    writeFile(disk.shelf / picture.below.filename(), picture.bytes);
    now.card.steps.push_back(now.world.bind(disk, disk.shelf, now.card.path / folder));
    now.card.reals.push_back(disk.shelf);
    now.hasInnerDisk = true;
    now.pictures.push_back(picture);
    ++m_figures["cards with a disk in them"];
}

// Now and then, the card is a second mount of its image; the first is for others.
void SituationMaker::lookTwice()
{
    Situation& now = m_situation;
    if (now.card.kind != "image" || now.card.reals.size() > 1 || !m_draw.chance(25))
        return;
    const Disk& disk = diskOf(now.world, now.card.reals[0]);
    if (disk.image.empty())
        return;
    const fs::path place = now.world.at("card-again");
    now.card.steps = {now.world.secondLook(disk, place)};
    now.card.path = place / now.card.reals[0].lexically_relative(disk.shelf);
    now.card.path = now.card.path.lexically_normal();
    now.card.kind = "image looked at twice";
}

void SituationMaker::tellPlaces()
{
    const auto note = [this](const std::string& role, const Place& place) {
        ++m_figures[role + ' ' + place.kind];
        m_story.push_back(role + ": " + place.kind + ", " + place.path.string() + ", made of "
            + place.reals[0].string());
    };
    note("card", m_situation.card);
    note("target", m_situation.target);
    if (m_situation.backup)
        note("backup", *m_situation.backup);
    for (std::size_t i = 0; i < m_situation.world.stepCount(); ++i)
        m_story.push_back("mounted: " + m_situation.world.step(i).story);
    for (const Picture& picture : m_situation.pictures)
        m_story.push_back(
            "  " + quoted(picture.below) + ' ' + std::to_string(picture.bytes.size()));
}

void SituationMaker::drawPriors(const Place& place)
{
    for (const Picture& picture : std::vector<Picture>(m_situation.pictures))
        if (m_draw.chance(50))
            setBefore(place, picture);
}

// What stands under the picture's name before, with its time.
void SituationMaker::setBefore(const Place& place, const Picture& picture)
{
    static const std::vector<std::string> kKinds{
        "the same", "other bytes", "empty", "zeros", "a link to it", "a hard link", "a folder"};
    const std::string other = drawPicture(m_draw, picture.below).bytes;
    const std::vector<std::string> contents{
        picture.bytes, other, "", std::string(picture.bytes.size(), '\0')};
    const std::size_t kind = m_draw.below(kKinds.size());
    const fs::path real =
        place.reals[0] / (m_draw.chance(20) ? "2026" : "") / picture.below.filename();
    std::error_code error;
    if (fs::exists(fs::symlink_status(real, error)))
        return;
    error.clear();
    fs::create_directories(real.parent_path());
    if (kKinds[kind] == "a link to it")
        fs::create_symlink(m_situation.card.path / picture.below, real, error);
    else if (kKinds[kind] == "a hard link")
        fs::create_hard_link(m_situation.card.reals[0] / picture.below, real, error);
    else if (kKinds[kind] == "a folder")
        fs::create_directory(real, error);
    else
        writeFile(real, contents[kind]);
    if (kind < contents.size())
        // A trap may lead from here to another disk, where the file really stands.
        m_situation.priors.push_back(
            {fs::canonical(real.parent_path()) / real.filename(), contents[kind]});
    m_story.push_back("before: " + quoted(real) + ' ' + kKinds[kind] + (error ? ", refused" : ""));
}

void SituationMaker::makeOptions()
{
    Situation& now = m_situation;
    const auto add = [&now](const std::vector<std::string>& more) {
        now.options.insert(now.options.end(), more.begin(), more.end());
    };
    if (m_draw.chance(25))
        add({"--subfolders", m_draw.oneOf(std::vector<std::string>{"%Y", "%Y/%Y-%m-%d", "a/b"})});
    if (m_draw.chance(15))
        add({"--rename",
            m_draw.oneOf(std::vector<std::string>{
                "{seq:4}.{ext}", "{date:%Y%m%d}-{seq:3}.{ext}", "X{name}.{ext}", "same.{ext}"})});
    if (m_draw.chance(10))
        add({"--only", m_draw.oneOf(std::vector<std::string>{"*.JPG", "IMG_0001*", "*.CR2"})});
    now.isDry = m_draw.chance(4);
    now.converts = m_draw.chance(8);
    now.deletes = m_draw.chance(80);
    now.hasTerminal = now.deletes && m_draw.chance(40);
    if (now.isDry)
        add({"--dry-run"});
    if (now.converts)
        add({"--dng"});
    if (now.deletes)
        add({"--delete-originals"});
    if (now.deletes && !now.hasTerminal)
        add({"--yes"});
}

} // namespace e2e::hunt
