// Moves a staged group into its final folder: all members or none, never over a file. For the
// thread that runs the download.
#pragma once

#include "mfx/engine/saving/GroupWork.h"

namespace mfx {

// Decides the names that the members take and gives the staged files these names in their item
// folder. Members whose bytes stand there already are marked so.
void decideNames(GroupWork& work);

// The same decision for a group that is only planned: nothing is staged and nothing is renamed.
void previewNames(GroupWork& work);

// Moves the staged members into place, under other names if theirs were taken meanwhile. On
// failure none is left there.
void place(GroupWork& work);

// Removes what is left of the group outside its final place, and gives its folder back.
void dropItemFolder(GroupWork& work);

} // namespace mfx
