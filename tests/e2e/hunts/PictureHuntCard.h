// The pictures of one round: what lies on the card, byte for byte, and what the hunt did to it.
#pragma once

#include "e2e/hunts/PictureHuntDraw.h"

#include <filesystem>
#include <string>
#include <vector>

namespace e2e::hunt {

namespace fs = std::filesystem;

struct Picture {
    fs::path below; // the card's root
    std::string bytes;
    bool isSpoilt = false; // the hunt took it off the card, or its copies when it was gone
    bool isHarmed = false; // the hunt took a copy of it
};

// Up to eight pictures and what lies beside them, written to the folders in turn; the first folder
// has all sub-folders. No two have the same bytes, but for hard links.
std::vector<Picture> fillCard(Draw& draw, const std::vector<fs::path>& folders);

Picture drawPicture(Draw& draw, const fs::path& below);

// With the date of all pictures, 2026-05-04 12:00 UTC. Makes folders that are missing.
void writeFile(const fs::path& path, const std::string& bytes);

std::string readFile(const fs::path& path);

} // namespace e2e::hunt
