// Lists a card again, to see what came onto it or changed on it since it was listed: a camera may
// still be writing, and a question may stay open for an hour.
//
// Borrows the card. One thread; a look blocks for as long as the card takes.
#pragma once

#include "mfx/engine/card/CardScan.h"

#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace mfx {

class CardWatch {
public:
    explicit CardWatch(const CardContents& card)
        : m_card(card)
    {
    }
    CardWatch(const CardWatch&) = delete;
    CardWatch& operator=(const CardWatch&) = delete;

    // What the download itself makes on the card: a file, or a folder with all that appears in it.
    void passOver(std::string path) { m_own.insert(std::move(path)); }

    struct News {
        std::vector<std::string> added; // paths relative to the card's root
        std::vector<std::string> changed;
        std::vector<std::uint32_t> touched; // items that may hold other bytes: only reading tells
    };

    // What is new since the last look, or since the card was listed.
    News look();

private:
    void rememberListed();
    bool isOwn(const std::string& path) const;
    void note(const std::string& path, std::vector<std::string>& list);
    void lookAt(const MediaItem& item, const CardContents& now, News& news);

    const CardContents& m_card;
    std::set<std::string> m_own; // absolute
    std::set<std::string> m_reported;
    std::unordered_map<std::string, std::uint32_t> m_items; // of the card as it was listed, by path
    std::unordered_map<std::string, std::size_t> m_passedOver; // likewise; pictures in each
};

} // namespace mfx
