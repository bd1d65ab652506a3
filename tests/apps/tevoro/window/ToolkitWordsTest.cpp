#include "tevoro/window/ToolkitWords.h"

#include <QCoreApplication>
#include <QFile>
#include <QLibraryInfo>

#include <gtest/gtest.h>

namespace tevoro {

namespace {

std::string cancel()
{
    return QCoreApplication::translate("QPlatformTheme", "Cancel").toStdString();
}

} // namespace

TEST(ToolkitWordsTest, AreInOurLanguage)
{
    if (!QFile::exists(
            QLibraryInfo::path(QLibraryInfo::TranslationsPath) + QLatin1String("/qtbase_de.qm")))
        GTEST_SKIP() << "the toolkit's dictionaries are not installed";
    const std::pair<const char*, const char*> cases[] = {{"de_de", "Abbrechen"},
        {"fr_fr", "Annuler"},
        {"es_es", "Cancelar"},
        {"it_it", "Annulla"},
        {"ja_jp", "キャンセル"},
        {"nl_nl", "Annuleren"},
        {"pl_pl", "Anuluj"}};
    for (const auto& [locale, word] : cases) {
        const ToolkitWords words(locale);
        EXPECT_EQ(cancel(), word);
    }
}

TEST(ToolkitWordsTest, AreEnglishOtherwise)
{
    for (const char* const locale : {"en_us", "sv_fi", "", "../../etc"}) {
        const ToolkitWords words(locale);
        EXPECT_EQ(cancel(), "Cancel") << locale;
    }
}

TEST(ToolkitWordsTest, GoWithTheObject)
{
    {
        const ToolkitWords words("de_de");
    }
    EXPECT_EQ(cancel(), "Cancel");
}

} // namespace tevoro
