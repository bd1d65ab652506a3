// Lists a card again, to see what came onto it or changed on it since it was listed: a camera may
// still be writing, and a question may stay open for an hour.
//
// Borrows the card. One thread; a look blocks for as long as the card takes.
#pragma once

#include "mfx/engine/CardScan.h"

#include <set>
#include <string>
#include <vector>

namespace mfx {

class CardWatch {
public:
    explicit CardWatch(const CardContents& card)
        : m_card(card)
    {
    }

    // Folders on the card that the download itself writes into: what appears there is its own.
    void passOver(std::string folder) { m_own.insert(std::move(folder)); }

    struct News {
        std::vector<std::string> added; // paths relative to the card's root
        std::vector<std::string> changed;
    };

    // What is new since the last look, or since the card was listed.
    News look();

private:
    bool isOwn(const std::string& path) const;
    void note(const std::string& path, std::vector<std::string>& list);

    const CardContents& m_card;
    std::set<std::string> m_own; // absolute
    std::set<std::string> m_told;
};

} // namespace mfx
