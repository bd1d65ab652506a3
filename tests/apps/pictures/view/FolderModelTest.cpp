#include "pictures/view/FolderModel.h"

#include "pictures/folder/PathText.h"

#include <QSignalSpy>
#include <QTest>

#include <map>

#include <gmock/gmock.h>

namespace pictures {

namespace {

using testing::ElementsAre;

constexpr qint64 kSecond = 1'000'000'000;
constexpr qint64 kNoon = 1'617'883'200; // 8 April 2021, 12:00 by the camera's clock

class FolderModelTest : public testing::Test {
protected:
    FolderModelTest()
    {
        m_model.setTimes([this](const QString& path, qint64) -> std::optional<qint64> {
            const auto found = m_times.find(path.toStdString());
            return found == m_times.end() ? std::nullopt : std::optional(found->second);
        });
    }
    static PictureGroup group(const char* name, qint64 modified = 1)
    {
        return {QString::fromUtf8(name), PictureKind::kJpeg, {}, 5, modified * kSecond};
    }
    void show(std::vector<PictureGroup> groups)
    {
        m_model.setContents({QStringLiteral("/p"), std::move(groups), {}});
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (int row = 0; row < m_model.rowCount(); ++row)
            names.push_back(m_model.index(row).data().toString().toStdString());
        return names;
    }
    std::vector<int> counts() const
    {
        std::vector<int> counts;
        for (const FolderModel::Section& section : m_model.sections())
            counts.push_back(section.count);
        return counts;
    }

    FolderModel m_model;
    std::map<std::string, qint64> m_times;
};

TEST_F(FolderModelTest, SortsByCaptureTimeAndByNameWithinOne)
{
    m_times = {{"/p/a", kNoon + 2}, {"/p/b", kNoon + 1}, {"/p/c", kNoon + 1}};
    show({group("a"), group("b"), group("c")});
    EXPECT_THAT(names(), ElementsAre("b", "c", "a"));
    EXPECT_EQ(m_model.seconds(2), kNoon + 2);
}

TEST_F(FolderModelTest, MakesASectionOfEachDayOfTheCamera)
{
    m_times = {{"/p/a", kNoon}, {"/p/b", kNoon + 12 * 3600 - 1}, {"/p/c", kNoon + 12 * 3600}};
    show({group("a"), group("b"), group("c")});
    EXPECT_THAT(counts(), ElementsAre(2, 1));
    EXPECT_TRUE(m_model.sections()[0].heading.contains(QStringLiteral("2021")));
    EXPECT_NE(m_model.sections()[0].heading, m_model.sections()[1].heading);
}

TEST_F(FolderModelTest, PutsTimesBefore1970IntoTheirDays)
{
    m_times = {{"/p/a", -1}, {"/p/b", 0}, {"/p/c", -86400}, {"/p/d", -86401}};
    show({group("a"), group("b"), group("c"), group("d")});
    EXPECT_THAT(names(), ElementsAre("d", "c", "a", "b"));
    EXPECT_THAT(counts(), ElementsAre(1, 2, 1));
}

TEST_F(FolderModelTest, TakesTheModificationTimeWhereNothingElseIsKnown)
{
    show({group("late", kNoon + 5), group("early", kNoon)});
    EXPECT_THAT(names(), ElementsAre("early", "late"));
}

TEST_F(FolderModelTest, HasOneSectionWithoutHeadingWhenSortedByName)
{
    m_times = {{"/p/a", kNoon + 90000}, {"/p/b", kNoon}};
    show({group("a"), group("b")});
    m_model.setOrder(FolderModel::Order::kByName);
    EXPECT_THAT(names(), ElementsAre("a", "b"));
    EXPECT_THAT(counts(), ElementsAre(2));
    EXPECT_TRUE(m_model.sections()[0].heading.isEmpty());
}

TEST_F(FolderModelTest, HasNoHeadingWhileTimesAreNotKnown)
{
    PictureGroup unread = group("a");
    unread.bytes = -1;
    unread.modified = 0;
    show({unread});
    EXPECT_TRUE(m_model.sections()[0].heading.isEmpty());
}

TEST_F(FolderModelTest, IsResetOnlyWhenTheRowsAreOtherOnes)
{
    show({group("a", kNoon), group("b", kNoon + 1)});
    const QSignalSpy resets(&m_model, &FolderModel::modelReset);
    show({group("a", kNoon), group("b", kNoon + 1)});
    m_model.sortAnew();
    EXPECT_EQ(resets.count(), 0);
    m_times = {{"/p/a", kNoon + 3600}};
    m_model.sortAnew();
    EXPECT_EQ(resets.count(), 1);
    EXPECT_THAT(names(), ElementsAre("b", "a"));
}

TEST_F(FolderModelTest, FindsTheRowOfAPath)
{
    show({group("xa"), group("a")});
    EXPECT_EQ(m_model.path(m_model.rowOf(QStringLiteral("/p/a"))), QStringLiteral("/p/a"));
    EXPECT_EQ(m_model.rowOf(QStringLiteral("/p/b")), -1);
    EXPECT_EQ(m_model.rowOf(QStringLiteral("/q/a")), -1);
    EXPECT_EQ(m_model.rowOf({}), -1);
}

TEST_F(FolderModelTest, TellsAssistiveTechnologyNameAndTime)
{
    m_times = {{"/p/a.jpg", kNoon}};
    show({group("a.jpg")});
    const QString text = m_model.index(0).data(Qt::AccessibleTextRole).toString();
    EXPECT_TRUE(text.startsWith(QStringLiteral("a.jpg, "))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("12:00"))) << text.toStdString();
}

TEST_F(FolderModelTest, ShowsNamesWithoutTheFoldersBelow)
{
    show({group("2021-04-08/a.jpg")});
    EXPECT_THAT(names(), ElementsAre("a.jpg"));
    EXPECT_EQ(m_model.path(0), QStringLiteral("/p/2021-04-08/a.jpg"));
}

TEST_F(FolderModelTest, ShowsASignForWhatANameCannotShow)
{
    show({group("a\nb.jpg"), {pathText("Gr\xFC\xDF.jpg"), PictureKind::kJpeg, {}, 5, kSecond}});
    EXPECT_THAT(names(), ElementsAre("a%0Ab.jpg", "Gr%FC%DF.jpg"));
    EXPECT_TRUE(m_model.index(0).data(Qt::AccessibleTextRole).toString().startsWith("a%0Ab.jpg"));
}

TEST_F(FolderModelTest, GivesNothingForRowsThatAreNotThere)
{
    show({group("a")});
    EXPECT_FALSE(m_model.data({}, Qt::DisplayRole).isValid());
    EXPECT_EQ(m_model.rowCount(m_model.index(0)), 0);
}

} // namespace

} // namespace pictures
