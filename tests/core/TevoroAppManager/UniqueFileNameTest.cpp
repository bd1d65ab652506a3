#include "TevoroAppManager/UniqueFileName.h"

#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <QString>

#include <chrono>
#include <climits>
#include <filesystem>

#include <gtest/gtest.h>

namespace {

class UniqueFileNameTest : public testing::Test {
protected:
    // The name found, or "(none)".
    std::string unique(
        const std::string& name, int first = 1, bool forced = false, const std::string& out = {})
    {
        QString found = QString::fromStdString(out);
        const bool isFound = generateUniqueFileName(QString::fromStdString(folder.path()),
            QString::fromStdString(name),
            found,
            first,
            forced);
        return isFound ? found.toStdString() : "(none)";
    }
    void take(const std::string& name) { folder.write(name, ""); }

    test::TestFolder folder;
};

struct Split {
    std::string base;
    int number;
    bool operator==(const Split&) const = default;
};

Split split(const char* name)
{
    QString base;
    const int number = utilBaseFilename(QString::fromUtf8(name), base);
    return {base.toStdString(), number};
}

} // namespace

TEST_F(UniqueFileNameTest, TakesTheNameItselfWhereItIsFree)
{
    EXPECT_EQ(unique("IMG_1.jpg"), "IMG_1.jpg");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())); // what it made is gone
}

TEST_F(UniqueFileNameTest, NumbersFromTheFirstIndex)
{
    take("IMG_1.jpg");
    EXPECT_EQ(unique("IMG_1.jpg"), "IMG_1-1.jpg");
    EXPECT_EQ(unique("IMG_1.jpg", 7), "IMG_1-7.jpg");
    take("IMG_1-1.jpg");
    EXPECT_EQ(unique("IMG_1.jpg"), "IMG_1-2.jpg");
    EXPECT_EQ(unique("IMG_1.jpg", -1), "IMG_1--1.jpg");
}

TEST_F(UniqueFileNameTest, NumbersAFreeNameWhereItIsForced)
{
    EXPECT_EQ(unique("IMG_1.jpg", 1, true), "IMG_1-1.jpg");
    take("IMG_1-5.jpg");
    EXPECT_EQ(unique("IMG_1.jpg", 5, true), "IMG_1-6.jpg");
}

TEST_F(UniqueFileNameTest, PutsTheNumberAtTheEndOfANameWithoutADot)
{
    take("IMG");
    EXPECT_EQ(unique("IMG"), "IMG-1");
}

TEST_F(UniqueFileNameTest, CutsAtTheLastDotWhereverItIs)
{
    EXPECT_EQ(unique("a.b.c", 1, true), "a.b-1.c");
    EXPECT_EQ(unique(".hidden", 1, true), "-1.hidden");
    EXPECT_EQ(unique("end.", 1, true), "end-1.");
}

TEST_F(UniqueFileNameTest, BeginsFromTheNameThatComesIn)
{
    EXPECT_EQ(unique("IMG_1.jpg", 1, false, "other.tif"), "other.tif");
    EXPECT_EQ(unique("IMG_1.jpg", 1, true, "other.tif"), "other-1.tif");
}

TEST_F(UniqueFileNameTest, TrimsTheFolder)
{
    QString out;
    const QString spaced = u' ' + QString::fromStdString(folder.path()) + u' ';
    EXPECT_TRUE(generateUniqueFileName(spaced, QStringLiteral("a"), out, 1, false));
}

TEST_F(UniqueFileNameTest, GivesUpBehindTenThousandNames)
{
    take("a");
    for (int i = 1; i < 10000; ++i)
        take("a-" + std::to_string(i));
    EXPECT_EQ(unique("a"), "(none)");
    EXPECT_EQ(unique("a", 2), "a-10000");
    EXPECT_EQ(unique("a", 1, true), "a-10000");
}

TEST_F(UniqueFileNameTest, FindsANameAtOnceFromAGoodFirstIndex)
{
    for (int i = 0; i < 5000; ++i)
        take("a-" + std::to_string(i));
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(unique("a", 5000, true), "a-5000");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(UniqueFileNameTest, GoesOnWhereANameIsTakenButCannotBeSeen)
{
    // A dead link: nothing is there for the existence test, and no file can be made.
    std::filesystem::create_symlink("nowhere", folder.path("a.jpg"));
    EXPECT_EQ(unique("a.jpg"), "a-1.jpg");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("a.jpg")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("nowhere")));
}

TEST_F(UniqueFileNameTest, TakesAFolderForATakenName)
{
    std::filesystem::create_directory(folder.path("a.jpg"));
    EXPECT_EQ(unique("a.jpg"), "a-1.jpg");
}

TEST_F(UniqueFileNameTest, FindsNoneInAFolderThatIsMissing)
{
    QString out;
    const QString missing = QString::fromStdString(folder.path("missing"));
    EXPECT_FALSE(generateUniqueFileName(missing, QStringLiteral("a"), out, 1, false));
}

TEST_F(UniqueFileNameTest, FindsNoneInAFolderThatTakesNoFile)
{
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    const int answer =
        test::askedAsOrdinaryUser([this] { return unique("a") == "(none)" ? 1 : 0; });
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    EXPECT_EQ(answer, 1);
}

TEST_F(UniqueFileNameTest, LeavesLongNamesAsTheyAre)
{
    const std::string longest(255, 'n');
    EXPECT_EQ(unique(longest), longest);
    EXPECT_EQ(unique(longest, 1, true), "(none)"); // no file can have the number besides
    const std::string fits(253, 'n');
    EXPECT_EQ(unique(fits, 1, true), fits + "-1");
}

TEST_F(UniqueFileNameTest, CountsBeyondTheHighestNumber)
{
    take("a-2147483647");
    EXPECT_EQ(unique("a", INT_MAX, true), "a-2147483648");
}

TEST(UtilBaseFilenameTest, SplitsTheNumberOff)
{
    EXPECT_EQ(split("IMG_0012-7.jpg"), (Split{"IMG_0012", 7}));
    EXPECT_EQ(split("IMG_0012.jpg"), (Split{"IMG_0012", 0}));
    EXPECT_EQ(split("123"), (Split{"123", 123}));
    EXPECT_EQ(split("123.jpg"), (Split{"123", 0}));
    EXPECT_EQ(split("a-b-9.tar.gz"), (Split{"a-b", 0})); // "9.tar" is no number
    EXPECT_EQ(split("a-b-9.gz"), (Split{"a-b", 9}));
    EXPECT_EQ(split("a-"), (Split{"a", 0}));
    EXPECT_EQ(split("-5"), (Split{"", 5}));
    EXPECT_EQ(split("a-x.jpg"), (Split{"a", 0}));
    EXPECT_EQ(split("a-99999999999.jpg"), (Split{"a", 0}));
    EXPECT_EQ(split("a.b-3"), (Split{"a", 0})); // the dash lies behind the last dot
    EXPECT_EQ(split(""), (Split{"", 0}));
}
