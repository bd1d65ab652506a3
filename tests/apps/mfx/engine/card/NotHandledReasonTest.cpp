#include "mfx/engine/card/NotHandledReason.h"

#include "apps/mfx/texts/DictionaryFixture.h"

#include <set>

#include <gmock/gmock.h>

namespace mfx {

namespace {

using NotHandledReasonTest = DictionaryFixture;

std::set<NotHandledReason> allReasons()
{
    std::set<NotHandledReason> all;
    for (int reason = 0; reason <= static_cast<int>(NotHandledReason::kOther); ++reason)
        all.insert(static_cast<NotHandledReason>(reason));
    return all;
}

TEST_F(NotHandledReasonTest, HasAWordOfItsOwnForPrograms)
{
    std::set<std::string_view> words;
    for (const NotHandledReason reason : allReasons())
        words.insert(reasonWord(reason));
    EXPECT_EQ(words.size(), allReasons().size());
    EXPECT_EQ(words.count(""), 0U);
    EXPECT_EQ(reasonWord(NotHandledReason::kLink), "symbolic link");
    EXPECT_EQ(reasonWord(NotHandledReason::kDevice), "device");
    EXPECT_EQ(reasonWord(NotHandledReason::kOther), "unknown kind of file");
}

TEST_F(NotHandledReasonTest, IsToldInTheOrderOfItsEnglishWords)
{
    std::string_view last;
    for (const NotHandledReason reason : allReasons()) {
        EXPECT_LT(last, reasonWord(reason));
        last = reasonWord(reason);
    }
}

TEST_F(NotHandledReasonTest, IsForPeopleInTheirLanguageAndForProgramsInOne)
{
    EXPECT_EQ(reasonText(NotHandledReason::kLink), "symbolic link");
    speak(u"\"$$$/Mfx/NotHandled/Link=Verweis\"\n\"$$$/Mfx/NotHandled/Other=Unbekannt\"\n");
    EXPECT_EQ(reasonText(NotHandledReason::kLink), "Verweis");
    EXPECT_EQ(reasonText(NotHandledReason::kOther), "Unbekannt");
    EXPECT_EQ(reasonWord(NotHandledReason::kLink), "symbolic link");
}

} // namespace
} // namespace mfx
