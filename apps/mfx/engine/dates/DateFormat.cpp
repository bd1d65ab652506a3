#include "mfx/engine/dates/DateFormat.h"

#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <iomanip>
#include <locale>
#include <sstream>

namespace mfx {

namespace {

constexpr std::string_view kLetters = "aAbBcCdDeFgGhHIjmMprRSTuUVwWxXyY%";

[[noreturn]] void refuseLetter(std::string_view rest)
{
    const std::string_view letter = Pt::cutName(rest, 4);
    const std::size_t length = Pt::nameCharacterAt(letter, 0).length;
    throw PatternError(text("$$$/Mfx/Pattern/NoDateLetter=\"%1\" is no date letter that file "
                            "names can have; use such as %Y, %m, %d, %H, %M, %S.",
        {'%' + std::string(letter.substr(0, length))}));
}

// Refused when the pattern is read, and not at the first picture: half a card would be named by
// then.
void checkLetters(std::string_view format)
{
    for (std::size_t at = format.find('%'); at != std::string_view::npos;
         at = format.find('%', at + 2)) {
        if (at + 1 == format.size())
            throw PatternError(
                text("$$$/Mfx/Pattern/PercentAtEnd=The date format \"%1\" ends with \"%\"; "
                     "write \"%%\" for a percent sign.",
                    {std::string(format)}));
        if (kLetters.find(format[at + 1]) == std::string_view::npos)
            refuseLetter(format.substr(at + 1));
    }
}

// Formats that stand for several others, as in the classic locale.
std::string_view spelledOut(char letter)
{
    switch (letter) {
    case 'c':
        return "%a %b %e %H:%M:%S %Y";
    case 'D':
    case 'x':
        return "%m/%d/%y";
    case 'F':
        return "%Y-%m-%d";
    case 'r':
        return "%I:%M:%S %p";
    case 'R':
        return "%H:%M";
    case 'T':
    case 'X':
        return "%H:%M:%S";
    default:
        return {};
    }
}

DatePiece pieceOf(char letter)
{
    constexpr std::string_view kNames = "aAbBhp";
    if (letter == '%')
        return {DatePiece::Kind::kText, "%", 0};
    if (kNames.find(letter) != std::string_view::npos)
        return {DatePiece::Kind::kName, {}, 0};
    const bool isYear = letter == 'Y' || letter == 'G';
    const bool isDayOfWeek = letter == 'u' || letter == 'w';
    const std::size_t width = isYear ? 4 : letter == 'j' ? 3 : isDayOfWeek ? 1 : 2;
    return {DatePiece::Kind::kDigits, {}, width};
}

void addShape(std::string_view format, std::vector<DatePiece>& shape)
{
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            shape.push_back({DatePiece::Kind::kText, std::string(1, format[at]), 0});
            continue;
        }
        const char letter = format[++at];
        const std::string_view all = spelledOut(letter);
        if (all.empty())
            shape.push_back(pieceOf(letter));
        else
            addShape(all, shape);
    }
}

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
}

} // namespace

DateFormat::DateFormat(std::string_view format)
    : m_format(format)
{
    checkLetters(format);
}

// In the classic locale, whatever the user's: names of months would otherwise depend on who runs
// it, and a second run under another locale would save every picture again.
std::string DateFormat::render(const CaptureMoment& moment) const
{
    const std::tm time = brokenDownTime(moment);
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::put_time(&time, m_format.c_str());
    return out.str();
}

std::string DateFormat::longestExample() const
{
    // "Wednesday" and "September" are the longest names; all numbers have a fixed width.
    return render({2026, 9, 23, 22, 58, 58, std::nullopt, std::nullopt});
}

std::vector<DatePiece> DateFormat::shape() const
{
    std::vector<DatePiece> shape;
    addShape(m_format, shape);
    return shape;
}

// A line feed in a file name breaks the scripts that list files, and bytes that are no UTF-8 cannot
// be handed to the sink.
void requirePlainText(std::string_view pattern)
{
    if (std::any_of(pattern.begin(), pattern.end(), isControl)) {
        throw PatternError(
            text("$$$/Mfx/Pattern/ControlCharacter=The pattern \"%1\" holds a control "
                 "character; file names should not.",
                {Pt::terminalText(pattern)}));
    }
    if (!Pt::isUtf8(pattern)) {
        throw PatternError(text("$$$/Mfx/Pattern/NotUtf8=The pattern \"%1\" is not valid UTF-8.",
            {Pt::displayName(pattern)}));
    }
}

} // namespace mfx
