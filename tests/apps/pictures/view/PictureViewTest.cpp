#include "pictures/view/PictureView.h"

#include "apps/pictures/PictureFolder.h"

#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

namespace pictures {

namespace {

using test::happens;

// A view of 200 x 100.
class PictureViewTest : public testing::Test {
protected:
    PictureViewTest()
    {
        m_view.resize(200, 100);
        QObject::connect(&m_view, &PictureView::wishesChanged, &m_view, [this] {
            m_queue.want(m_view.wishes());
        });
        m_view.show();
    }
    // Red on the left, blue on the right.
    bool shows(QSize size)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::red);
        for (int y = 0; y < size.height(); ++y)
            for (int x = size.width() / 2; x < size.width(); ++x)
                image.setPixelColor(x, y, Qt::blue);
        EXPECT_TRUE(image.save(m_folder.path("a.png")));
        m_view.setPicture(m_folder.path("a.png"), ++m_time);
        return happens([&] { return m_view.isSharp(); });
    }
    QColor colorAt(int x, int y) { return m_view.grab().toImage().pixelColor(x, y); }

    test::PictureFolder m_folder;
    PictureQueue m_queue{2};
    PictureView m_view{m_queue};
    qint64 m_time = 0;
};

TEST_F(PictureViewTest, FitsALargePictureIntoTheView)
{
    ASSERT_TRUE(shows({800, 200}));
    EXPECT_DOUBLE_EQ(*m_view.scale(), 0.25);
    EXPECT_EQ(colorAt(50, 50), QColor(Qt::red));
    EXPECT_EQ(colorAt(150, 50), QColor(Qt::blue));
    EXPECT_NE(colorAt(50, 10), QColor(Qt::red)) << "above the picture";
}

TEST_F(PictureViewTest, DoesNotEnlargeASmallOne)
{
    ASSERT_TRUE(shows({40, 20}));
    EXPECT_DOUBLE_EQ(*m_view.scale(), 1.0);
    EXPECT_EQ(colorAt(85, 50), QColor(Qt::red));
    EXPECT_NE(colorAt(75, 50), QColor(Qt::red));
}

TEST_F(PictureViewTest, ZoomsToThePixelsAndBack)
{
    ASSERT_TRUE(shows({800, 400}));
    m_view.zoomToPixels();
    EXPECT_DOUBLE_EQ(*m_view.scale(), 1.0);
    EXPECT_TRUE(happens([&] { return m_view.isSharp(); })) << "all pixels are read";
    EXPECT_EQ(colorAt(98, 50), QColor(Qt::red));
    EXPECT_EQ(colorAt(102, 50), QColor(Qt::blue));
    m_view.zoomToFit();
    EXPECT_DOUBLE_EQ(*m_view.scale(), 0.25);
}

TEST_F(PictureViewTest, AsksForAllPixelsOnlyWhenTheyAreLookedAt)
{
    ASSERT_TRUE(shows({800, 400}));
    EXPECT_EQ(m_view.wishes().size(), 1U);
    EXPECT_EQ(m_view.wishes()[0].box, QSize(200, 100));
    m_view.zoomToPixels();
    ASSERT_EQ(m_view.wishes().size(), 2U);
    EXPECT_TRUE(m_view.wishes()[1].box.isEmpty());
}

TEST_F(PictureViewTest, IsDraggedToItsEdgesAndNoFurther)
{
    ASSERT_TRUE(shows({800, 400}));
    m_view.zoomToPixels();
    ASSERT_TRUE(happens([&] { return m_view.isSharp(); }));
    const auto drag = [&](QPoint from, QPoint to) {
        QTest::mousePress(&m_view, Qt::LeftButton, {}, from);
        QTest::mouseMove(&m_view, to);
        QTest::mouseRelease(&m_view, Qt::LeftButton, {}, to);
    };
    drag({190, 50}, {90, 50});
    EXPECT_EQ(colorAt(10, 50), QColor(Qt::blue)) << "the right half";
    for (int i = 0; i < 10; ++i)
        drag({190, 50}, {10, 50});
    EXPECT_EQ(colorAt(199, 50), QColor(Qt::blue)) << "its edge stays at the view's";
    for (int i = 0; i < 20; ++i)
        drag({10, 50}, {190, 50});
    EXPECT_EQ(colorAt(0, 50), QColor(Qt::red));
}

TEST_F(PictureViewTest, ZoomsByADoubleClickToWhatIsUnderTheMouse)
{
    ASSERT_TRUE(shows({800, 400}));
    QTest::mouseDClick(&m_view, Qt::LeftButton, {}, {150, 50});
    EXPECT_DOUBLE_EQ(*m_view.scale(), 1.0);
    EXPECT_DOUBLE_EQ(m_view.part().center.x(), 0.75);
    QTest::mouseDClick(&m_view, Qt::LeftButton, {}, {150, 50});
    EXPECT_TRUE(m_view.part().fits);
}

TEST_F(PictureViewTest, ZoomsInStepsBetweenFitAndABound)
{
    ASSERT_TRUE(shows({800, 400}));
    m_view.zoomBy(2);
    EXPECT_DOUBLE_EQ(*m_view.scale(), 0.5);
    m_view.zoomBy(0.1);
    EXPECT_TRUE(m_view.part().fits);
    for (int i = 0; i < 20; ++i)
        m_view.zoomBy(2);
    EXPECT_LE(*m_view.scale(), 16.0);
}

TEST_F(PictureViewTest, TellsOthersWhichPartItShows)
{
    ASSERT_TRUE(shows({800, 400}));
    const QSignalSpy told(&m_view, &PictureView::partChanged);
    m_view.zoomToPixels();
    EXPECT_EQ(told.count(), 1);
    m_view.setPart({});
    EXPECT_EQ(told.count(), 1) << "what it was told it does not tell on";
}

TEST_F(PictureViewTest, SaysThatAPictureIsBroken)
{
    m_view.setBrokenText(QStringLiteral("This picture cannot be shown."));
    const QImage before = m_view.grab().toImage();
    m_view.setPicture(m_folder.addBytes("b.png", "no picture"), 1);
    EXPECT_TRUE(happens([&] { return m_view.grab().toImage() != before; }));
    EXPECT_FALSE(m_view.scale());
    m_view.zoomToPixels();
    m_view.zoomBy(2);
    EXPECT_FALSE(m_view.isSharp());
}

TEST_F(PictureViewTest, ShowsNothingWithoutAPicture)
{
    EXPECT_TRUE(m_view.wishes().empty());
    EXPECT_FALSE(m_view.scale());
    m_view.grab();
}

} // namespace

} // namespace pictures
