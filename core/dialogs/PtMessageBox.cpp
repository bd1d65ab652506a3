#include "dialogs/PtMessageBox.h"

#include "dialogs/DialogFrame.h"
#include "dialogs/MessageBoxRequest.h"

#include <QCheckBox>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kOuterSpacing = 16;
constexpr int kOuterMargin = 15;
constexpr int kButtonSpacing = 10;
constexpr int kButtonTextMargin = 16;
constexpr int kTextMargin = 20;
constexpr int kWrapWidth = 340; // texts from here on are wrapped

QStyle::StandardPixmap standardPixmapOf(QMessageBox::Icon icon)
{
    switch (icon) {
    case QMessageBox::Warning:
        return QStyle::SP_MessageBoxWarning;
    case QMessageBox::Critical:
        return QStyle::SP_MessageBoxCritical;
    case QMessageBox::Question:
        return QStyle::SP_MessageBoxQuestion;
    case QMessageBox::Information:
    case QMessageBox::NoIcon:
        break;
    }
    return QStyle::SP_MessageBoxInformation;
}

// As the toolkit's own message boxes draw theirs, sharp on a screen with a scale of its own.
QPixmap pixmapOf(QMessageBox::Icon icon, const QWidget& widget)
{
    const QStyle& style = *widget.style();
    const int side = style.pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &widget);
    return style.standardIcon(standardPixmapOf(icon), nullptr, &widget)
        .pixmap(QSize(side, side), widget.devicePixelRatioF());
}

QHBoxLayout* makeRow(int spacing)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing);
    row->setContentsMargins(0, 0, 0, 0);
    return row;
}

// The width of the widest text; an accelerator's mark counts, as texts are measured as stored.
template <typename Buttons>
int widestText(const Buttons& buttons, const QFontMetrics& metrics)
{
    int widest = 0;
    for (const QPushButton* button : buttons)
        if (button)
            widest = std::max(widest, metrics.horizontalAdvance(button->text()));
    return widest;
}

// All as wide as the widest needs. The first button's font and height hold for every one, so that
// without it none is sized.
template <typename Buttons>
void sizeAlike(const Buttons& buttons, int minimumWidth)
{
    const QPushButton* first = buttons.front();
    if (!first)
        return;
    const int width = widestText(buttons, QFontMetrics(first->font())) + kButtonTextMargin;
    const QSize size(std::max(width, minimumWidth), first->sizeHint().height());
    for (QPushButton* button : buttons)
        if (button)
            button->setFixedSize(size);
}

template <typename Buttons>
void markDefault(const Buttons& buttons, int defaultButton)
{
    const auto number = static_cast<std::size_t>(defaultButton);
    if (defaultButton >= 0 && number < buttons.size() && buttons[number]) {
        buttons[number]->setDefault(true);
        buttons[number]->setFocus(Qt::OtherFocusReason);
        return;
    }
    // A dialog makes its first automatic button the default one when it is shown: none may be.
    for (QPushButton* button : buttons)
        if (button)
            button->setAutoDefault(false);
}

} // namespace

PtMessageBox::PtMessageBox(const QWidget* parent,
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
    int defaultButton)
    : PtMessageBox(MessageBoxRequest{parent,
        icon,
        caption,
        text,
        {button0, button1, button2, button3, button4},
        escapeResult,
        defaultButton,
        checkBoxText,
        checkBoxChecked})
{
}

// Texts are measured and widgets sized while the box is still hidden: whoever shows it first gets
// it as it will stay.
PtMessageBox::PtMessageBox(const MessageBoxRequest& request)
    // The toolkit knows no parent that is const; the contract promises not to change it.
    : QDialog(const_cast<QWidget*>(request.parent), kDialogFlags)
    , m_escapeResult(request.escapeResult)
{
    setObjectName(QString());
    setModal(true);
    if (!request.caption.isEmpty())
        setWindowTitle(request.caption);
    auto* outer = new QVBoxLayout(this);
    outer->setSpacing(kOuterSpacing);
    outer->setContentsMargins(kOuterMargin, kOuterMargin, kOuterMargin, kOuterMargin);
    QLabel* textLabel = addMessage(*outer, request.icon, request.text);
    if (!request.checkBoxText.isEmpty())
        addCheckBox(*outer, request.checkBoxText, request.isChecked);
    addButtons(*outer, request.buttons, request.defaultButton);
    // Last, when all that shares the height with the text is there.
    keepButtonsOnScreen(*textLabel);
}

