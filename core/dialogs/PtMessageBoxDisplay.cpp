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

int PtMessageBox::display(const QWidget* parent,
    QMessageBox::Icon icon,
    const QString& caption,
    const QString& text,
    const QString& button0,
    const QString& button1,
    const QString& button2,
    const QString& button3,
    const QString& button4,
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

int PtMessageBox::dialog(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& button0,
    const QString& button1,
    const QString& button2,
    const QString& button3,
    const QString& button4,
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

int PtMessageBox::warning(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& button0,
    const QString& button1,
    const QString& button2,
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

int PtMessageBox::critical(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& button0,
    const QString& button1,
    const QString& button2,
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

int PtMessageBox::information(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& button0,
    const QString& button1,
    const QString& button2,
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

int PtMessageBox::dialogWithCB(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& checkBoxText,
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

int PtMessageBox::dialogWithCB(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& checkBoxText,
    bool& checked,
    QMessageBox::Icon icon,
    const QString& button0,
    const QString& button1,
    const QString& button2,
    const QString& button3,
    const QString& button4,
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
