// Draws what a round of the hunt begins with: where card, target and backup lie, what is on them,
// and what mfx is asked for. One thread.
#pragma once

#include "e2e/hunts/PictureHuntCard.h"
#include "e2e/hunts/PictureHuntPlaces.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace e2e::hunt {

using Figures = std::map<std::string, std::size_t>;

// What stood in target or backup before.
struct Prior {
    fs::path real;
    std::string bytes;
    bool isHarmed = false; // by the hunt
};

struct Situation {
    World world;
    Place card;
    Place target;
    std::optional<Place> backup;
    std::vector<Picture> pictures;
    std::vector<Prior> priors;
    std::vector<std::string> options; // besides the places
    bool deletes = false;
    bool isDry = false;
    bool hasTerminal = false; // to answer at
    bool converts = false;
    std::set<int> signals; // that the hunt sent
    bool hasInnerDisk = false; // below the card
    bool lostTheCard = false;
    bool sawOtherCard = false; // another lay there before it was listed
    bool wasSwapped = false; // leftovers may be where no later run works
};

class SituationMaker {
public:
    // Adds to the figures, and tells in the story what it drew.
    SituationMaker(
        Situation& situation, Draw& draw, Figures& figures, std::vector<std::string>& story);

    void make();

private:
    void makePlaces();
    void makeOptions();
    void addInnerDisk();
    void lookTwice();
    void drawTrap(PlaceMaker& maker);
    void tellPlaces();
    void drawPriors(const Place& place);
    void setBefore(const Place& place, const Picture& picture);
    void fillUp();

    Situation& m_situation;
    Draw& m_draw;
    Figures& m_figures;
    std::vector<std::string>& m_story;
};

// As a shell and a reader would have it.
std::string quoted(const std::string& word);

} // namespace e2e::hunt