QLabel* PtMessageBox::addMessage(QBoxLayout& outer, QMessageBox::Icon icon, const QString& text)
{
    auto* row = makeRow(kOuterSpacing);
    row->addWidget(makeIconLabel(icon));
    QLabel* textLabel = makeTextLabel(text);
    row->addWidget(textLabel);
    // Takes what the row has left, so that icon and text stay together on the left.
    row->addItem(makeSpacer(QSizePolicy::Expanding, QSizePolicy::Minimum));
    outer.addLayout(row);
    return textLabel;
}

// Without an icon the label is there all the same, hidden: the row has the same three places.
QLabel* PtMessageBox::makeIconLabel(QMessageBox::Icon icon)
{
    auto* label = new QLabel(this);
    label->setObjectName(u"messageBox.icon"_s);
    if (icon == QMessageBox::NoIcon)
        label->hide();
    else
        label->setPixmap(pixmapOf(icon, *this));
    label->setFixedWidth(label->sizeHint().width());
    return label;
}

// Measured in the dialog's font and as one line: a text with line breaks is taken for as wide as
// all of its lines together, up to where it wraps.
QLabel* PtMessageBox::makeTextLabel(const QString& text)
{
    auto* label = new QLabel(this);
    label->setObjectName(u"messageBox.label"_s);
    label->setTextFormat(Qt::PlainText); // texts hold names of files, which may look like markup
    label->setText(text);
    const int width = QFontMetrics(font()).horizontalAdvance(text);
    label->setFixedWidth(std::min(width, kWrapWidth) + kTextMargin);
    label->setAlignment(Qt::AlignVCenter);
    label->setWordWrap(true);
    return label;
}

// A window without a frame cannot be moved: truncate long text rather than push buttons off screen.
// Cut at the end, so that the alignment changes too; centred it would lose its first lines as well.
void PtMessageBox::keepButtonsOnScreen(QLabel& text)
{
    const int beyond = heightBeyondScreen(*this);
    if (beyond == 0)
        return;
    text.setMaximumHeight(std::max(text.heightForWidth(text.maximumWidth()) - beyond, 0));
    text.setAlignment(Qt::AlignTop);
}

void PtMessageBox::addCheckBox(QBoxLayout& outer, const QString& text, bool checked)
{
    m_checkBox = new QCheckBox(text, this);
    m_checkBox->setObjectName(u"messageBox.checkBox"_s);
    m_checkBox->setChecked(checked);
    auto* row = new QHBoxLayout;
    row->addWidget(m_checkBox);
    row->addItem(makeSpacer(QSizePolicy::Expanding, QSizePolicy::Minimum));
    outer.addLayout(row);
}

void PtMessageBox::addButtons(
    QBoxLayout& outer, const std::array<QString, kButtonCount>& texts, int defaultButton)
{
    auto* row = makeRow(kButtonSpacing);
    outer.addLayout(row);
    row->addItem(makeSpacer(QSizePolicy::Minimum, QSizePolicy::Minimum));
    Buttons buttons{};
    for (int number = 0; number < kButtonCount; ++number) { // in this order the tab key visits them
        const auto index = static_cast<std::size_t>(number);
        if (texts[index].isEmpty())
            continue;
        buttons[index] = makeButton(number, texts[index]);
        row->addWidget(buttons[index]);
    }
    // The default first: some styles draw it larger, and the height is that of a button as drawn.
    markDefault(buttons, defaultButton);
    sizeAlike(buttons, kMinimumButtonWidth);
}

// A slot for each number, as the contract has them: no button carries its number in itself.
QPushButton* PtMessageBox::makeButton(int number, const QString& text)
{
    static constexpr std::array<Slot, kButtonCount> kSlots{&PtMessageBox::slotBtn0,
        &PtMessageBox::slotBtn1,
        &PtMessageBox::slotBtn2,
        &PtMessageBox::slotBtn3,
        &PtMessageBox::slotBtn4};
    auto* button = new QPushButton(text, this);
    button->setObjectName(u"messageBox.button"_s + QString::number(number));
    connect(button, &QPushButton::clicked, this, kSlots[static_cast<std::size_t>(number)]);
    return button;
}

bool PtMessageBox::getCheckBoxStatus() const
{
    return m_checkBox->isChecked();
}

// Escape and the window's closing both come here.
void PtMessageBox::reject()
{
    done(m_escapeResult);
}

void PtMessageBox::slotBtn0()
{
    done(0);
}

void PtMessageBox::slotBtn1()
{
    done(1);
}

void PtMessageBox::slotBtn2()
{
    done(2);
}

void PtMessageBox::slotBtn3()
{
    done(3);
}

void PtMessageBox::slotBtn4()
{
    done(4);
}
