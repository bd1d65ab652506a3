#include "tevoro/window/BrowserWindow.h"

#include "apps/tevoro/window/BrowserWindowFixture.h"
#include "copies/CopyPlaces.h"
#include "pictures/folder/PathText.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QSlider>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTest>

#include <array>
#include <filesystem>

#include <gmock/gmock.h>

namespace tevoro {

namespace {

using BrowserWindowTest = BrowserWindowFixture;

TEST_F(BrowserWindowTest, ShowsTheFolderItIsTold)
{
    ASSERT_TRUE(showsThree());
    EXPECT_EQ(m_window->folder(), m_folder.path());
    EXPECT_EQ(m_window->findChild<QLineEdit*>()->text(), m_folder.path());
    EXPECT_TRUE(m_window->windowTitle().endsWith(QStringLiteral(" - Tevoro")));
    EXPECT_FALSE(isPicture());
}

TEST_F(BrowserWindowTest, OpensPicturesAndTurnsPagesByTheKeyboard)
{
    ASSERT_TRUE(showsThree());
    press(Qt::Key_Return);
    EXPECT_TRUE(isPicture());
    EXPECT_EQ(shownPicture(), m_folder.path("a.png"));
    press(Qt::Key_Right);
    EXPECT_EQ(shownPicture(), m_folder.path("b.png"));
    press(Qt::Key_End);
    EXPECT_EQ(shownPicture(), m_folder.path("c.png"));
    press(Qt::Key_Right);
    EXPECT_EQ(shownPicture(), m_folder.path("c.png")) << "the last one";
    press(Qt::Key_Home);
    press(Qt::Key_Space);
    press(Qt::Key_Left);
    EXPECT_EQ(shownPicture(), m_folder.path("a.png"));
    press(Qt::Key_Escape);
    EXPECT_FALSE(isPicture());
    EXPECT_EQ(grid().currentRow(), 0);
}

TEST_F(BrowserWindowTest, ZoomsByAKey)
{
    ASSERT_TRUE(showsThree());
    press(Qt::Key_Return);
    auto* const view = qobject_cast<pictures::PictureView*>(pages().widget(1));
    ASSERT_TRUE(happens([&] { return view->isSharp(); }));
    press(Qt::Key_Z);
    EXPECT_FALSE(view->part().fits);
    press(Qt::Key_Z);
    EXPECT_TRUE(view->part().fits);
}

TEST_F(BrowserWindowTest, ComparesTwoAndMovesThemTogether)
{
    ASSERT_TRUE(showsThree());
    press(Qt::Key_Right, Qt::ShiftModifier);
    press(Qt::Key_C);
    ASSERT_TRUE(isComparison());
    const auto* const pair = qobject_cast<QSplitter*>(pages().widget(2));
    const std::array views{qobject_cast<pictures::PictureView*>(pair->widget(0)),
        qobject_cast<pictures::PictureView*>(pair->widget(1))};
    EXPECT_EQ(views[0]->path().toStdString(), m_folder.path("a.png").toStdString());
    EXPECT_EQ(views[1]->path(), m_folder.path("b.png"));
    views[1]->zoomToPixels();
    EXPECT_EQ(views[0]->part(), views[1]->part());
    press(Qt::Key_Escape);
    EXPECT_FALSE(isComparison());
}

TEST_F(BrowserWindowTest, ShowsWhatTheCameraNotedByAKey)
{
    ASSERT_TRUE(showsThree());
    press(Qt::Key_I);
    EXPECT_TRUE(happens([&] {
        for (const QLabel* const label : m_window->findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == m_folder.path("a.png"))
                return true;
        }
        return false;
    }));
    press(Qt::Key_I);
}

TEST_F(BrowserWindowTest, ShowsWhereTheSecondCopyLies)
{
    ASSERT_TRUE(showsThree());
    m_environment.set("XDG_STATE_HOME", m_cache.path("state"));
    fs::create_directory(m_cache.path("backup"));
    fs::copy_file(m_folder.path("a.png").toStdString(), m_cache.path("backup/a.png"));
    copies::notePlaces({m_folder.path().toStdString(), m_cache.path("backup")});
    press(Qt::Key_I);
    EXPECT_TRUE(happens([&] {
        for (const QLabel* const label : m_window->findChildren<QLabel*>()) {
            if (label->isVisible() && label->text().toStdString() == m_cache.path("backup/a.png"))
                return true;
        }
        return false;
    }));
}

TEST_F(BrowserWindowTest, FollowsTheFolder)
{
    ASSERT_TRUE(showsThree());
    m_folder.addPicture("d.png");
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("4 pictures")); }));
    fs::remove(m_folder.path("a.png").toStdString());
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("3 pictures")); }));
}

TEST_F(BrowserWindowTest, GoesOnWhenTheOpenPictureIsRemoved)
{
    ASSERT_TRUE(showsThree());
    press(Qt::Key_Return);
    fs::remove(m_folder.path("a.png").toStdString());
    EXPECT_TRUE(happens([&] { return shownPicture() != m_folder.path("a.png"); }));
    EXPECT_TRUE(isPicture());
    fs::remove(m_folder.path("b.png").toStdString());
    fs::remove(m_folder.path("c.png").toStdString());
    EXPECT_TRUE(happens([&] { return !isPicture(); })) << "nothing is left";
}

