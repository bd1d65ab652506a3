// All that a message box is asked for, in one record: the box's operations take up to thirteen
// arguments, most of them texts, and hand them on as this. Texts are localised by the caller. The
// parent is borrowed and must outlive the answer.
#pragma once

#include <QMessageBox>
#include <QString>

#include <array>

class QWidget;

struct MessageBoxRequest {
    const QWidget* parent = nullptr; // may be null
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString caption = QString(); // empty leaves the title unset
    QString text = QString();
    std::array<QString, 5> buttons = {}; // by their numbers; empty for no button
    int escapeResult = 0;
    int defaultButton = -1; // a number without a button means none
    QString checkBoxText = QString(); // empty for no check box
    bool isChecked = false;
};
