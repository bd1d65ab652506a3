#include "TevoroAppManager/panel/FitPath.h"

#include <QFont>
#include <QFontMetrics>
#include <QRect>
#include <QStringList>

#include <random>

#include <gtest/gtest.h>

namespace {

QFontMetrics metrics()
{
    return QFontMetrics(QFont(QStringLiteral("DejaVu Sans"), 10));
}

QRect rectOf(int width)
{
    return {QPoint(0, 0), QPoint(width - 1, 19)};
}

QString fitted(const QString& path, int width)
{
    QString out = QStringLiteral("before");
    fitPath(path, out, metrics(), rectOf(width));
    return out;
}

// Every form in turn, from the longest on, and the first that is narrow enough.
QString naive(const QString& path, int width)
{
    const QFontMetrics font = metrics();
    const auto isNarrow = [&](const QString& text) {
        return font.horizontalAdvance(text) < width - 2;
    };
    const QStringList parts = path.split(u'/');
    if (parts.size() == 1 || isNarrow(path))
        return path;
    QStringList forms;
    for (qsizetype from = 2; from < parts.size(); ++from)
        forms << parts[0] + QStringLiteral("/.../") + parts.mid(from).join(u'/');
    forms << QStringLiteral(".../") + parts.last() << QStringLiteral("...") + parts.last()
          << parts.last();
    for (const QString& form : forms)
        if (isNarrow(form))
            return form;
    const int dots = font.horizontalAdvance(QStringLiteral("..."));
    QString rest = parts.last();
    do
        rest = rest.mid(1);
    while (!rest.isEmpty() && font.horizontalAdvance(rest) + dots > width - 2);
    return QStringLiteral("...") + rest;
}

QString randomPath(std::mt19937& random)
{
    const auto number = [&random](int most) {
        return std::uniform_int_distribution<int>(0, most)(random);
    };
    QString path;
    for (int parts = number(6); parts >= 0; --parts) {
        for (int length = number(12); length > 0; --length)
            path += QChar(u"abcdefghiWMl. "[number(13)]);
        if (parts > 0)
            path += u'/';
    }
    return path;
}

} // namespace

TEST(FitPathTest, LeavesAPathThatIsNarrowEnough)
{
    EXPECT_EQ(fitted(QStringLiteral("/home/a\\b"), 500), QStringLiteral("/home/a\\b"));
    EXPECT_EQ(fitted(QString(), 10), QString());
}

TEST(FitPathTest, LeavesANameWithoutASeparatorHoweverLong)
{
    const QString name(200, u'm');
    EXPECT_EQ(fitted(name, 50), name);
}

TEST(FitPathTest, DropsFoldersBehindTheRootFirst)
{
    const QString path = QStringLiteral("/first/second/third/last");
    const int whole = metrics().horizontalAdvance(path) + 2;
    EXPECT_EQ(fitted(path, whole + 1), path);
    EXPECT_EQ(fitted(path, whole), QStringLiteral("/.../second/third/last"));
}

TEST(FitPathTest, IsStrictAboutWidthsButNotWithCutNames)
{
    const QString path = QStringLiteral("/folder/WWWWW");
    const int all = metrics().horizontalAdvance(QStringLiteral("...WWWW"));
    // A bare name of the very width is cut, and the cut name may then have the very width.
    const int name = metrics().horizontalAdvance(QStringLiteral("WWWWW"));
    EXPECT_EQ(fitted(path, name + 3), QStringLiteral("WWWWW"));
    EXPECT_NE(fitted(path, name + 2), QStringLiteral("WWWWW"));
    if (all <= name) {
        EXPECT_EQ(fitted(path, all + 2), QStringLiteral("...WWWW"));
    }
}

TEST(FitPathTest, EndsWithDotsAloneWhereNothingFits)
{
    EXPECT_EQ(fitted(QStringLiteral("/folder/name"), 3), QStringLiteral("..."));
    EXPECT_EQ(fitted(QStringLiteral("/folder/name"), 0), QStringLiteral("..."));
    EXPECT_EQ(fitted(QStringLiteral("/"), 0), QStringLiteral("..."));
}

TEST(FitPathTest, AgreesWithTheListOfAllForms)
{
    std::mt19937 random(4711);
    for (int i = 0; i < 4000; ++i) {
        const QString path = randomPath(random);
        const int width = std::uniform_int_distribution<int>(0, 400)(random);
        EXPECT_EQ(fitted(path, width), naive(path, width)) << path.toStdString() << " in " << width;
    }
}
