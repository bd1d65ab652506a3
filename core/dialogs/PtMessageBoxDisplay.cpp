// The message box's static functions: each shows a box and waits for its answer.

#include "dialogs/MessageBoxRequest.h"
#include "dialogs/PtMessageBox.h"
#include "strings/PtZString.h"

#include <QCoreApplication>

namespace {

constexpr std::size_t kCancelButton = 1;

// Runs the box, and sees to it that it is gone from the screen before the caller goes on.
int answerOf(PtMessageBox& box)
{
    const int answer = box.exec();
    QCoreApplication::processEvents();
    return answer;
}

} // namespace

int PtMessageBox::answer(const MessageBoxRequest& request)
{
    PtMessageBox box(request);
    return answerOf(box);
}

// The check box starts from `checked`. Its state is read before the box goes, however it was left:
// an escape keeps it too.
int PtMessageBox::answerWithCheckBox(MessageBoxRequest request, bool& checked)
{
    request.isChecked = checked;
    PtMessageBox box(request);
    const int result = answerOf(box);
    checked = box.getCheckBoxStatus();
    return result;
}

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
    return answer({parent,
        icon,
        caption,
        text,
        {button0, button1, button2, button3, button4},
        escapeResult,
        defaultButton});
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
    return answer({parent,
        QMessageBox::NoIcon,
        caption,
        text,
        {button0, button1, button2, button3, button4},
        escapeResult,
        defaultButton});
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
    return answer({parent,
        QMessageBox::Warning,
        caption,
        text,
        {button0, button1, button2},
        escapeResult,
        defaultButton});
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
    return answer({parent,
        QMessageBox::Critical,
        caption,
        text,
        {button0, button1, button2},
        escapeResult,
        defaultButton});
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
    return answer({parent,
        QMessageBox::Information,
        caption,
        text,
        {button0, button1, button2},
        escapeResult,
        defaultButton});
}

int PtMessageBox::dialogWithCB(const QWidget* parent,
    const QString& caption,
    const QString& text,
    const QString& checkBoxText,
    bool& checked,
    bool showCancel,
    QMessageBox::Icon icon)
{
    MessageBoxRequest request{parent, icon, caption, text};
    request.buttons[0] = PtZString::getOKString();
    if (showCancel)
        request.buttons[kCancelButton] = PtZString::getCancelString();
    request.escapeResult = static_cast<int>(kCancelButton); // whether or not there is such a button
    request.checkBoxText = checkBoxText;
    return answerWithCheckBox(request, checked);
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
    MessageBoxRequest request{parent, icon, caption, text};
    request.buttons = {button0, button1, button2, button3, button4};
    request.escapeResult = escapeResult;
    request.checkBoxText = checkBoxText;
    return answerWithCheckBox(request, checked);
}
