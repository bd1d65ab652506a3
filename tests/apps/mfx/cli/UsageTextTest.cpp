#include "mfx/cli/UsageText.h"

#include "apps/mfx/texts/DictionaryFixture.h"

#include <gmock/gmock.h>

namespace mfx {
namespace {

constexpr const char* kMessages[] = {"A subcommand is required",
    "SOURCE is required",
    "The following argument was not expected: /b",
    "The following arguments were not expected: /c /b",
    "--to: At Most 1 required but received 2",
    "--to: 1 required DIR missing",
    "--dng-preview: huge not in {none,medium,full}",
    "Could not convert: --dng = maybe",
    "--backup excludes --no-backup"};

constexpr char16_t kGerman[] = u"\"$$$/Mfx/Usage/NoCommand=Ein Befehl fehlt\"\n"
                               u"\"$$$/Mfx/Usage/Required=Es fehlt: %1\"\n"
                               u"\"$$$/Mfx/Usage/NotExpectedOne=Unerwartetes Argument: %1\"\n"
                               u"\"$$$/Mfx/Usage/NotExpected=Unerwartete Argumente: %1\"\n"
                               u"\"$$$/Mfx/Usage/TooOften=%1: %3-mal statt höchstens %2-mal\"\n"
                               u"\"$$$/Mfx/Usage/ValueMissing=%1: Wert (%3) fehlt\"\n"
                               u"\"$$$/Mfx/Usage/NotOneOf=%1: %2 ist nicht in %3\"\n"
                               u"\"$$$/Mfx/Usage/CannotConvert=%1: %2 passt nicht\"\n"
                               u"\"$$$/Mfx/Usage/Excludes=%1 und %2 passen nicht zusammen\"\n";

using UsageTextTest = DictionaryFixture;

TEST_F(UsageTextTest, IsTheParsersOwnInEnglish)
{
    for (const char* message : kMessages)
        EXPECT_EQ(usageText(message), message);
}

TEST_F(UsageTextTest, SpeaksTheUsersLanguage)
{
    speak(kGerman);
    const char* const expected[] = {"Ein Befehl fehlt",
        "Es fehlt: SOURCE",
        "Unerwartetes Argument: /b",
        "Unerwartete Argumente: /c /b",
        "--to: 2-mal statt höchstens 1-mal",
        "--to: Wert (DIR) fehlt",
        "--dng-preview: huge ist nicht in {none,medium,full}",
        "--dng: maybe passt nicht",
        "--backup und --no-backup passen nicht zusammen"};
    for (std::size_t i = 0; i < std::size(kMessages); ++i)
        EXPECT_EQ(usageText(kMessages[i]), expected[i]);
}

TEST_F(UsageTextTest, KeepsWhatThePersonTyped)
{
    speak(kGerman);
    EXPECT_EQ(usageText("The following argument was not expected: a: b not in %1 is required"),
        "Unerwartetes Argument: a: b not in %1 is required");
    EXPECT_EQ(usageText("The following argument was not expected: "), "Unerwartetes Argument: ");
}

TEST_F(UsageTextTest, LeavesAMessageThatItDoesNotKnow)
{
    speak(kGerman);
    for (const char* message : {"", "something else", "required", "A subcommand is required!"})
        EXPECT_EQ(usageText(message), message);
}

} // namespace
} // namespace mfx
