#include "mfx/cli/HelpFormatter.h"

#include "mfx/texts/Columns.h"
#include "mfx/texts/Texts.h"

#include <sstream>

namespace mfx {

HelpFormatter::HelpFormatter()
{
    label("Usage", text("$$$/Mfx/Help/Usage=Usage"));
    label("OPTIONS", text("$$$/Mfx/Help/OptionsPlace=OPTIONS"));
    label("SUBCOMMAND", text("$$$/Mfx/Help/CommandPlace=SUBCOMMAND"));
    label("Positionals", text("$$$/Mfx/Help/Positionals=Positionals"));
    label("REQUIRED", text("$$$/Mfx/Help/Required=REQUIRED"));
}

// The parser pads by bytes. Letters of more than one byte would pull their descriptions to the
// left.
std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const
{
    const std::string name = make_option_name(option, isPositional) + make_option_opts(option);
    const std::size_t surplus = name.size() - columnsOf(name); // bytes that take no column
    std::ostringstream out;
    CLI::detail::format_help(out, name, make_option_desc(option), get_column_width() + surplus);
    return out.str();
}

// What excludes what is said in the texts where it matters. The parser's own list of it is in
// English.
std::string HelpFormatter::make_option_opts(const CLI::Option* option) const
{
    const std::string all = CLI::Formatter::make_option_opts(option);
    return all.substr(0, all.find(" Excludes:"));
}

} // namespace mfx
