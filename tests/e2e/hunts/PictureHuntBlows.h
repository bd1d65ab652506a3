// What the hunt does to a round while mfx runs: to its disks, its card, its copies. Each is drawn
// once and struck later, between two steps of the program.
#pragma once

#include "e2e/hunts/PictureHuntDraw.h"
#include "e2e/hunts/PictureHuntRound.h"

namespace e2e::hunt {

class BlowMaker {
public:
    BlowMaker(Situation& situation, Draw& draw)
        : m_situation(situation)
        , m_draw(draw)
    {
    }

    // Without a moment.
    Blow detach();
    Blow swap();
    Blow addPicture();
    Blow changePicture();
    Blow harmCopy();

private:
    Situation& m_situation;
    Draw& m_draw;
};

} // namespace e2e::hunt
