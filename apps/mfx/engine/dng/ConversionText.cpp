#include "mfx/engine/dng/ConversionText.h"

#include "ZQPluginSupport/ZQPluginSupport.h"
#include "mfx/texts/Texts.h"

namespace mfx {

namespace {

// By the numbers of the library's results, which stay; none for success.
constexpr const char* kReasons[] = {
    nullptr,
    "$$$/Mfx/Convert/Unreadable=it cannot be read",
    "$$$/Mfx/Convert/NotSupported=it is no raw file, or of a camera whose files cannot be decoded",
    "$$$/Mfx/Convert/Damaged=its picture is not whole",
    "$$$/Mfx/Convert/TargetExists=the name of the DNG is taken",
    "$$$/Mfx/Convert/TargetUnwritable=the folder takes no file",
    "$$$/Mfx/Convert/NoSpace=no space is left",
    "$$$/Mfx/Convert/WriteFailed=the disk failed",
    "$$$/Mfx/Convert/NotVerified=what was read back from the disk is not what was written",
    "$$$/Mfx/Convert/TooLarge=it is too large",
    "$$$/Mfx/Convert/DecoderDied=the decoder broke down on it",
    "$$$/Mfx/Convert/DecoderHung=the decoder stood still for a minute",
    "$$$/Mfx/Convert/Incomplete=the program mfx-dng is missing or does not start; install mfx "
    "again",
    "$$$/Mfx/Convert/BadRequest=the conversion library is of another version; install mfx again",
};

constexpr int kCount = sizeof kReasons / sizeof *kReasons;
static_assert(kCount == kZQPluginBadRequest + 1);

} // namespace

std::string conversionText(std::optional<int> result)
{
    if (!result || *result < 0 || *result >= kCount)
        return text("$$$/Mfx/Download/NotConverted=it could not be converted to DNG");
    const std::string reason = *result == kZQPluginDone
        ? text("$$$/Mfx/Convert/NotPlaced=the DNG could not be put in its place")
        : text(kReasons[*result]);
    return text("$$$/Mfx/Convert/NotBecause=it could not be converted to DNG: %1", {reason});
}

} // namespace mfx