TEST_F(BrowserWindowTest, OpensAPictureThatIsNamed)
{
    m_folder.addPicture("a.png");
    const QString wanted = m_folder.addPicture("b.png");
    m_window->browseTo(wanted);
    EXPECT_TRUE(happens([&] { return isPicture(); }));
    EXPECT_EQ(shownPicture(), wanted);
    EXPECT_EQ(m_window->folder(), m_folder.path());
}

TEST_F(BrowserWindowTest, SaysThatAFolderCannotBeRead)
{
    m_window->browseTo(m_folder.path("missing"));
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("0 pictures")); }));
    EXPECT_EQ(m_window->folder(), m_folder.path("missing"));
}

TEST_F(BrowserWindowTest, ShowsPicturesWhoseNamesAreNoUtf8)
{
    ASSERT_TRUE(showsThree());
    const std::string strange = m_folder.path().toStdString() + "/Gr\xFC\xDF\n";
    fs::create_directory(strange);
    const std::string picture = strange + "/\xFC.png";
    fs::copy(m_folder.path("a.png").toStdString(), picture);
    m_window->browseTo(pictures::pathText(picture)); // opens it
    ASSERT_TRUE(happens([&] { return isPicture(); }));
    EXPECT_EQ(pictures::pathBytes(shownPicture()), picture);
    EXPECT_TRUE(happens([&] { return shows(pages().currentWidget(), Qt::red); }));
    EXPECT_TRUE(m_window->windowTitle().startsWith(QStringLiteral("Gr%FC%DF%0A - ")));
    auto* const line = m_window->findChild<QLineEdit*>();
    line->setFocus();
    press(Qt::Key_Return); // what it shows is where it is
    EXPECT_EQ(pictures::pathBytes(m_window->folder()), strange);
}

TEST_F(BrowserWindowTest, KeepsTheWordOfAScriptUntilTheNextFolder)
{
    ASSERT_TRUE(showsThree());
    m_window->setStatus(QStringLiteral("Files Successfully Copied <b>"));
    EXPECT_TRUE(says(QStringLiteral("Files Successfully Copied <b>")));
    m_window->browseTo(m_folder.path("elsewhere"));
    EXPECT_EQ(m_window->status(), QString());
}

TEST_F(BrowserWindowTest, GoesToTheFolderThatIsTypedAndToTheOneAbove)
{
    fs::create_directory(m_folder.path("below").toStdString());
    auto* const line = m_window->findChild<QLineEdit*>();
    line->setFocus();
    line->setText(m_folder.path("below/../below"));
    press(Qt::Key_Return);
    EXPECT_EQ(m_window->folder(), m_folder.path("below"));
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(m_window->folder(), m_folder.path());
    line->setText(QStringLiteral("relative"));
    line->setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(m_window->folder(), m_folder.path());
}

TEST_F(BrowserWindowTest, SortsByNameWhenItIsAsked)
{
    ASSERT_TRUE(showsThree());
    fs::last_write_time(m_folder.path("a.png").toStdString(), m_time + std::chrono::hours(10));
    m_window->browseTo(m_folder.path());
    EXPECT_TRUE(happens(
        [&] { return grid().model()->index(2, 0).data().toString() == QStringLiteral("a.png"); }));
    auto* const order = m_window->findChild<QComboBox*>();
    order->setCurrentIndex(1);
    Q_EMIT order->activated(1);
    EXPECT_EQ(grid().model()->index(0, 0).data().toString(), QStringLiteral("a.png"));
}

TEST_F(BrowserWindowTest, SizesTilesBySliderAndKeys)
{
    ASSERT_TRUE(showsThree());
    m_window->findChild<QSlider*>()->setValue(256);
    EXPECT_EQ(grid().tileSize(), 256);
    grid().setFocus();
    press(Qt::Key_Minus);
    EXPECT_LT(grid().tileSize(), 256);
    EXPECT_EQ(m_window->findChild<QSlider*>()->value(), grid().tileSize());
}

TEST_F(BrowserWindowTest, ChangesNothingInTheFolder)
{
    ASSERT_TRUE(showsThree());
    const auto listing = [&] {
        std::vector<std::string> lines;
        for (const auto& entry : fs::directory_iterator(m_folder.path().toStdString()))
            lines.push_back(entry.path().string() + std::to_string(entry.file_size())
                + std::to_string(entry.last_write_time().time_since_epoch().count()));
        std::ranges::sort(lines);
        return lines;
    };
    const auto before = listing();
    for (const Qt::Key key : {Qt::Key_Return,
             Qt::Key_Delete,
             Qt::Key_Z,
             Qt::Key_Right,
             Qt::Key_I,
             Qt::Key_Escape,
             Qt::Key_Delete,
             Qt::Key_C,
             Qt::Key_Escape,
             Qt::Key_F5})
        press(key);
    QCoreApplication::processEvents();
    EXPECT_EQ(listing(), before);
}

// Whoever cannot see the window hears what each control is.
TEST_F(BrowserWindowTest, NamesItsControls)
{
    EXPECT_FALSE(grid().accessibleName().isEmpty());
    EXPECT_FALSE(m_window->findChild<QLineEdit*>()->accessibleName().isEmpty());
    EXPECT_FALSE(m_window->findChild<QSlider*>()->accessibleName().isEmpty());
    EXPECT_FALSE(m_window->findChild<QComboBox*>()->accessibleName().isEmpty());
}

} // namespace

} // namespace tevoro
