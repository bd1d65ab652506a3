#include "dialogs/DialogFrame.h"

#include <QLayout>
#include <QScreen>

#include <algorithm>

namespace {

QSize wantedSize(const QDialog& dialog)
{
    const QLayout& layout = *dialog.layout();
    const QSize hint = layout.totalSizeHint();
    const int width = hint.width();
    return {width, layout.hasHeightForWidth() ? layout.totalHeightForWidth(width) : hint.height()};
}

int screenHeight(const QDialog& dialog)
{
    return dialog.screen()->availableGeometry().height();
}

} // namespace

QSpacerItem* makeSpacer(QSizePolicy::Policy horizontal, QSizePolicy::Policy vertical)
{
    return new QSpacerItem(0, 0, horizontal, vertical);
}

void fitToContents(QDialog& dialog)
{
    const QSize wanted = wantedSize(dialog);
    dialog.resize(wanted.width(), std::min(wanted.height(), screenHeight(dialog)));
}

int heightBeyondScreen(const QDialog& dialog)
{
    return std::max(wantedSize(dialog).height() - screenHeight(dialog), 0);
}
