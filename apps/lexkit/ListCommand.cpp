#include "commandline/JsonLine.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryText.h"

namespace lexkit_cli {

ExitCode runList(const CommandLine& line)
{
    lexkit_private::Dictionary dictionary;
    const bool isSound = DictionaryFile(line.file).readTelling(dictionary);
    forEachEntry(dictionary, [&](const lexkit_private::DictionaryEntry& entry) {
        const std::string value = utf8Of(entry.GetValue());
        if (line.json)
            commandline::printJson({{"key", keyText(entry)}, {"value", value}});
        else
            commandline::printLine(
                Pt::terminalText(keyText(entry)) + '\t' + Pt::terminalText(oneLine(value)));
    });
    return isSound ? ExitCode::kDone : ExitCode::kPartly;
}

} // namespace lexkit_cli
