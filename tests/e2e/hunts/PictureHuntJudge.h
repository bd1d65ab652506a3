// Judges what mfx left: is any picture lost, was what it said true, is all that stood before still
// there. Looks only.
#pragma once

#include "e2e/hunts/PictureHuntRound.h"

namespace e2e::hunt {

class Judge {
public:
    // `before`: the disks when the runs began. `ends`: all runs since then.
    Judge(const Situation& situation, const Evidence& before, const std::vector<RunEnd>& ends)
        : m_situation(situation)
        , m_before(before)
        , m_now(situation.world)
        , m_ends(ends)
    {
    }

    // What is wrong.
    std::vector<std::string> judge();

    void expectNoLeftovers();

    std::size_t deletedOriginals() const;

private:
    void expectOrdinaryEnds();
    void expectNothingLost();
    void expectTruthOfVerdicts();
    void expectTwoCopies();
    void expectPriors();
    void expectNothingWritten();
    void expectCopies(const Picture& picture);
    bool mayStay(const fs::path& path) const;
    bool isOnCard(const Found& copy) const;
    bool isOnCardsDisk(const Found& copy) const;
    bool liesOnCard(const Evidence& evidence, const std::string& bytes) const;
    bool isDeleted(const Picture& picture) const;
    bool wantsTwoPlaces() const;
    std::string whereabouts(const Picture& picture) const;
    void wrong(const std::string& what) { m_wrongs.push_back(what); }

    const Situation& m_situation;
    const Evidence& m_before;
    const Evidence m_now;
    const std::vector<RunEnd>& m_ends;
    std::vector<std::string> m_wrongs;
};

} // namespace e2e::hunt
