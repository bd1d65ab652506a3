#include "registry/QKConnectorAppInfoList.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ScObjects::QKConnectorAppInfo;
using ScObjects::QKConnectorAppInfoList;
using testing::ElementsAre;

QKConnectorAppInfo listed(const char* specifier, const char* path = "", const char* redirect = "")
{
    QKConnectorAppInfo info;
    info.specifier = specifier;
    info.path = path;
    info.redirectTo = redirect;
    return info;
}

// Says when it goes.
class WatchedInfo final : public QKConnectorAppInfo {
public:
    WatchedInfo(const QKConnectorAppInfo& info, int& deleted)
        : QKConnectorAppInfo(info)
        , m_deleted(deleted)
    {
    }
    ~WatchedInfo() override { ++m_deleted; }
    WatchedInfo(const WatchedInfo&) = delete;
    WatchedInfo& operator=(const WatchedInfo&) = delete;

private:
    int& m_deleted;
};

class QKConnectorAppInfoListTest : public testing::Test {
protected:
    bool add(const QKConnectorAppInfo& info) { return list.append(new QKConnectorAppInfo(info)); }
    void addAll(const std::vector<QKConnectorAppInfo>& records)
    {
        for (const QKConnectorAppInfo& info : records)
            EXPECT_TRUE(add(info)) << info.specifier.get();
    }

    std::string found(const char* specifier) const
    {
        const QKConnectorAppInfo* const info = list.find(specifier);
        return info != nullptr ? info->specifier.get() : "(null)";
    }
    long placeOf(const char* specifier) const
    {
        long index = 77;
        list.find(specifier, &index);
        return index;
    }
    std::vector<std::string> specifiers() const
    {
        std::vector<std::string> all;
        for (long i = 0; i < list.length(); ++i)
            all.emplace_back(list.get(i)->specifier.get());
        return all;
    }
    std::vector<std::string> paths() const
    {
        std::vector<std::string> all;
        for (long i = 0; i < list.length(); ++i)
            all.emplace_back(list.get(i)->path.get());
        return all;
    }

    QKConnectorAppInfoList list;
};

} // namespace

TEST_F(QKConnectorAppInfoListTest, FindsNothingWhenItIsEmpty)
{
    EXPECT_EQ(list.length(), 0);
    EXPECT_EQ(list.find("tevoro-2.0"), nullptr);
    EXPECT_EQ(placeOf("tevoro-2.0"), -1);
    EXPECT_EQ(placeOf(""), -1);
    QKConnectorAppInfo info = listed("before");
    long index = 77;
    EXPECT_FALSE(list.find("tevoro-2.0", info, &index));
    EXPECT_EQ(index, -1);
    EXPECT_EQ(info.specifier, "before");
}

TEST_F(QKConnectorAppInfoListTest, KeepsTheOrderInWhichRecordsCame)
{
    addAll({listed("c-1.0"), listed("a-1.0"), listed("b-1.0")});
    EXPECT_THAT(specifiers(), ElementsAre("c-1.0", "a-1.0", "b-1.0"));
    EXPECT_EQ(placeOf("b-1.0"), 2);
    QKConnectorAppInfo info;
    EXPECT_TRUE(list.getItemAt(1, info));
    EXPECT_EQ(info.specifier, "a-1.0");
}

TEST_F(QKConnectorAppInfoListTest, FindsTheFirstOfRecordsWithOneSpecifier)
{
    addAll({listed("a-1.0"), listed("b-1.0", "/first"), listed("b-1.0", "/second")});
    EXPECT_EQ(placeOf("b-1.0"), 1);
    EXPECT_EQ(list.find("b-1.0")->path, "/first");
}

TEST_F(QKConnectorAppInfoListTest, FindsTheRecordWithoutTheInstance)
{
    addAll({listed("other-1.0"), listed("tevoro-2.0-en_us")});
    EXPECT_EQ(found("tevoro_3-2.0-en_us"), "tevoro-2.0-en_us");
    EXPECT_EQ(placeOf("tevoro_3-2.0-en_us"), 1);
    QKConnectorAppInfo info;
    long index = 77;
    EXPECT_TRUE(list.find("tevoro_3-2.0-en_us", info, &index));
    EXPECT_EQ(info.specifier, "tevoro-2.0-en_us");
    EXPECT_EQ(index, 1);
}

TEST_F(QKConnectorAppInfoListTest, PrefersTheRecordOfTheInstance)
{
    addAll({listed("tevoro-2.0"), listed("tevoro_3-2.0")});
    EXPECT_EQ(found("tevoro_3-2.0"), "tevoro_3-2.0");
    EXPECT_EQ(found("tevoro_4-2.0"), "tevoro-2.0");
}

