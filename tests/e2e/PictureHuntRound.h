// One round of the hunt: places and pictures are drawn, mfx runs and is disturbed, then perhaps
// runs again undisturbed; after each, what the disks hold is judged. One thread.
#pragma once

#include "e2e/PictureHuntCard.h"
#include "e2e/PictureHuntEvidence.h"
#include "e2e/PictureHuntPlaces.h"
#include "e2e/PictureHuntProgram.h"

#include <functional>
#include <map>
#include <memory>
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

// What one run of the program came to.
struct RunEnd {
    int code = 0;
    std::string out;
    std::string err;
    std::optional<nlohmann::json> summary;
    bool isHung = false;
};

enum class Moment { kStart, kItem, kQuestion };

// Something that happens to a run.
struct Blow {
    std::string story;
    Moment moment = Moment::kStart;
    std::chrono::milliseconds delay{};
    std::size_t items = 1; // that were told before
    std::function<void()> strike;
    bool isDone = false;
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
    bool converts = false;
    std::set<int> signals; // that the hunt sent
    bool lostTheCard = false;
    bool wasSwapped = false; // leftovers may be where no later run works
};

class Round {
public:
    // Programs: the folder of a run-time tree with the conversion library is `convertingProgram`.
    Round(std::uint64_t seed, std::uint64_t number, Figures& figures, fs::path convertingProgram);

    // What is wrong; nothing if all is well.
    std::vector<std::string> play();

    // All that was drawn, and what the runs came to.
    std::string story() const;

private:
    void drawPlaces();
    void addInnerDisk();
    void lookTwice();
    void drawTrap(PlaceMaker& maker);
    void fillUp();
    void setBefore(const Place& place, const Picture& picture);
    void tellPlaces();
    void drawPriors(const Place& place);
    void drawOptions();
    void drawBlows();
    void drawFault();
    Blow drawBlow();
    void setMoment(Blow& blow);
    void run(bool isDisturbed);
    void follow(const std::vector<std::unique_ptr<HuntProgram>>& programs);
    void strikeWhatIsDue(std::chrono::milliseconds since);
    bool isDue(const Blow& blow, std::chrono::milliseconds since) const;
    void start(bool hasFault);
    void startTheOtherWay();
    std::vector<std::string> words() const;
    Variables variables(bool hasFault) const;
    void judge(bool isLast);
    void tell(const std::string& line) { m_story.push_back(line); }

    std::uint64_t m_seed;
    std::uint64_t m_number;
    Figures& m_figures;
    fs::path m_convertingProgram;
    Draw m_draw;
    Situation m_situation;
    Variables m_fault;
    std::vector<Blow> m_blows;
    bool m_hasTerminal = false;
    std::vector<std::unique_ptr<HuntProgram>> m_programs;
    std::vector<RunEnd> m_ends;
    std::vector<std::string> m_story;
    std::vector<std::string> m_wrongs;
};

} // namespace e2e::hunt
