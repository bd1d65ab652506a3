// What the dialogs here have in common: a window of fixed size with a title and no frame of its
// own, spacers between their widgets, and room for every line of their wrapped texts. Owns nothing;
// for the user-interface thread.
#pragma once

#include <QDialog>
#include <QSizePolicy>
#include <QSpacerItem>

inline constexpr Qt::WindowFlags kDialogFlags = Qt::MSWindowsFixedSizeDialogHint
    | Qt::WindowTitleHint | Qt::FramelessWindowHint | Qt::CustomizeWindowHint;

// A spacer without a size; the layout that it is added to owns it.
QSpacerItem* makeSpacer(QSizePolicy::Policy horizontal, QSizePolicy::Policy vertical);

// Makes a dialog as large as its layout wants, up to the height of the screen. By itself it would
// open at most two thirds as high as the screen, with wrapped texts inside its groups cut.
// Requires: a layout with all of its widgets.
void fitToContents(QDialog& dialog);

// By how much a dialog's layout wants more than the height of the screen; 0 when it does not.
int heightBeyondScreen(const QDialog& dialog);