TEST_F(QKConnectorAppInfoListTest, ApproximatesNothingButTheInstance)
{
    addAll({listed("tevoro-2.0-en_us")});
    for (const char* text : {"tevoro", "tevoro-2.0", "tevoro-2.1-en_us", "tevoro-2.0-de_de", ""})
        EXPECT_EQ(found(text), "(null)") << text;
}

TEST_F(QKConnectorAppInfoListTest, RefusesAnEqualRecordAndDeletesIt)
{
    addAll({listed("tevoro-2.0", "/tevoro")});
    QKConnectorAppInfo again = listed("tevoro-2.0", "/tevoro");
    again.processID = 17;
    EXPECT_TRUE(list.isInList(again));
    int deleted = 0;
    EXPECT_FALSE(list.append(new WatchedInfo(again, deleted)));
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(list.length(), 1);
    EXPECT_EQ(list.get(0)->processID, 0U);
    EXPECT_FALSE(list.isInList(listed("tevoro-2.0", "/elsewhere")));
    EXPECT_TRUE(add(listed("tevoro-2.0", "/elsewhere")));
}

TEST_F(QKConnectorAppInfoListTest, OwnsItsRecords)
{
    int deleted = 0;
    {
        QKConnectorAppInfoList owner;
        owner.append(new WatchedInfo(listed("a-1.0"), deleted));
        owner.append(new WatchedInfo(listed("b-1.0"), deleted));
        EXPECT_TRUE(owner.remove(listed("b-1.0")));
        EXPECT_EQ(deleted, 1);
        EXPECT_FALSE(owner.remove(listed("b-1.0")));
        owner.append(new WatchedInfo(listed("c-1.0"), deleted));
    }
    EXPECT_EQ(deleted, 3);
}

TEST_F(QKConnectorAppInfoListTest, FindsTheOthersBehindARemovedRecord)
{
    addAll({listed("a-1.0"), listed("b-1.0"), listed("c-1.0")});
    EXPECT_TRUE(list.remove(listed("a-1.0")));
    EXPECT_EQ(placeOf("a-1.0"), -1);
    EXPECT_EQ(placeOf("c-1.0"), 1);
    list.clear();
    EXPECT_EQ(list.length(), 0);
    EXPECT_EQ(placeOf("c-1.0"), -1);
}

TEST_F(QKConnectorAppInfoListTest, UpdatesTheRecordThatItFinds)
{
    addAll({listed("a-1.0"), listed("b-1.0")});
    EXPECT_TRUE(list.update(listed("b-1.0", "/one")));
    EXPECT_TRUE(list.update(listed("b-1.0", "/two")));
    EXPECT_TRUE(list.update(listed("a-1.0", "/three")));
    EXPECT_THAT(paths(), ElementsAre("/three", "/two"));
}

TEST_F(QKConnectorAppInfoListTest, AddsTheRecordThatItDoesNotFindToUpdate)
{
    EXPECT_TRUE(list.update(listed("a-1.0", "/one")));
    EXPECT_TRUE(list.update(listed("a-1.0", "/two")));
    EXPECT_THAT(paths(), ElementsAre("/two"));
    EXPECT_EQ(placeOf("a-1.0"), 0);
}

TEST_F(QKConnectorAppInfoListTest, UpdatesNothingWithoutASpecifier)
{
    EXPECT_FALSE(list.update(listed("", "/one")));
    EXPECT_EQ(list.length(), 0);
    EXPECT_TRUE(add(listed("", "/one")));
    EXPECT_TRUE(list.update(listed("", "/two")));
    EXPECT_THAT(paths(), ElementsAre("/two"));
}

TEST_F(QKConnectorAppInfoListTest, RenamesTheRecordThatAnUpdateFoundWithoutItsInstance)
{
    addAll({listed("tevoro-2.0")});
    EXPECT_TRUE(list.update(listed("tevoro_3-2.0", "/three")));
    EXPECT_THAT(specifiers(), ElementsAre("tevoro_3-2.0"));
    EXPECT_EQ(found("tevoro_3-2.0"), "tevoro_3-2.0");
    EXPECT_EQ(found("tevoro-2.0"), "(null)");
}

TEST_F(QKConnectorAppInfoListTest, ForgetsTheUpdatedRecordWhenAnyIsRemoved)
{
    addAll({listed("a-1.0"), listed("b-1.0")});
    EXPECT_TRUE(list.update(listed("b-1.0", "/one")));
    EXPECT_TRUE(list.remove(listed("b-1.0", "/one")));
    EXPECT_TRUE(list.update(listed("b-1.0", "/two")));
    EXPECT_THAT(paths(), ElementsAre("", "/two"));
    list.clear();
    EXPECT_TRUE(list.update(listed("b-1.0", "/three")));
    EXPECT_THAT(paths(), ElementsAre("/three"));
}

