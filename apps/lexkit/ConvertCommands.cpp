// From one form of a dictionary to another. What was written is read again and compared, entry by
// entry: a form that cannot hold a text is told of.

#include "commandline/Output.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryLine.h"
#include "lexkit/EntryText.h"
#include "platform/common/files/FileReplacement.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <sstream>

namespace lexkit_cli {

namespace {

using lexkit_private::Dictionary;
using lexkit_private::DictionaryEntry;
using lexkit_private::UnicodeRun;

bool areAlike(UnicodeRun const& left, UnicodeRun const& right)
{
    return std::equal(left.GetUnits(),
        left.GetUnits() + left.GetLength(),
        right.GetUnits(),
        right.GetUnits() + right.GetLength());
}

// Whether all that lookups find in the dictionary, they find in the written form, too.
bool holdsAll(Dictionary& dictionary, std::string const& written)
{
    Dictionary again;
    again.Read(written.data(), static_cast<int>(written.size()), false);
    bool isWhole = true;
    forEachEntry(dictionary, [&](DictionaryEntry const& entry) {
        if (dictionary.Find(entry) != &entry)
            return; // another entry hides it
        DictionaryEntry const* const copy = again.Find(entry);
        if (copy && areAlike(copy->GetValue(), entry.GetValue()))
            return;
        commandline::printMessage(kProgram, keyText(entry) + ": this form cannot hold the entry");
        isWhole = false;
    });
    return isWhole;
}

ExitCode finish(CommandLine const& line, std::string const& written, bool isWhole)
{
    if (std::error_code const error = Pt::replaceFile(line.output, written))
        throw CommandError(ExitCode::kPlaceUnusable,
            line.output + ": the file cannot be written: " + error.message());
    return isWhole ? ExitCode::kDone : ExitCode::kPartly;
}

} // namespace

ExitCode runCompile(CommandLine const& line)
{
    Dictionary dictionary;
    bool const isSound = DictionaryFile(line.file).readTelling(dictionary);
    lexkit::EncodingInfo const utf8(lexkit::EncodingInfo::kUTF8);
    std::ostringstream stream;
    dictionary.Compile(stream, line.utf8Output ? &utf8 : nullptr);
    std::string const written = std::move(stream).str();
    bool const isWhole = holdsAll(dictionary, written);
    return finish(line, written, isSound && isWhole);
}

ExitCode runText(CommandLine const& line)
{
    Dictionary dictionary;
    bool const isSound = DictionaryFile(line.file).readTelling(dictionary);
    std::vector<unsigned short> units{0xFEFF};
    forEachEntry(dictionary, [&](DictionaryEntry const& entry) {
        if (auto const text = entryLine(entry); text && dictionary.Find(entry) == &entry)
            units.insert(units.end(), text->begin(), text->end());
    });
    std::string const written(
        reinterpret_cast<char const*>(units.data()), units.size() * sizeof units.front());
    bool const isWhole = holdsAll(dictionary, written);
    return finish(line, written, isSound && isWhole);
}

} // namespace lexkit_cli
