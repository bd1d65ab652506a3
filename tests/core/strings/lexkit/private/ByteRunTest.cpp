#include "lexkit/private/ByteRun.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/unicode/UnicodeRun.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

using namespace lexkit_private;

class Counted final : public RefCountObj {
public:
    explicit Counted(bool& isGone)
        : m_isGone(isGone)
    {
    }
    ~Counted() override { m_isGone = true; }

private:
    bool& m_isGone;
};

TEST(RefCountPtrTest, KeepsItsObjectAsLongAsOneRefersToIt)
{
    bool isGone = false;
    auto* const object = new Counted(isGone);
    EXPECT_FALSE(object->Exists());
    RefCountPtr<Counted> first(object);
    EXPECT_TRUE(object->Exists());
    EXPECT_FALSE(object->IsShared());
    RefCountPtr<Counted> second;
    second = first;
    EXPECT_TRUE(object->IsShared());
    first = RefCountPtr<Counted>();
    EXPECT_FALSE(isGone);
    second = RefCountPtr<Counted>(second.Get()); // the same object
    EXPECT_FALSE(isGone);
    second = RefCountPtr<Counted>();
    EXPECT_TRUE(isGone);
}

TEST(ByteRunTest, CopiesItsBytes)
{
    char bytes[] = "abc";
    const ByteRun run(bytes, 3, false);
    bytes[0] = 'x';
    EXPECT_EQ(run.GetLength(), 3u);
    EXPECT_EQ(std::memcmp(run.GetData(), "abc", 3), 0);
}

TEST(ByteRunTest, IsEqualWhenItSharesAValueOrIsEmpty)
{
    const ByteRun first("abc", 3, true);
    const ByteRun copy(first);
    const ByteRun alike("abc", 3, true);
    EXPECT_TRUE(first == copy);
    EXPECT_FALSE(first == alike);
    EXPECT_TRUE(ByteRun("", 0, true) == ByteRun("x", 0, true));
}

TEST(ByteRunValueTest, IsAlwaysMadeAnew)
{
    const ByteRun first("abc", 3, true);
    const RefCountPtr<ByteRunValue> again(ByteRunValue::FindOrMake("abc", 3, 1));
    EXPECT_NE(again.Get(), first.Get());
    const RefCountPtr<ByteRunValue> empty(ByteRunValue::FindOrMake(nullptr, 0, 0));
    EXPECT_EQ(empty->GetData(), nullptr);
}

TEST(ByteRunValueTest, IsValidOnceSomebodyRefersToIt)
{
    EXPECT_THROW(ByteRunValue::ValidatePointer(nullptr), LXErrException);
    auto* const value = ByteRunValue::FindOrMake("a", 1, 0);
    EXPECT_THROW(ByteRunValue::ValidatePointer(value), LXErrException);
    const RefCountPtr<ByteRunValue> holder(value);
    EXPECT_NO_THROW(ByteRunValue::ValidatePointer(value));
}

TEST(UnicodeRunTest, CountsWholeUnits)
{
    const unsigned char bytes[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(UnicodeRun(bytes, 5).GetLength(), 2u);
    EXPECT_EQ(UnicodeRun(bytes, 5).GetByteLength(), 5u);
    EXPECT_TRUE(UnicodeRun(bytes, 1).IsEmpty());
    const unsigned short units[] = {7, 8};
    EXPECT_EQ(UnicodeRun(units, 2).GetByteLength(), 4u);
}

TEST(UnicodeRunTest, SharesOneEmptyRun)
{
    UnicodeRun first;
    EXPECT_EQ(first.Get(), UnicodeRun::EmptyRunInstance().Get());
    const unsigned short unit = 7;
    UnicodeRun second(&unit, 1);
    second.Clear();
    EXPECT_EQ(second.Get(), first.Get());
}

} // namespace
