// The message box's static functions: each shows a box and waits for its answer.

#include "dialogs/PtMessageBox.h"
#include "strings/PtZString.h"

#include <QCoreApplication>

namespace {

// Runs the box, and sees to it that it is gone from the screen before the caller goes on.
int answerOf(PtMessageBox& box)
{
    const int answer = box.exec();
    QCoreApplication::processEvents();
    return answer;
}

} // namespace

int PtMessageBox::display(QWidget const* parent,
    QMessageBox::Icon icon,
    QString const& caption,
    QString const& text,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    QString const& button3,
    QString const& button4,
    int escapeResult,
    int defaultButton)
{
    PtMessageBox box(parent,
        icon,
        caption,
        text,
        button0,
        button1,
        button2,
        button3,
        button4,
        escapeResult,
        QString(),
        false,
        defaultButton);
    return answerOf(box);
}

int PtMessageBox::dialog(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    QString const& button3,
    QString const& button4,
    int escapeResult,
    int defaultButton)
{
    return display(parent,
        QMessageBox::NoIcon,
        caption,
        text,
        button0,
        button1,
        button2,
        button3,
        button4,
        escapeResult,
        defaultButton);
}

int PtMessageBox::warning(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    int escapeResult,
    int defaultButton)
{
    return display(parent,
        QMessageBox::Warning,
        caption,
        text,
        button0,
        button1,
        button2,
        QString(),
        QString(),
        escapeResult,
        defaultButton);
}

int PtMessageBox::critical(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    int escapeResult,
    int defaultButton)
{
    return display(parent,
        QMessageBox::Critical,
        caption,
        text,
        button0,
        button1,
        button2,
        QString(),
        QString(),
        escapeResult,
        defaultButton);
}

int PtMessageBox::information(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    int escapeResult,
    int defaultButton)
{
    return display(parent,
        QMessageBox::Information,
        caption,
        text,
        button0,
        button1,
        button2,
        QString(),
        QString(),
        escapeResult,
        defaultButton);
}

int PtMessageBox::dialogWithCB(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& checkBoxText,
    bool& checked,
    bool showCancel,
    QMessageBox::Icon icon)
{
    constexpr int kCancelButton = 1;
    return dialogWithCB(parent,
        caption,
        text,
        checkBoxText,
        checked,
        icon,
        PtZString::getOKString(),
        showCancel ? PtZString::getCancelString() : QString(),
        QString(),
        QString(),
        QString(),
        kCancelButton);
}

int PtMessageBox::dialogWithCB(QWidget const* parent,
    QString const& caption,
    QString const& text,
    QString const& checkBoxText,
    bool& checked,
    QMessageBox::Icon icon,
    QString const& button0,
    QString const& button1,
    QString const& button2,
    QString const& button3,
    QString const& button4,
    int escapeResult)
{
    PtMessageBox box(parent,
        icon,
        caption,
        text,
        button0,
        button1,
        button2,
        button3,
        button4,
        escapeResult,
        checkBoxText,
        checked,
        -1);
    const int answer = answerOf(box);
    checked = box.getCheckBoxStatus();
    return answer;
}
