// The application's modal message: an icon, a text, an optional check box and up to five buttons
// with texts of the caller's. Answers with the number of the button that was pressed. Texts come
// localised and are shown as plain text; "&" marks an accelerator in a button.
//
// The static functions own their box, block until the user has answered, and serve events while
// they wait. A parent is borrowed, must outlive the answer, and may be null. For the user-interface
// thread alone.
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QString>

#include <array>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QPushButton;
struct MessageBoxRequest;

class PtMessageBox : public QDialog {
    Q_OBJECT

public:
    static constexpr int kMinimumButtonWidth = 80;

    // A button exists when its text is not empty, and keeps its number whichever others are there.
    // The check box exists when its text is not empty. `escapeResult` answers for Escape and for
    // closing the window. A `defaultButton` without a button, such as -1, means that Return alone
    // presses nothing.
    PtMessageBox(const QWidget* parent,
        QMessageBox::Icon icon,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        const QString& button3,
        const QString& button4,
        int escapeResult,
        const QString& checkBoxText,
        bool checkBoxChecked,
        int defaultButton);

    // Requires: a check box.
    bool getCheckBoxStatus() const;

    static int display(const QWidget* parent,
        QMessageBox::Icon icon,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        const QString& button3,
        const QString& button4,
        int escapeResult,
        int defaultButton);

    // As `display`, without an icon.
    static int dialog(const QWidget* parent,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        const QString& button3,
        const QString& button4,
        int escapeResult,
        int defaultButton);

    static int warning(const QWidget* parent,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        int escapeResult,
        int defaultButton);

    static int critical(const QWidget* parent,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        int escapeResult,
        int defaultButton);

    static int information(const QWidget* parent,
        const QString& caption,
        const QString& text,
        const QString& button0,
        const QString& button1,
        const QString& button2,
        int escapeResult,
        int defaultButton);

    // With a check box, OK and, if wanted, Cancel; Escape answers 1. `checked` is where the check
    // box starts from, and holds its state afterwards, whatever ended the dialog.
    // Requires: a check box text that is not empty.
    static int dialogWithCB(const QWidget* parent,
        const QString& caption,
        const QString& text,
        const QString& checkBoxText,
        bool& checked,
        bool showCancel,
        QMessageBox::Icon icon);

    // The same with buttons of the caller's.
    static int dialogWithCB(const QWidget* parent,
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
        int escapeResult);

public Q_SLOTS:
    void reject() override;

private Q_SLOTS:
    void slotBtn0();
    void slotBtn1();
    void slotBtn2();
    void slotBtn3();
    void slotBtn4();

private:
    static constexpr int kButtonCount = 5;
    using Slot = void (PtMessageBox::*)();
    using Buttons = std::array<QPushButton*, kButtonCount>; // null where there is none

    explicit PtMessageBox(const MessageBoxRequest& request);

    static int answer(const MessageBoxRequest& request);
    static int answerWithCheckBox(MessageBoxRequest request, bool& checked);

    QLabel* addMessage(QBoxLayout& outer, QMessageBox::Icon icon, const QString& text);
    QLabel* makeIconLabel(QMessageBox::Icon icon);
    QLabel* makeTextLabel(const QString& text);
    void addCheckBox(QBoxLayout& outer, const QString& text, bool checked);
    void addButtons(
        QBoxLayout& outer, const std::array<QString, kButtonCount>& texts, int defaultButton);
    void keepButtonsOnScreen(QLabel& text);
    QPushButton* makeButton(int number, const QString& text);

    int m_escapeResult;
    QCheckBox* m_checkBox = nullptr;
};
