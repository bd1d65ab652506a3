// One round of the hunt: places and pictures are drawn, mfx runs and is disturbed, then perhaps
// runs again undisturbed; after each, what the disks hold is judged. One thread.
#pragma once

#include "e2e/hunts/PictureHuntEvidence.h"
#include "e2e/hunts/PictureHuntProgram.h"
#include "e2e/hunts/PictureHuntSituation.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace e2e::hunt {

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

class Round {
public:
    // Programs: the folder of a run-time tree with the conversion library is `convertingProgram`.
    Round(std::uint64_t seed, std::uint64_t number, Figures& figures, fs::path convertingProgram);

    // What is wrong; nothing if all is well.
    std::vector<std::string> play();

    // All that was drawn, and what the runs came to.
    std::string story() const;

private:
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
    std::vector<std::unique_ptr<HuntProgram>> m_programs;
    std::vector<RunEnd> m_ends;
    std::vector<std::string> m_story;
    std::vector<std::string> m_wrongs;
};

} // namespace e2e::hunt
