#include "platform/common/text/PtUcs.h"

#include "core/platform/WideLiteral.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>

using test::wide;

namespace {

constexpr unsigned short kUntouched = 0x7777;

} // namespace

TEST(PtUcsTest, MeasuresUpToTheTerminator)
{
    EXPECT_EQ(ptucslen(wide(u"card").c_str()), 4u);
    EXPECT_EQ(ptucslen(wide(u"").c_str()), 0u);
}

TEST(PtUcsTest, TakesNullForAnEmptyTextWhenItMeasures)
{
    EXPECT_EQ(ptucslen(nullptr), 0u);
}

TEST(PtUcsTest, CopiesThroughTheTerminator)
{
    unsigned short copy[] = {kUntouched, kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(ptucscpy(copy, wide(u"ab").c_str()), copy);
    EXPECT_EQ(wide(u"ab"), copy);
    EXPECT_EQ(copy[3], kUntouched);
}

TEST(PtUcsTest, LeavesACopyOfExactlyThatManyUnitsWithoutTerminator)
{
    unsigned short copy[] = {kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(ptucsncpy(copy, wide(u"ab").c_str(), 2), copy);
    EXPECT_EQ(copy[0], 'a');
    EXPECT_EQ(copy[1], 'b');
    EXPECT_EQ(copy[2], kUntouched);
}

TEST(PtUcsTest, DoesNotPadABoundedCopy)
{
    unsigned short copy[] = {kUntouched, kUntouched, kUntouched, kUntouched};
    ptucsncpy(copy, wide(u"a").c_str(), 4);
    EXPECT_EQ(copy[0], 'a');
    EXPECT_EQ(copy[1], 0);
    EXPECT_EQ(copy[2], kUntouched);
}

TEST(PtUcsTest, CopiesNothingWhenNoUnitIsAllowed)
{
    unsigned short copy[] = {kUntouched};
    ptucsncpy(copy, wide(u"a").c_str(), 0);
    EXPECT_EQ(copy[0], kUntouched);
}

TEST(PtUcsTest, Appends)
{
    unsigned short text[8] = {'a', 'b', 0, kUntouched, kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(ptucscat(text, wide(u"cd").c_str()), text);
    EXPECT_EQ(wide(u"abcd"), text);
    EXPECT_EQ(text[5], kUntouched);
}

TEST(PtUcsTest, ComparesByTheFirstUnlikeUnits)
{
    EXPECT_EQ(ptucscmp(wide(u"abc").c_str(), wide(u"abc").c_str()), 0);
    EXPECT_EQ(ptucscmp(wide(u"abd").c_str(), wide(u"abb").c_str()), 2);
    EXPECT_EQ(ptucscmp(wide(u"ab").c_str(), wide(u"abc").c_str()), -'c');
    EXPECT_EQ(ptucscmp(wide(u"\xFFFF").c_str(), wide(u"a").c_str()), 0xFFFF - 'a');
}

TEST(PtUcsTest, OrdersNullBeforeEveryText)
{
    EXPECT_EQ(ptucscmp(nullptr, nullptr), 0);
    EXPECT_EQ(ptucscmp(nullptr, wide(u"").c_str()), -1);
    EXPECT_EQ(ptucscmp(wide(u"").c_str(), nullptr), 1);
    EXPECT_EQ(ptucsicmp(nullptr, nullptr), 0);
}

TEST(PtUcsTest, KeepsCaseWhenItCompares)
{
    EXPECT_EQ(ptucsicmp(wide(u"A").c_str(), wide(u"a").c_str()), 'A' - 'a');
    EXPECT_EQ(ptucsicmp(wide(u"a").c_str(), wide(u"a").c_str()), 0);
}

TEST(PtUcsTest, ComparesAtMostThatManyUnits)
{
    EXPECT_EQ(ptucsncmp(wide(u"abc").c_str(), wide(u"abd").c_str(), 2), 0);
    EXPECT_EQ(ptucsncmp(wide(u"abc").c_str(), wide(u"abd").c_str(), 3), -1);
    EXPECT_EQ(ptucsncmp(wide(u"x").c_str(), wide(u"y").c_str(), 0), 0);
}

TEST(PtUcsTest, EndsABoundedCompareAtTheTerminator)
{
    const unsigned short a[] = {'a', 0, 'x'};
    const unsigned short b[] = {'a', 0, 'y'};
    EXPECT_EQ(ptucsncmp(a, b, 3), 0);
}

TEST(PtUcsTest, FindsTheFirstAndTheLastOfAUnit)
{
    const Pt::WideText text = wide(u"a/b/c");
    EXPECT_EQ(ptucschr(text.c_str(), '/'), text.c_str() + 1);
    EXPECT_EQ(ptucsrchr(text.c_str(), '/'), text.c_str() + 3);
    EXPECT_EQ(ptucschr(text.c_str(), 'x'), nullptr);
    EXPECT_EQ(ptucsrchr(text.c_str(), 'x'), nullptr);
}

TEST(PtUcsTest, DoesNotFindTheTerminator)
{
    EXPECT_EQ(ptucschr(wide(u"a").c_str(), 0), nullptr);
    EXPECT_EQ(ptucsrchr(wide(u"a").c_str(), 0), nullptr);
}

TEST(PtUcsTest, FindsATextInAText)
{
    const Pt::WideText text = wide(u"aabab");
    EXPECT_EQ(ptucsstr(text.c_str(), wide(u"ab").c_str()), text.c_str() + 1);
    EXPECT_EQ(ptucsstr(text.c_str(), wide(u"abb").c_str()), nullptr);
    EXPECT_EQ(ptucsstr(text.c_str(), wide(u"aababa").c_str()), nullptr);
}

TEST(PtUcsTest, FindsTheEmptyTextAtTheStart)
{
    const Pt::WideText text = wide(u"ab");
    const Pt::WideText empty;
    EXPECT_EQ(ptucsstr(text.c_str(), empty.c_str()), text.c_str());
    EXPECT_EQ(ptucsstr(empty.c_str(), empty.c_str()), empty.c_str());
}

TEST(PtUcsTest, LeavesTheTextAloneWhenAskedToPrint)
{
    unsigned short text[] = {kUntouched};
    ptucssprintf(text, wide(u"%d").c_str(), 5);
    EXPECT_EQ(text[0], kUntouched);
}

TEST(PtUcsTest, ConvertsWithCountsInBytes)
{
    unsigned short units[8] = {};
    EXPECT_EQ(ptucsmbstowcs(units, "a\xC3\xA4", 3), 6u);
    EXPECT_EQ(wide(u"a\u00E4"), units);
    char bytes[8] = {};
    EXPECT_EQ(ptucswcstombs(bytes, units, 4), 4u);
    EXPECT_STREQ(bytes, "a\xC3\xA4");
    EXPECT_EQ(ptucswcstombs(nullptr, units, 0), 1u);
}

TEST(PtUcsTest, TellsWhetherAFileIsThere)
{
    const test::TestFolder folder;
    const std::string file = folder.write("b\u00E4r", "x");
    EXPECT_EQ(ptucsaccess(wide(file).c_str(), 0), 0);
    EXPECT_EQ(ptucsaccess(wide(folder.path("other")).c_str(), 0), 1);
    EXPECT_EQ(ptucsaccess(nullptr, 0), 1);
}

TEST(PtUcsTest, TellsWhetherAFolderCanBeWrittenTo)
{
    const test::TestFolder folder;
    const Pt::WideText path = wide(folder.path());
    EXPECT_EQ(ptucsaccess(path.c_str(), 2), 0);
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    EXPECT_EQ(test::askedAsOrdinaryUser([&] { return ptucsaccess(path.c_str(), 2); }), 1);
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
}

TEST(PtUcsTest, OpensWithTheSystemsFlagsAndClosesOnExec)
{
    const test::TestFolder folder;
    const std::string file = folder.path("new");
    EXPECT_EQ(ptucsopen(wide(file).c_str(), O_RDWR, 0600), -1);
    EXPECT_EQ(errno, ENOENT);
    const int descriptor = ptucsopen(wide(file).c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
    ::close(descriptor);
}

TEST(PtUcsTest, RemovesAFile)
{
    const test::TestFolder folder;
    const std::string file = folder.write("old", "x");
    EXPECT_EQ(ptucsunlink(wide(file).c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(ptucsunlink(wide(file).c_str()), -1);
}
