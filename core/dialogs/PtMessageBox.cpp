#include "dialogs/PtMessageBox.h"

#include "dialogs/DialogFrame.h"

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

QPixmap pixmapOf(QMessageBox::Icon icon, const QWidget& widget)
{
    const QStyle& style = *widget.style();
    const int side = style.pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &widget);
    return style.standardIcon(standardPixmapOf(icon), nullptr, &widget)
        .pixmap(QSize(side, side), widget.devicePixelRatioF());
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
    : QDialog(
        const_cast<QWidget*>(parent), kDialogFlags) // the toolkit knows no parent that is const
    , m_escapeResult(escapeResult)
{
    setObjectName(QString());
    setModal(true);
    if (!caption.isEmpty())
        setWindowTitle(caption);
    auto* outer = new QVBoxLayout(this);
    outer->setSpacing(kOuterSpacing);
    outer->setContentsMargins(kOuterMargin, kOuterMargin, kOuterMargin, kOuterMargin);
    QLabel* textLabel = addMessage(*outer, icon, text);
    if (!checkBoxText.isEmpty())
        addCheckBox(*outer, checkBoxText, checkBoxChecked);
    addButtons(*outer, {button0, button1, button2, button3, button4}, defaultButton);
    keepButtonsOnScreen(*textLabel);
}

QLabel* PtMessageBox::addMessage(QBoxLayout& outer, QMessageBox::Icon icon, const QString& text)
{
    auto* iconLabel = new QLabel(this);
    iconLabel->setObjectName(u"messageBox.icon"_s);
    if (icon == QMessageBox::NoIcon)
        iconLabel->hide();
    else
        iconLabel->setPixmap(pixmapOf(icon, *this));
    iconLabel->setFixedWidth(iconLabel->sizeHint().width());

    auto* textLabel = new QLabel(this);
    textLabel->setObjectName(u"messageBox.label"_s);
    textLabel->setTextFormat(Qt::PlainText);
    textLabel->setText(text);
    const int width = QFontMetrics(font()).horizontalAdvance(text);
    textLabel->setFixedWidth(std::min(width, kWrapWidth) + kTextMargin);
    textLabel->setAlignment(Qt::AlignVCenter);
    textLabel->setWordWrap(true);

    auto* row = new QHBoxLayout;
    row->setSpacing(kOuterSpacing);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(iconLabel);
    row->addWidget(textLabel);
    row->addItem(makeSpacer(QSizePolicy::Expanding, QSizePolicy::Minimum));
    outer.addLayout(row);
    return textLabel;
}

// A window without a frame cannot be moved: truncate long text rather than push buttons off screen.
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
    auto* row = new QHBoxLayout;
    row->setSpacing(kButtonSpacing);
    row->setContentsMargins(0, 0, 0, 0);
    outer.addLayout(row);
    row->addItem(makeSpacer(QSizePolicy::Minimum, QSizePolicy::Minimum));
    Buttons buttons{};
    for (int number = 0; number < kButtonCount; ++number) {
        const auto index = static_cast<std::size_t>(number);
        if (texts[index].isEmpty())
            continue;
        buttons[index] = makeButton(number, texts[index]);
        row->addWidget(buttons[index]);
    }
    markDefault(buttons, defaultButton);
    sizeAlike(buttons, kMinimumButtonWidth);
}

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
