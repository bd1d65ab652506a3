#include "mfx/engine/CopyText.h"

#include "apps/mfx/texts/DictionaryFixture.h"

namespace mfx {
namespace {

using CopyTextTest = DictionaryFixture;

Pt::CopyResult failed(Pt::CopyProblem problem, std::error_code error = {})
{
    Pt::CopyResult result;
    result.problem = problem;
    result.error = error;
    return result;
}

TEST_F(CopyTextTest, SaysInEnglishWhatThePlatformSays)
{
    for (int problem = 0; problem <= static_cast<int>(Pt::CopyProblem::kNotProven); ++problem) {
        for (const std::error_code error :
            {std::error_code(), std::make_error_code(std::errc::io_error)}) {
            const auto result = failed(static_cast<Pt::CopyProblem>(problem), error);
            EXPECT_EQ(copyText(result), Pt::describe(result)) << problem;
        }
    }
}

TEST_F(CopyTextTest, SaysItInTheUsersLanguage)
{
    speak(u"\"$$$/Mfx/Copy/SourceChanged=wurde währenddessen geändert\"\n"
          u"\"$$$/Mfx/Copy/CannotWriteBecause=nicht zu schreiben (%1)\"\n");
    EXPECT_EQ(copyText(failed(Pt::CopyProblem::kSourceChanged)), "wurde währenddessen geändert");
    const auto error = std::make_error_code(std::errc::io_error);
    EXPECT_EQ(copyText(failed(Pt::CopyProblem::kTargetUnusable, error)),
        "nicht zu schreiben (" + error.message() + ')');
}

} // namespace
} // namespace mfx
