#include "mfx/engine/saving/CopyText.h"

#include "mfx/texts/Texts.h"

namespace mfx {

namespace {

// The first literal where the system gave no reason, the second one with it.
std::string withReason(const char* plain, const char* reasoned, const std::error_code& error)
{
    return error ? text(reasoned, {systemReason(error)}) : text(plain);
}

} // namespace

std::string copyText(const Pt::CopyResult& result)
{
    switch (result.problem) {
    case Pt::CopyProblem::kNone:
        return text("$$$/Mfx/Copy/Proven=copied and proven");
    case Pt::CopyProblem::kCancelled:
        return text("$$$/Mfx/Copy/Interrupted=interrupted");
    case Pt::CopyProblem::kSourceMissing:
        return text("$$$/Mfx/Copy/SourceMissing=it is no longer there");
    case Pt::CopyProblem::kSourceUnreadable:
        return withReason("$$$/Mfx/Copy/SourceUnreadable=it cannot be read",
            "$$$/Mfx/Copy/SourceUnreadableBecause=it cannot be read: %1",
            result.error);
    case Pt::CopyProblem::kSourceChanged:
        return text("$$$/Mfx/Copy/SourceChanged=it changed while it was read");
    case Pt::CopyProblem::kTargetTaken:
        return text("$$$/Mfx/Copy/NameTaken=the name is taken");
    case Pt::CopyProblem::kTargetFull:
        return withReason("$$$/Mfx/Copy/NoSpace=no space is left",
            "$$$/Mfx/Copy/NoSpaceBecause=no space is left: %1",
            result.error);
    case Pt::CopyProblem::kTargetUnusable:
        return withReason("$$$/Mfx/Copy/CannotWrite=it cannot be written",
            "$$$/Mfx/Copy/CannotWriteBecause=it cannot be written: %1",
            result.error);
    case Pt::CopyProblem::kNotProven:
        return text("$$$/Mfx/Copy/NotProven=the copy on the disk differs from what was written");
    }
    return text("$$$/Mfx/Copy/Unknown=unknown");
}

// "Invalid argument" from a FAT or a share usually means a letter of the name, which the
// system does not say. It is found out by trying, but only once a copy has failed for it.
std::string copyText(
    const Pt::CopyResult& result, const std::string& folder, const std::string& name)
{
    const auto letter = letterText(folder, name, result.error, Pt::LetterTest::kMakesFiles);
    return letter && result.problem == Pt::CopyProblem::kTargetUnusable ? *letter
                                                                        : copyText(result);
}

std::string systemReason(const std::error_code& error)
{
    if (error == std::errc::too_many_files_open)
        return text("$$$/Mfx/Copy/TooManyOpen=too many files are open: raise the limit that "
                    "'ulimit -n' shows");
    return error.message();
}

std::optional<std::string> letterText(const std::string& folder,
    const std::string& name,
    const std::error_code& error,
    Pt::LetterTest test)
{
    if (error != std::errc::invalid_argument && error != std::errc::illegal_byte_sequence)
        return std::nullopt;
    const auto letter = Pt::refusedLetter(folder, name, test);
    if (!letter)
        return std::nullopt;
    return text("$$$/Mfx/Copy/LetterRefused=the file system does not take '%1' in a name: give "
                "another with --rename",
        {*letter});
}

} // namespace mfx
