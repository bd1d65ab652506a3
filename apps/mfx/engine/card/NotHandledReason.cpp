#include "mfx/engine/card/NotHandledReason.h"

#include "mfx/texts/Texts.h"

#include <array>
#include <cstddef>

namespace mfx {

namespace {

struct Wording {
    std::string_view word;
    const char* text;
};

// In the order of the enumerators.
constexpr auto kWordings = std::to_array<Wording>({
    {"device", "$$$/Mfx/NotHandled/Device=device"},
    {"folder listed under another path already",
        "$$$/Mfx/NotHandled/SameFolder=folder listed under another path already"},
    {"hidden", "$$$/Mfx/NotHandled/Hidden=hidden"},
    {"pipe", "$$$/Mfx/NotHandled/Pipe=pipe"},
    {"socket", "$$$/Mfx/NotHandled/Socket=socket"},
    {"symbolic link", "$$$/Mfx/NotHandled/Link=symbolic link"},
    {"system file", "$$$/Mfx/NotHandled/JunkFile=system file"},
    {"system folder", "$$$/Mfx/NotHandled/SystemFolder=system folder"},
    {"unknown kind of file", "$$$/Mfx/NotHandled/Other=unknown kind of file"},
});

const Wording& wordingOf(NotHandledReason reason)
{
    return kWordings.at(static_cast<std::size_t>(reason));
}

} // namespace

std::string_view reasonWord(NotHandledReason reason)
{
    return wordingOf(reason).word;
}

std::string reasonText(NotHandledReason reason)
{
    return text(wordingOf(reason).text);
}

bool isHarmless(NotHandledReason reason)
{
    return reason == NotHandledReason::kSystemFolder || reason == NotHandledReason::kJunkFile
        || reason == NotHandledReason::kSameFolder || reason == NotHandledReason::kSocket
        || reason == NotHandledReason::kPipe || reason == NotHandledReason::kDevice;
}

} // namespace mfx
