// A path in the label of the backup folder. The host draws the label, so that its own numbers for
// font and width count. Plain functions for the thread that owns the widgets; the label is
// borrowed.
#pragma once

#include <QFont>
#include <QString>

class IClientUIControl;

// The font that the host draws the label in.
QFont fontOf(IClientUIControl& label);

// The path, as short as the label's width wants it (see fitPath). Whole where fonts cannot be
// measured: in a host without an application that has a screen, real or not.
QString fittedTo(IClientUIControl& label, const QString& path);
