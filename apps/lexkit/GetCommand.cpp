#include "commandline/JsonLine.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryText.h"

namespace lexkit_cli {

namespace {

void printRecord(const std::string& literal, const std::string& value, bool isFound)
{
    commandline::printJson({{"literal", Pt::displayName(literal)},
        {"value", value},
        // Told apart from the value, because a default may be the same text.
        {"found", isFound}});
}

} // namespace

// A lookup answers whatever the state of the file, so faults are told and change no result.
ExitCode runGet(const CommandLine& line)
{
    lexkit_private::Dictionary dictionary;
    DictionaryFile(line.file).readTelling(dictionary);
    const lexkit::EncodingInfo utf8(lexkit::EncodingInfo::kUTF8); // of the command line
    for (const std::string& literal : line.literals) {
        const std::string value = utf8Of(dictionary.Lookup(literal.c_str(), &utf8));
        if (line.json)
            printRecord(literal, value, dictionary.HasKey(literal.c_str(), &utf8));
        else
            commandline::printLine(value);
    }
    return ExitCode::kDone;
}

} // namespace lexkit_cli
