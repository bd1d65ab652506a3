#include "commandline/JsonLine.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryText.h"

namespace lexkit_cli {

// A lookup answers whatever the state of the file, so faults are told and change no result.
ExitCode runGet(CommandLine const& line)
{
    lexkit_private::Dictionary dictionary;
    DictionaryFile(line.file).readTelling(dictionary);
    lexkit::EncodingInfo const utf8(lexkit::EncodingInfo::kUTF8); // of the command line
    for (std::string const& literal : line.literals) {
        std::string const value = utf8Of(dictionary.Lookup(literal.c_str(), &utf8));
        if (line.json)
            commandline::printJson({{"literal", Pt::displayName(literal)},
                {"value", value},
                {"found", dictionary.HasKey(literal.c_str(), &utf8)}});
        else
            commandline::printLine(value);
    }
    return ExitCode::kDone;
}

} // namespace lexkit_cli
