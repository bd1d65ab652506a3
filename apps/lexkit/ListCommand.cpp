#include "commandline/JsonLine.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryText.h"

namespace lexkit_cli {

ExitCode runList(CommandLine const& line)
{
    lexkit_private::Dictionary dictionary;
    bool const isSound = DictionaryFile(line.file).readTelling(dictionary);
    forEachEntry(dictionary, [&](lexkit_private::DictionaryEntry const& entry) {
        std::string const value = utf8Of(entry.GetValue());
        if (line.json)
            commandline::printJson({{"key", keyText(entry)}, {"value", value}});
        else
            commandline::printLine(
                Pt::terminalText(keyText(entry)) + '\t' + Pt::terminalText(oneLine(value)));
    });
    return isSound ? ExitCode::kDone : ExitCode::kPartly;
}

} // namespace lexkit_cli
