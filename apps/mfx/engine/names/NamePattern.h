// What saved files are called: the pattern of --rename.
//
//   {name}         stem of the device's name        {seq:DIGITS}   sequence number, 1 to 9 digits
//   {ext}          extension of the device's name   {date:FORMAT}  capture date, strftime letters
//   {{  }}         a brace
//
// All members of a group share one stem and keep their own extensions: a ".{ext}" that ends the
// pattern says just that, any other {ext} stands for the primary's. Without a date, {date:...} is
// "undated". Constant after construction; any thread may render.
#pragma once

#include "mfx/engine/dates/DateFormat.h"
#include "mfx/engine/names/NumberMatcher.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mfx {

extern const std::string_view kUndated;

// What the fields of a pattern stand for, as text (see displayName()).
struct NameFields {
    std::string name;
    std::string extension; // of the primary, without the dot
    std::optional<CaptureMoment> date;
    std::uint64_t sequence = 0;
};

class NamePattern {
public:
    // Throws PatternError.
    explicit NamePattern(std::string_view pattern);

    bool usesSequence() const { return uses(Piece::Kind::kSequence); }
    bool usesDate() const { return uses(Piece::Kind::kDate); }

    // For all names that the pattern gives. Requires: it uses the sequence.
    NumberMatcher numberMatcher() const;

    // For those that it gives to one group, whatever its number.
    NumberMatcher numberMatcher(const NameFields& fields) const;

    // The stem. Throws PatternError when it would be empty, hidden or "." or "..", or would
    // hold "/" or NUL: the pattern and these fields do not make a file name.
    std::string stem(const NameFields& fields) const;

private:
    struct Piece {
        enum class Kind : std::uint8_t { kText, kName, kExtension, kDate, kSequence };
        Kind kind = Kind::kText;
        std::string text; // of Text
        std::optional<DateFormat> format; // of Date
        std::size_t digits = 0; // of Sequence
    };

    bool uses(Piece::Kind kind) const;
    NumberMatcher::Parts numberParts(bool isDated) const;
    static void addParts(const Piece& piece, bool isDated, NumberMatcher::Parts& parts);
    static void addDateParts(const Piece& piece, bool isDated, NumberMatcher::Parts& parts);
    void readPiece(std::string_view& rest);
    void readField(std::string_view& rest);
    void addText(char c);
    static Piece fieldPiece(std::string_view field);
    static Piece datePiece(std::string_view format);
    static Piece sequencePiece(std::string_view digits);
    static std::string rendered(const Piece& piece, const NameFields& fields);
    void dropOwnExtension();

    std::vector<Piece> m_pieces;
};

} // namespace mfx
