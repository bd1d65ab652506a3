#include "strings/PtZString.h"

#include <QString>

#include <gtest/gtest.h>

namespace {

QString g_logged;

void log(QtMsgType, const QMessageLogContext&, const QString& text)
{
    g_logged = text;
}

std::string text(const char* literal)
{
    return PtZString::getZString(QString::fromUtf8(literal)).toStdString();
}

} // namespace

TEST(PtZStringTest, ShowsTheTextBehindTheSignAsItStands)
{
    EXPECT_EQ(text("$$$/a=b^Qc"), "b^Qc");
    EXPECT_EQ(text("$$$/a=\\n^r#{x}"), "\\n^r#{x}");
    EXPECT_EQ(text("$$$/a=\u00fcber"), "\u00fcber");
}

TEST(PtZStringTest, KeepsFurtherSignsOfEquality)
{
    EXPECT_EQ(text("$$$/a=b=c=="), "b=c==");
    EXPECT_EQ(text("=x"), "x");
}

TEST(PtZStringTest, ShowsNothingForAnEmptyText)
{
    EXPECT_EQ(text("$$$/a="), "");
}

TEST(PtZStringTest, LogsALiteralWithoutATextAndShowsIt)
{
    const auto before = qInstallMessageHandler(log);
    const std::string shown = text("no token");
    qInstallMessageHandler(before);
    EXPECT_EQ(shown, "no token");
    EXPECT_EQ(
        g_logged.toStdString(), "ERROR: getZString(\"no token\") HAS MISSING OR IMPROPER TOKEN!!");
}

TEST(PtZStringTest, NamesTheUsualButtons)
{
    EXPECT_EQ(PtZString::getCancelString(), QStringLiteral("Cancel"));
    EXPECT_EQ(PtZString::getYesString(), QStringLiteral("&Yes"));
    EXPECT_EQ(PtZString::getNoString(), QStringLiteral("&No"));
    EXPECT_EQ(PtZString::getOKString(), QStringLiteral("OK"));
}

TEST(PtZStringTest, OpensAndClosesWithoutADictionary)
{
    EXPECT_TRUE(PtZString::openZStringDict(false));
    PtZString::closeZStringDict();
    EXPECT_FALSE(PtZString::appendZStringDict(QStringLiteral("/no/such/file")));
    EXPECT_EQ(text("$$$/a=b"), "b");
}
