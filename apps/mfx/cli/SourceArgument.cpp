#include "mfx/cli/SourceArgument.h"

#include "commandline/ExitCode.h"
#include "commandline/NameText.h"

namespace mfx {

using namespace commandline;

MediaSource sourceArgument(const std::string& text)
{
    auto source = resolveSource(text);
    if (!source)
        throw CommandError(ExitCode::kNotThere,
            "there is no source " + displayName(text)
                + ": it is no folder, and 'mfx sources' does not list it");
    return std::move(*source);
}

CardContents scanSource(const MediaSource& source, const std::vector<std::string>& only)
{
    ScanOptions options;
    options.only = NameFilter(only);
    CardContents card = scanCard(source.path, options);
    if (card.rootError)
        throw CommandError(ExitCode::kPlaceUnusable,
            "the source " + displayName(source.path)
                + " cannot be read: " + card.rootError.message());
    return card;
}

} // namespace mfx
