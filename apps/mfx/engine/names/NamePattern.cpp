#include "mfx/engine/names/NamePattern.h"

#include "mfx/texts/Texts.h"

#include <algorithm>
#include <iterator>

namespace mfx {

const std::string_view kUndated = "undated";

namespace {

void requireNoSlash(std::string_view name)
{
    if (name.find('/') != std::string_view::npos) {
        throw PatternError(
            text("$$$/Mfx/Pattern/NameWithSlash=The name pattern would give \"%1\", which holds "
                 "\"/\"; folders are the matter of the subfolder pattern.",
                {std::string(name)}));
    }
}

// What the device's name brings into a stem is not known when the pattern is read. A dot in front
// would hide the picture from everybody who looks for it.
void requireFileStem(const std::string& stem, const NameFields& fields)
{
    requireNoSlash(stem);
    if (stem.find('\0') != std::string::npos)
        throw PatternError(
            text("$$$/Mfx/Pattern/NulInName=The device's name holds a NUL character."));
    if (stem.empty())
        throw PatternError(
            text("$$$/Mfx/Pattern/EmptyName=The name pattern gives an empty name for \"%1\".",
                {fields.name}));
    if (stem.front() == '.')
        throw PatternError(
            text("$$$/Mfx/Pattern/HiddenName=The name pattern gives \"%1\", which would be hidden.",
                {stem}));
}

NumberMatcher::Part textPart(std::string text)
{
    return {NumberMatcher::Part::Kind::kText, std::move(text), 0};
}

NumberMatcher::Part datePart(const DatePiece& piece)
{
    using Kind = NumberMatcher::Part::Kind;
    switch (piece.kind) {
    case DatePiece::Kind::kDigits:
        return {Kind::kDigits, {}, piece.width};
    case DatePiece::Kind::kName:
        return {Kind::kLetters, {}, 0};
    case DatePiece::Kind::kText:
        break;
    }
    return textPart(piece.text);
}

PatternError emptyPattern()
{
    return PatternError(
        text("$$$/Mfx/Pattern/Empty=The name pattern is empty; {name} is the device's name."));
}

PatternError strayBrace()
{
    return PatternError(text("$$$/Mfx/Pattern/BraceClosesNothing=\"}\" closes nothing in the name "
                             "pattern; write \"}}\" for a brace."));
}

} // namespace

NamePattern::NamePattern(std::string_view pattern)
{
    requirePlainText(pattern);
    if (pattern.empty())
        throw emptyPattern();
    for (std::string_view rest = pattern; !rest.empty();)
        readPiece(rest);
    dropOwnExtension();
    if (m_pieces.empty()) {
        throw PatternError(
            text("$$$/Mfx/Pattern/OnlyExtension=The name pattern \"%1\" leaves nothing but "
                 "the extension.",
                {std::string(pattern)}));
    }
}

void NamePattern::readPiece(std::string_view& rest)
{
    const char first = rest.front();
    if ((first == '{' || first == '}') && rest.substr(1, 1) == rest.substr(0, 1)) {
        addText(first);
        rest.remove_prefix(2);
    } else if (first == '}') {
        throw strayBrace();
    } else if (first == '{') {
        readField(rest);
    } else {
        addText(first);
        rest.remove_prefix(1);
    }
}

void NamePattern::readField(std::string_view& rest)
{
    const std::size_t end = rest.find('}');
    if (end == std::string_view::npos)
        throw PatternError(text("$$$/Mfx/Pattern/BraceStaysOpen=\"%1\" has no \"}\" in the name "
                                "pattern; write \"{{\" for a brace.",
            {std::string(rest)}));
    m_pieces.push_back(fieldPiece(rest.substr(1, end - 1)));
    rest.remove_prefix(end + 1);
}

void NamePattern::addText(char c)
{
    requireNoSlash(std::string_view(&c, 1));
    if (m_pieces.empty() || m_pieces.back().kind != Piece::Kind::kText)
        m_pieces.emplace_back();
    m_pieces.back().text += c;
}

NamePattern::Piece NamePattern::fieldPiece(std::string_view field)
{
    const std::size_t colon = field.find(':');
    const std::string_view word = field.substr(0, colon);
    const bool bare = colon == std::string_view::npos;
    const std::string_view argument = bare ? std::string_view() : field.substr(colon + 1);
    if (bare && word == "name")
        return {Piece::Kind::kName, {}, {}, 0};
    if (bare && word == "ext")
        return {Piece::Kind::kExtension, {}, {}, 0};
    if (word == "date")
        return datePiece(argument);
    if (word == "seq")
        return sequencePiece(argument);
    throw PatternError(text("$$$/Mfx/Pattern/NoField={%1} is no field of a name pattern; there are "
                            "{name}, {ext}, {date:FORMAT} and {seq:DIGITS}.",
        {std::string(field)}));
}

NamePattern::Piece NamePattern::datePiece(std::string_view format)
{
    if (format.empty()) {
        throw PatternError(text(
            "$$$/Mfx/Pattern/DateNeedsFormat={date} needs a format, such as {date:%Y-%m-%d}."));
    }
    Piece piece;
    piece.kind = Piece::Kind::kDate;
    piece.format.emplace(format);
    // Of the finished text, since a letter of the format may stand for one with slashes.
    requireNoSlash(piece.format->longestExample());
    return piece;
}

NamePattern::Piece NamePattern::sequencePiece(std::string_view digits)
{
    if (digits.size() != 1 || digits.front() < '1' || digits.front() > '9') {
        throw PatternError(text("$$$/Mfx/Pattern/SequenceNeedsDigits={seq} needs a number of "
                                "digits from 1 to 9, such as {seq:4}."));
    }
    Piece piece;
    piece.kind = Piece::Kind::kSequence;
    piece.digits = static_cast<std::size_t>(digits.front() - '0');
    return piece;
}

// Takes off the ".{ext}" at the end, which every member has of its own: the pattern makes the stem,
// and the field would put the primary's extension into the names of its sidecars.
void NamePattern::dropOwnExtension()
{
    const std::size_t count = m_pieces.size();
    if (count < 2 || m_pieces[count - 1].kind != Piece::Kind::kExtension
        || m_pieces[count - 2].kind != Piece::Kind::kText || m_pieces[count - 2].text.back() != '.')
        return;
    m_pieces.pop_back();
    m_pieces.back().text.pop_back();
    if (m_pieces.back().text.empty())
        m_pieces.pop_back();
}

bool NamePattern::uses(Piece::Kind kind) const
{
    return std::any_of(m_pieces.begin(), m_pieces.end(), [kind](const Piece& piece) {
        return piece.kind == kind;
    });
}

// All names that the pattern can give, whoever took the picture and when: by them numbers go on
// behind the last one. A picture without a date has a fixed word for it, and so a form of its own.
NumberMatcher NamePattern::numberMatcher() const
{
    if (!usesDate())
        return NumberMatcher({numberParts(true)});
    return NumberMatcher({numberParts(true), numberParts(false)});
}

NumberMatcher::Parts NamePattern::numberParts(bool isDated) const
{
    NumberMatcher::Parts parts;
    for (const Piece& piece : m_pieces)
        addParts(piece, isDated, parts);
    return parts;
}

void NamePattern::addParts(const Piece& piece, bool isDated, NumberMatcher::Parts& parts)
{
    using Kind = NumberMatcher::Part::Kind;
    switch (piece.kind) {
    case Piece::Kind::kText:
        parts.push_back(textPart(piece.text));
        break;
    case Piece::Kind::kName:
    case Piece::Kind::kExtension:
        parts.push_back({Kind::kAnything, {}, 0});
        break;
    case Piece::Kind::kDate:
        addDateParts(piece, isDated, parts);
        break;
    case Piece::Kind::kSequence:
        parts.push_back({Kind::kNumber, {}, piece.digits});
        break;
    }
}

void NamePattern::addDateParts(const Piece& piece, bool isDated, NumberMatcher::Parts& parts)
{
    if (!isDated) {
        parts.push_back(textPart(std::string(kUndated)));
        return;
    }
    const std::vector<DatePiece> shape = piece.format->shape();
    std::transform(shape.begin(), shape.end(), std::back_inserter(parts), datePart);
}

// The names that one group can have had: only its number is open.
NumberMatcher NamePattern::numberMatcher(const NameFields& fields) const
{
    NumberMatcher::Parts parts;
    for (const Piece& piece : m_pieces)
        if (piece.kind == Piece::Kind::kSequence)
            parts.push_back({NumberMatcher::Part::Kind::kNumber, {}, piece.digits});
        else
            parts.push_back(textPart(rendered(piece, fields)));
    return NumberMatcher({std::move(parts)});
}

std::string NamePattern::rendered(const Piece& piece, const NameFields& fields)
{
    switch (piece.kind) {
    case Piece::Kind::kName:
        return fields.name;
    case Piece::Kind::kExtension:
        return fields.extension;
    case Piece::Kind::kDate:
        return fields.date ? piece.format->render(*fields.date) : std::string(kUndated);
    case Piece::Kind::kSequence: {
        const std::string number = std::to_string(fields.sequence);
        const std::size_t zeros = piece.digits - std::min(piece.digits, number.size());
        return std::string(zeros, '0') + number;
    }
    case Piece::Kind::kText:
        break;
    }
    return piece.text;
}

std::string NamePattern::stem(const NameFields& fields) const
{
    std::string stem;
    for (const Piece& piece : m_pieces)
        stem += rendered(piece, fields);
    requireFileStem(stem, fields);
    return stem;
}

} // namespace mfx
