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
    explicit Checker(CommandLine const& line)
        : m_json(line.json)
        , m_isUtf8(line.utf8Input || Pt::TextEncoding::system().isUtf8())
    {
    }

    // Throws CommandError when the file cannot be read.
    void check(std::string const& path)
    {
        DictionaryFile const file(path);
        if (file.isBinary())
            checkBinary(file);
        else
            checkText(file);
    }

    bool foundFaults() const { return m_foundFaults; }

private:
    void checkBinary(DictionaryFile const& file)
    {
        lexkit_private::Dictionary dictionary;
        file.readInto(dictionary);
        if (!dictionary.IsValid())
            tell(file.path(),
                0,
                "damaged: " + std::to_string(dictionary.NumKeys()) + " entries can be read");
    }

    void checkText(DictionaryFile const& file)
    {
        std::string const bytes = file.bytes() + '\n'; // long enough to be a block
        auto const* const begin = reinterpret_cast<unsigned char const*>(bytes.data());
        auto const reader = DictionaryReader::Make(begin, begin + bytes.size());
        if (!reader)
            return;
        unsigned long number = 0;
        unsigned short before = u'\n';
        while (unsigned short const* const line = reader->ReadALine()) {
            // CR LF ends one line; what follows a NUL is still the same one.
            bool const isSecondHalf =
                before == u'\r' && *line == 0 && reader->GetLineEnd() == u'\n';
            if (!isSecondHalf && before != 0)
                ++number;
            checkLine(file.path(), number, line, *reader);
            before = reader->GetLineEnd();
        }
        if (reader->HasRest())
            tell(file.path(), number + 1, "(a NUL ends the text before its end)");
    }

    void checkLine(std::string const& path,
        unsigned long number,
        unsigned short const* line,
        DictionaryReader const& reader)
    {
        lexkit_private::LiteralTag<unsigned short> tag;
        auto const* const multibyte = dynamic_cast<MultibyteReader const*>(&reader);
        std::string_view const bytes = multibyte
            ? std::string_view(reinterpret_cast<char const*>(multibyte->GetLineBytes().GetData()),
                multibyte->GetLineBytes().GetCount())
            : std::string_view();
        if (m_isUtf8 && !Pt::isUtf8(bytes))
            tell(path, number, Pt::displayName(bytes));
        else if (*line != 0 && !lexkit_private::ParseEntry(line, tag))
            tell(path, number, utf8Of(line, lexkit_private::UnicodeUtil::StringLength(line)));
    }

    // Number 0 is the whole file.
    void tell(std::string const& path, unsigned long number, std::string const& text)
    {
        m_foundFaults = true;
        if (m_json) {
            using commandline::Json;
            commandline::printJson({{"file", Pt::displayName(path)},
                {"line", number > 0 ? Json(number) : Json(nullptr)},
                {"text", text}});
            return;
        }
        std::string const place = number > 0 ? ':' + std::to_string(number) : std::string();
        commandline::printLine(Pt::terminalText(path) + place + ": " + Pt::terminalText(text));
    }

    bool const m_json;
    bool const m_isUtf8;
    bool m_foundFaults = false;
};

} // namespace

// All files are looked at; what hinders counts more than what is found.
ExitCode runCheck(CommandLine const& line)
{
    Checker checker(line);
    auto worst = ExitCode::kDone;
    for (std::string const& path : line.files) {
        try {
            checker.check(path);
        } catch (CommandError const& error) {
            commandline::printMessage(kProgram, error.what());
            worst = std::max(worst, error.code());
        }
    }
    return std::max(worst, checker.foundFaults() ? ExitCode::kPartly : ExitCode::kDone);
}

} // namespace lexkit_cli
