// What belongs together on a card: the files of one folder that share a stem, such as a raw file
// with its JPEG, a live photo's movie, a voice note, a movie's thumbnail, and sidecars of both
// styles.
//
// Stems compare byte for byte; a group never crosses folders. No two members share an extension in
// any case of letters, so that all of them can have one new stem anywhere: of a.jpg and a.JPG the
// second is a group of its own. Free functions without state; any thread may call them.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/dates/CaptureDate.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace mfx {

struct ItemGroup {
    // Indexes of items: the primary first (raw, image, movie, audio, other), sidecars last, and by
    // name within a kind.
    std::vector<std::uint32_t> members;
    std::uint32_t stemBytes = 0;
    // Of the first members, as far as they were read to tell twins from strangers (see
    // TwinCheck.h).
    std::vector<CaptureDate> ownDates;
};

// By names alone, without a look into the files. Every item is in exactly one group; groups stand
// in the order of their first item.
std::vector<ItemGroup> groupItems(const CardContents& card);

// Bytes of the card's names; they last as long as the card's contents.
std::string_view groupStem(const CardContents& card, const ItemGroup& group);
std::string_view memberExtension(
    const CardContents& card, const ItemGroup& group, std::size_t member);

// From the first member with a date of its own; without one, from the primary's file time. Dates
// that the group knows already are not read again.
CaptureDate groupCaptureDate(const CardContents& card, const ItemGroup& group);

} // namespace mfx
