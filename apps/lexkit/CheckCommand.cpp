#include "commandline/JsonLine.h"
#include "lexkit/Commands.h"
#include "lexkit/DictionaryFile.h"
#include "lexkit/EntryText.h"
#include "lexkit/private/DictionaryLine.h"
#include "lexkit/private/DictionaryReader.h"
#include "lexkit/private/unicode/MultibyteReader.h"
#include "lexkit/private/unicode/UnicodeUtil.h"
#include "platform/common/text/TextEncoding.h"

#include <algorithm>

namespace lexkit_cli {

namespace {

using lexkit_private::DictionaryReader;
using lexkit_private::MultibyteReader;

class Checker {
public:
    explicit Checker(const CommandLine& line)
        : m_json(line.json)
        , m_isUtf8(line.utf8Input || Pt::TextEncoding::system().isUtf8())
    {
    }

    // Throws CommandError when the file cannot be read.
    void check(const std::string& path)
    {
        const DictionaryFile file(path);
        if (file.isBinary())
            checkBinary(file);
        else
            checkText(file);
    }

    bool foundFaults() const { return m_foundFaults; }

private:
    void checkBinary(const DictionaryFile& file)
    {
        lexkit_private::Dictionary dictionary;
        file.readInto(dictionary);
        // A binary dictionary has no lines to name, so the whole file is reported.
        if (!dictionary.IsValid())
            tell(file.path(),
                0,
                "damaged: " + std::to_string(dictionary.NumKeys()) + " entries can be read");
    }

    void checkText(const DictionaryFile& file)
    {
        const std::string bytes = file.bytes() + '\n'; // long enough to be a block
        const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
        const auto reader = DictionaryReader::Make(begin, begin + bytes.size());
        // Only an empty file is that short, and it has no bad lines.
        if (!reader)
            return;
        unsigned long number = 0;
        unsigned short before = u'\n';
        while (const unsigned short* const line = reader->ReadALine()) {
            // CR LF ends one line; what follows a NUL is still the same one.
            const bool isSecondHalf =
                before == u'\r' && *line == 0 && reader->GetLineEnd() == u'\n';
            if (!isSecondHalf && before != 0)
                ++number;
            checkLine(file.path(), number, line, *reader);
            before = reader->GetLineEnd();
        }
        if (reader->HasRest())
            tell(file.path(), number + 1, "(a NUL ends the text before its end)");
    }

    void checkLine(const std::string& path,
        unsigned long number,
        const unsigned short* line,
        const DictionaryReader& reader)
    {
        lexkit_private::LiteralTag<unsigned short> tag;
        // Only a reader of bytes can meet invalid UTF-8, and only while the line is still bytes:
        // conversion replaces it.
        const auto* const multibyte = dynamic_cast<const MultibyteReader*>(&reader);
        const std::string_view bytes = multibyte
            ? std::string_view(reinterpret_cast<const char*>(multibyte->GetLineBytes().GetData()),
                multibyte->GetLineBytes().GetCount())
            : std::string_view();
        if (m_isUtf8 && !Pt::isUtf8(bytes))
            tell(path, number, Pt::displayName(bytes));
        else if (*line != 0 && !lexkit_private::ParseEntry(line, tag))
            tell(path, number, utf8Of(line, lexkit_private::UnicodeUtil::StringLength(line)));
    }

    // Number 0 is the whole file.
    void tell(const std::string& path, unsigned long number, const std::string& text)
    {
        m_foundFaults = true;
        if (m_json) {
            using commandline::Json;
            commandline::printJson({{"file", Pt::displayName(path)},
                {"line", number > 0 ? Json(number) : Json(nullptr)},
                {"text", text}});
            return;
        }
        const std::string place = number > 0 ? ':' + std::to_string(number) : std::string();
        commandline::printLine(Pt::terminalText(path) + place + ": " + Pt::terminalText(text));
    }

    const bool m_json;
    const bool m_isUtf8;
    bool m_foundFaults = false;
};

} // namespace

// All files are looked at; what hinders counts more than what is found.
ExitCode runCheck(const CommandLine& line)
{
    Checker checker(line);
    auto worst = ExitCode::kDone;
    for (const std::string& path : line.files) {
        try {
            checker.check(path);
        } catch (const CommandError& error) {
            commandline::printMessage(kProgram, error.what());
            worst = std::max(worst, error.code());
        }
    }
    return std::max(worst, checker.foundFaults() ? ExitCode::kPartly : ExitCode::kDone);
}

} // namespace lexkit_cli
