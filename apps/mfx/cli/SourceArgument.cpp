#include "mfx/cli/SourceArgument.h"

#include "commandline/ExitCode.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"

namespace mfx {

using namespace commandline;

MediaSource sourceArgument(const std::string& name)
{
    auto source = resolveSource(name);
    if (!source)
        throw CommandError(ExitCode::kNotThere,
            text("$$$/Mfx/Sources/NoSuchSource=there is no source %1: it is no folder, and 'mfx "
                 "sources' does not "
                 "list it",
                {Pt::displayName(name)}));
    return std::move(*source);
}

// What cannot be read at all is refused here. Folders below it that cannot be read are reported
// with the summary, for the rest of the card may well be saved.
CardContents scanSource(
    const MediaSource& source, const std::vector<std::string>& only, bool putsBack)
{
    ScanOptions options;
    options.putsBack = putsBack;
    options.only = NameFilter(only);
    CardContents card = scanCard(source.path, options);
    if (card.rootError)
        throw CommandError(ExitCode::kPlaceUnusable,
            text("$$$/Mfx/Sources/CannotRead=the source %1 cannot be read: %2",
                {Pt::displayName(source.path), card.rootError.message()}));
    return card;
}

} // namespace mfx
