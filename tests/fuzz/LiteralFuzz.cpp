// Any bytes as a literal of a program, and as the units of a value and of a text for users.

#include "fuzz/DictionaryChecks.h"
#include "lexkit/private/DictionaryLine.h"
#include "lexkit/private/ZString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using lexkit_private::DictionaryEntry;
using lexkit_private::UnicodeRun;
using Units = std::vector<unsigned short>;

void checkLiteral(const std::string& literal)
{
    lexkit_private::Dictionary dictionary;
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
    const UnicodeRun plain = dictionary.Lookup(literal.c_str(), nullptr);
    const UnicodeRun decoded = dictionary.Lookup(literal.c_str(), &utf8);
    fuzz::require(plain.GetLength() <= literal.size() && decoded.GetLength() <= literal.size());
    fuzz::require(!dictionary.HasKey(literal.c_str(), nullptr));
}

void checkEscapes(const Units& text)
{
    const UnicodeRun value = DictionaryEntry::ConvertEscapeSequences(text.data(), text.size());
    fuzz::require(value.GetLength() <= text.size());
    unsigned long length = text.size();
    const auto escaped = lexkit_private::do_escapes(text.data(), length);
    fuzz::require(escaped ? length > text.size() : length == text.size());
    const auto isSpecial = [](unsigned short unit) {
        return unit == u'\\' || unit == u'^' || unit == u'#';
    };
    if (std::any_of(text.begin(), text.end(), isSpecial))
        return;
    // Without a prefix of an escape, spelling and converting give the text back.
    const UnicodeRun back =
        DictionaryEntry::ConvertEscapeSequences(escaped ? escaped.get() : text.data(), length);
    fuzz::require(
        std::equal(text.begin(), text.end(), back.GetUnits(), back.GetUnits() + back.GetLength()));
}

void checkText(const Units& text)
{
    lexkit_private::ZString string(text.data(), text.size());
    lexkit_private::ZString edited = string;
    edited.RemoveAccelerators();
    fuzz::require(edited.GetLength() <= string.GetLength());
    edited.Replace(1, string);
    edited.TrimBlanks();
    edited.TrimEllipsis();
    edited.RemoveExtension();
    long number = 0;
    edited.ToInteger(number);
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
    std::vector<char> bytes(string.BackDoorGetCStringSize(&utf8));
    string.BackDoorGetCString(bytes.data(), bytes.size(), true, &utf8);
    lexkit_private::ZString again;
    again.BackDoorMakeFromCString(bytes.data(), bytes.size() - 1, &utf8);
    fuzz::require(again.GetLength() == string.GetLength());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    checkLiteral(std::string(data, data + size));
    Units units(size / 2);
    if (!units.empty())
        std::memcpy(units.data(), data, units.size() * 2);
    checkEscapes(units);
    checkText(units);
    units.push_back(0);
    lexkit_private::LiteralTag<unsigned short> tag;
    if (lexkit_private::ParseEntry(units.data(), tag))
        fuzz::require(tag.keyLength + tag.valueLength < units.size());
    return 0;
}
