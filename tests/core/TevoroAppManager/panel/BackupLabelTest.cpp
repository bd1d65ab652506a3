#include "TevoroAppManager/panel/BackupLabel.h"

#include "core/TevoroAppManager/support/HostPanel.h"

#include <QFontMetrics>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class BackupLabelTest : public testing::Test {
protected:
    // The narrowest label that shows the whole path.
    int leastWidth()
    {
        label.width = 1;
        while (fittedTo(label, path) != path && label.width < 2000)
            ++label.width;
        return label.width;
    }

    test::Journal journal;
    test::HostControl label{"secondary_backup_label", journal};
    const QString path = u"/home/somebody/Pictures/Millimetre"_s;
};

} // namespace

TEST_F(BackupLabelTest, TakesTheFontThatTheHostNames)
{
    for (const bool isBold : {false, true}) {
        for (const bool isItalic : {false, true}) {
            label.isBold = isBold;
            label.isItalic = isItalic;
            const QFont font = fontOf(label);
            EXPECT_EQ(font.weight(), isBold ? QFont::Bold : QFont::Normal);
            EXPECT_EQ(font.italic(), isItalic);
        }
    }
}

TEST_F(BackupLabelTest, TakesFamilyAndSizeThatTheHostNames)
{
    for (const auto& [family, size] : {std::pair("DejaVu Sans", 10), {"DejaVu Serif", 17}}) {
        label.family = family;
        label.fontSize = size;
        EXPECT_EQ(fontOf(label).family(), QString::fromUtf8(family));
        EXPECT_EQ(fontOf(label).pointSize(), size);
    }
}

// A text has to be narrower than the label by two pixels and a corner.
TEST_F(BackupLabelTest, ShortensAPathThatIsOnePixelTooWide)
{
    const int width = QFontMetrics(QFont(u"DejaVu Sans"_s, 10)).horizontalAdvance(path);
    label.width = width + 3;
    EXPECT_EQ(fittedTo(label, path), path);
    label.width = width + 2;
    EXPECT_NE(fittedTo(label, path), path);
}

TEST_F(BackupLabelTest, MeasuresInTheFontOfTheLabel)
{
    const int plain = leastWidth();
    label.isBold = true;
    const int bold = leastWidth();
    EXPECT_GT(bold, plain);
    label.fontSize = 14;
    EXPECT_GT(leastWidth(), bold);
    label.fontSize = 10;
    label.isBold = false;
    label.family = "DejaVu Sans Mono";
    EXPECT_NE(leastWidth(), plain);
}