TEST_F(QKConnectorAppInfoListTest, NotesProcessesOfExactlyThatSpecifier)
{
    addAll({listed("tevoro-2.0")});
    EXPECT_FALSE(list.setProcessID("tevoro_3-2.0", 17));
    EXPECT_TRUE(list.setProcessID("tevoro-2.0", 18));
    EXPECT_EQ(list.get(0)->processID, 18U);
}

TEST_F(QKConnectorAppInfoListTest, ResolvesAChainToThePathAtItsEnd)
{
    addAll({listed("a-1.0", "/a", "b-1.0"), listed("b-1.0", "/b", "c-1.0"), listed("c-1.0", "/c")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/c", "/c", "/c"));
}

TEST_F(QKConnectorAppInfoListTest, ResolvesAChainInAnyOrder)
{
    addAll({listed("b-1.0", "/b", "c-1.0"), listed("c-1.0", "/c"), listed("a-1.0", "/a", "b-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/c", "/c", "/c"));
}

TEST_F(QKConnectorAppInfoListTest, ResolvesAChainToAnEmptyPathToo)
{
    addAll({listed("a-1.0", "/a", "b-1.0"), listed("b-1.0", "/b", "c-1.0"), listed("c-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("", "", ""));
}

TEST_F(QKConnectorAppInfoListTest, LeavesARecordThatNamesNoRecord)
{
    addAll({listed("a-1.0", "/a", "gone-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/a"));
}

TEST_F(QKConnectorAppInfoListTest, EndsAChainAtTheRecordWhoseLinkIsMissing)
{
    addAll({listed("a-1.0", "/a", "b-1.0"), listed("b-1.0", "/b", "gone-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/b", "/b"));
}

TEST_F(QKConnectorAppInfoListTest, RedirectsToTheRecordWithoutTheInstance)
{
    addAll({listed("a-1.0", "", "b_2-1.0"), listed("b-1.0", "/b")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/b", "/b"));
}

TEST_F(QKConnectorAppInfoListTest, ResolvesNothingWithoutARedirect)
{
    addAll({listed("a-1.0", "/a")});
    EXPECT_FALSE(list.resolveRedirectTo());
}

TEST_F(QKConnectorAppInfoListTest, LeavesThePathsOfRecordsThatRedirectInACircle)
{
    addAll({listed("self-1.0", "/self", "self-1.0"),
        listed("a-1.0", "/a", "b-1.0"),
        listed("b-1.0", "/b", "a-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/self", "/a", "/b"));
}

TEST_F(QKConnectorAppInfoListTest, GivesWhatLeadsIntoACircleThePathWhereItEnters)
{
    addAll({listed("far-1.0", "/far", "near-1.0"),
        listed("near-1.0", "/near", "b-1.0"),
        listed("a-1.0", "/a", "b-1.0"),
        listed("b-1.0", "/b", "a-1.0"),
        listed("late-1.0", "/late", "a-1.0")});
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_THAT(paths(), ElementsAre("/b", "/b", "/a", "/b", "/a"));
}

TEST_F(QKConnectorAppInfoListTest, ResolvesAChainOfTensOfThousands)
{
    constexpr int kCount = 30'000;
    for (int i = 0; i < kCount; ++i)
        add(listed(
            ("app" + std::to_string(i)).c_str(), "/old", ("app" + std::to_string(i + 1)).c_str()));
    add(listed(("app" + std::to_string(kCount)).c_str(), "/end"));
    EXPECT_TRUE(list.resolveRedirectTo());
    EXPECT_EQ(list.get(0)->path, "/end");
    EXPECT_EQ(list.get(kCount - 1)->path, "/end");
}

TEST_F(QKConnectorAppInfoListTest, FindsNamesWhateverHasChanged)
{
    addAll({listed("a-1.0"), listed("b-1.0"), listed("a-2.0")});
    EXPECT_EQ(list.findName("a", 0), 0);
    EXPECT_EQ(list.findName("a", 1), 2);
    EXPECT_EQ(list.findName("a", 3), -1);
    EXPECT_EQ(list.findName("c", 0), -1);
    addAll({listed("c-1.0")});
    EXPECT_EQ(list.findName("c", 0), 3);
    EXPECT_TRUE(list.remove(listed("a-1.0")));
    EXPECT_EQ(list.findName("a", 0), 1);
    EXPECT_TRUE(list.update(listed("d-1.0")));
    EXPECT_EQ(list.findName("d", 0), 3);
    list.clear();
    EXPECT_EQ(list.findName("a", 0), -1);
}
