#include "dialogs/DialogFrame.h"

#include <QLayout>
#include <QScreen>

#include <algorithm>

namespace {

// A wrapped text tells its height only for a given width: the plain hint guesses at one of its own.
QSize wantedSize(const QDialog& dialog)
{
    const QLayout& layout = *dialog.layout();
    const QSize hint = layout.totalSizeHint();
    const int width = hint.width();
    return {width, layout.hasHeightForWidth() ? layout.totalHeightForWidth(width) : hint.height()};
}

// Of the screen that the dialog would open on, without what the desktop keeps for itself.
int screenHeight(const QDialog& dialog)
{
    return dialog.screen()->availableGeometry().height();
}

} // namespace

QSpacerItem* makeSpacer(QSizePolicy::Policy horizontal, QSizePolicy::Policy vertical)
{
    return new QSpacerItem(0, 0, horizontal, vertical);
}

// Only the height gives way: a dialog as narrow as its screen would wrap its texts anew, and need
// more height again.
void fitToContents(QDialog& dialog)
{
    const QSize wanted = wantedSize(dialog);
    dialog.resize(wanted.width(), std::min(wanted.height(), screenHeight(dialog)));
}

int heightBeyondScreen(const QDialog& dialog)
{
    return std::max(wantedSize(dialog).height() - screenHeight(dialog), 0);
}
