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
#include <filesystem>
#include <sstream>

namespace lexkit_cli {

namespace {

using lexkit_private::Dictionary;
using lexkit_private::DictionaryEntry;
using lexkit_private::UnicodeRun;

bool areAlike(const UnicodeRun& left, const UnicodeRun& right)
{
    return std::equal(left.GetUnits(),
        left.GetUnits() + left.GetLength(),
        right.GetUnits(),
        right.GetUnits() + right.GetLength());
}

bool holdsAlike(Dictionary& dictionary, const DictionaryEntry& entry)
{
    const DictionaryEntry* const found = dictionary.Find(entry);
    return found && areAlike(found->GetValue(), entry.GetValue());
}

// Whether all that lookups find in the dictionary, they find in the written form, too.
bool holdsAll(Dictionary& dictionary, const std::string& written)
{
    Dictionary again;
    // Read by the library itself and not compared byte by byte: what counts is what programs will
    // find.
    again.Read(written.data(), static_cast<int>(written.size()), false);
    bool isWhole = true;
    forEachEntry(dictionary, [&](const DictionaryEntry& entry) {
        if (dictionary.Find(entry) != &entry)
            return; // another entry hides it
        if (holdsAlike(again, entry))
            return;
        commandline::printMessage(kProgram, keyText(entry) + ": this form cannot hold the entry");
        isWhole = false;
    });
    return isWhole;
}

// What one form cannot hold would be lost with the source.
void requireTwoFiles(const CommandLine& line)
{
    std::error_code ignored; // what is not there yet is another file
    if (std::filesystem::equivalent(line.file, line.output, ignored))
        throw CommandError(ExitCode::kPlaceUnusable,
            line.output + ": this is the dictionary that is read; write to another file");
}

ExitCode finish(const CommandLine& line, const std::string& written, bool isWhole)
{
    // Written even if an entry is missing: the user has been told, and the exit code says so.
    if (const std::error_code error = Pt::replaceFile(line.output, written))
        throw CommandError(ExitCode::kPlaceUnusable,
            line.output + ": the file cannot be written: " + error.message());
    return isWhole ? ExitCode::kDone : ExitCode::kPartly;
}

// In UTF-16 with a mark, so that the file means the same under every locale.
std::string textForm(Dictionary& dictionary)
{
    std::vector<unsigned short> units{0xFEFF};
    forEachEntry(dictionary, [&](const DictionaryEntry& entry) {
        // An entry that another one hides must not be written: in text form the later line would
        // win.
        if (const auto text = entryLine(entry); text && dictionary.Find(entry) == &entry)
            units.insert(units.end(), text->begin(), text->end());
    });
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof units.front()};
}

} // namespace

ExitCode runCompile(const CommandLine& line)
{
    requireTwoFiles(line);
    Dictionary dictionary;
    const bool isSound = DictionaryFile(line.file).readTelling(dictionary);
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8);
    std::ostringstream stream;
    dictionary.Compile(stream, line.utf8Output ? &utf8 : nullptr);
    const std::string written = std::move(stream).str();
    const bool isWhole = holdsAll(dictionary, written);
    return finish(line, written, isSound && isWhole);
}

ExitCode runText(const CommandLine& line)
{
    requireTwoFiles(line);
    Dictionary dictionary;
    const bool isSound = DictionaryFile(line.file).readTelling(dictionary);
    const std::string written = textForm(dictionary);
    const bool isWhole = holdsAll(dictionary, written);
    return finish(line, written, isSound && isWhole);
}

} // namespace lexkit_cli
