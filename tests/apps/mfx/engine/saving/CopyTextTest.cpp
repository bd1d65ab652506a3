#include "mfx/engine/saving/CopyText.h"

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

TEST_F(CopyTextTest, SaysItInEnglishWithoutADictionary)
{
    using Pt::CopyProblem;
    struct Row {
        CopyProblem problem;
        const char* text;
        bool tellsError;
    };
    const auto error = std::make_error_code(std::errc::io_error);
    for (const Row& row : {Row{CopyProblem::kNone, "copied and proven", false},
             {CopyProblem::kCancelled, "interrupted", false},
             {CopyProblem::kSourceMissing, "it is no longer there", false},
             {CopyProblem::kSourceUnreadable, "it cannot be read", true},
             {CopyProblem::kSourceChanged, "it changed while it was read", false},
             {CopyProblem::kTargetTaken, "the name is taken", false},
             {CopyProblem::kTargetFull, "no space is left", true},
             {CopyProblem::kTargetUnusable, "it cannot be written", true},
             {CopyProblem::kNotProven,
                 "the copy on the disk differs from what was written",
                 false}}) {
        const std::string reason = row.tellsError ? ": " + error.message() : std::string();
        EXPECT_EQ(copyText(failed(row.problem)), row.text);
        EXPECT_EQ(copyText(failed(row.problem, error)), row.text + reason);
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
