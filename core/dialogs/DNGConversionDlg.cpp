#include "dialogs/DNGConversionDlg.h"

#include "dialogs/DialogFrame.h"
#include "strings/PtZString.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFont>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kSpacing = 10;
constexpr int kButtonMargin = 10;
constexpr int kOuterMargin = 15;
constexpr int kPreviewSpacing = 3;
constexpr int kHelpWidth = 350;
constexpr int kHelpRoomBelow = 25;

struct HelpRow {
    QHBoxLayout* row;
    QLabel* icon;
    QLabel* text;
};

// Over a spacer: the icon stays at the top, beside the first line of the text.
QVBoxLayout* makeIconColumn(QLabel* icon)
{
    auto* column = new QVBoxLayout;
    column->addWidget(icon);
    column->addItem(makeSpacer(QSizePolicy::Minimum, QSizePolicy::Minimum));
    return column;
}

// A wrapped text is content with the width of its longest word: the least width keeps it, and with
// it the dialog, readable.
QLabel* makeHelpText(const QString& text, QWidget* parent)
{
    auto* help = new QLabel(text, parent);
    help->setMinimumWidth(kHelpWidth);
    help->setWordWrap(true);
    help->setAlignment(Qt::AlignLeft | Qt::AlignJustify);
    return help;
}

// A wrapped text behind the information icon. Without the picture the icon's label is empty, and
// nobody is told.
HelpRow makeHelpRow(const QString& text, const QPixmap& pixmap, QWidget* parent)
{
    auto* icon = new QLabel(parent);
    icon->setPixmap(pixmap);
    auto* help = makeHelpText(text, parent);
    auto* row = new QHBoxLayout;
    row->addLayout(makeIconColumn(icon));
    row->addSpacing(kSpacing);
    row->addWidget(help);
    return {row, icon, help};
}

// Gives back the room below, which belongs to the layout.
QSpacerItem* addHelpRow(QVBoxLayout& layout, const HelpRow& help)
{
    auto* roomBelow =
        new QSpacerItem(0, kHelpRoomBelow, QSizePolicy::Fixed, QSizePolicy::Expanding);
    layout.addSpacing(kSpacing);
    layout.addLayout(help.row);
    layout.addItem(roomBelow);
    return roomBelow;
}

QHBoxLayout* makeRowOf(QPushButton* left, QPushButton* right)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(kSpacing);
    row->setContentsMargins(kButtonMargin, kButtonMargin, kButtonMargin, kButtonMargin);
    row->addItem(makeSpacer(QSizePolicy::Expanding, QSizePolicy::Fixed));
    row->addWidget(left);
    row->addWidget(right);
    return row;
}

} // namespace

DNGConversionDlg::DNGConversionDlg(
    QWidget* parent, bool embedOriginal, bool convertToLinear, bool compressed, int previewSize)
    : QDialog(parent, kDialogFlags)
    , m_controlParent(this)
    , m_helpPixmap(u"../shared_assets/bitmaps/workflow_icons/C_iBubble_Md_N.png"_s, "PNG")
{
    setObjectName(u"media fetcher selection dialog"_s);
    setModal(true);
    setWindowTitle(
        PtZString::getZString(u"$$$/DngConversion/SettingsCaption=DNG Conversion Settings"_s));
    // Before the groups, which take their font from it.
    m_previewLabel = new QLabel(
        PtZString::getZString(u"$$$/DngConversion/JPEGPreview=&JPEG Preview: "_s), m_controlParent);

    // Made in the order in which the tab key visits what is in them.
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(kOuterMargin, kOuterMargin, kOuterMargin, kOuterMargin);
    outer->setSpacing(kSpacing);
    outer->addWidget(makePreviewGroup(previewSize));
    outer->addWidget(makeCompressionGroup(compressed));
    outer->addWidget(makeMethodGroup(convertToLinear));
    outer->addWidget(makeRawFileGroup(embedOriginal));
    outer->addLayout(makeButtonRow());
    // Sized last: what a low screen makes the dialog give up counts already.
    if (heightBeyondScreen(*this) > 0)
        giveUpRoomBelowHelp();
    fitToContents(*this);
}

// Else a low screen would rather cut the help.
void DNGConversionDlg::giveUpRoomBelowHelp()
{
    for (QSpacerItem* room : m_roomBelowHelp)
        room->changeSize(0, 0, QSizePolicy::Fixed, QSizePolicy::Expanding);
    // The layouts around the spacers keep the sizes that they once worked out.
    for (auto* group : findChildren<QGroupBox*>()) {
        group->layout()->invalidate();
        group->updateGeometry();
    }
}

// With a font of its own, of the label's size: some styles draw titles smaller.
QGroupBox* DNGConversionDlg::makeGroup(const QString& title)
{
    auto* group = new QGroupBox(title, m_controlParent);
    group->setAlignment(Qt::AlignLeft);
    QFont groupFont = m_previewLabel->font();
    if (groupFont.pointSize() > 0) // a font that is sized in pixels has none
        groupFont.setPointSize(groupFont.pointSize());
    group->setFont(groupFont);
    return group;
}

// Like all controls here it takes the focus from the tab key alone: a click changes the setting and
// leaves the keyboard where it was.
QCheckBox* DNGConversionDlg::makeCheckBox(const QString& text, bool checked, QWidget* parent)
{
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(u"compression_checkbox"_s); // both have this name
    box->setChecked(checked);
    box->setFocusPolicy(Qt::TabFocus);
    return box;
}

QRadioButton* DNGConversionDlg::makeRadio(const QString& text, QWidget* parent)
{
    auto* radio = new QRadioButton(text, parent);
    radio->setObjectName(u"img_conversion_radio_button"_s); // both have this name
    radio->setFocusPolicy(Qt::TabFocus);
    m_methods.addButton(radio);
    return radio;
}

// An item's place is the size that it stands for. Another number chooses none of them, and comes
// back as -1.
void DNGConversionDlg::makePreviewCombo(QWidget* group, int previewSize)
{
    m_previewCombo = new QComboBox(group);
    m_previewCombo->setObjectName(u"preview_options_combo"_s);
    m_previewCombo->insertItem(0, PtZString::getZString(u"$$$/DngConversion/None=None"_s));
    m_previewCombo->insertItem(
        1, PtZString::getZString(u"$$$/DngConversion/MediumSize=Medium Size"_s));
    m_previewCombo->insertItem(2, PtZString::getZString(u"$$$/DngConversion/FullSize=Full Size"_s));
    m_previewCombo->setCurrentIndex(previewSize);
    m_previewCombo->setFocusPolicy(Qt::TabFocus);
}

QGroupBox* DNGConversionDlg::makePreviewGroup(int previewSize)
{
    auto* group = makeGroup(PtZString::getZString(u"$$$/DngConversion/Preview=Preview"_s));
    m_previewLabel->setParent(group); // the label is older than its group
    makePreviewCombo(group, previewSize);
    m_previewLabel->setBuddy(m_previewCombo);
    auto* layout = new QHBoxLayout(group);
    layout->addWidget(m_previewLabel);
    layout->setSpacing(kPreviewSpacing);
    layout->addWidget(m_previewCombo);
    layout->addItem(makeSpacer(QSizePolicy::Expanding, QSizePolicy::Minimum));
    return group;
}

QGroupBox* DNGConversionDlg::makeCompressionGroup(bool compressed)
{
    auto* group = makeGroup(PtZString::getZString(u"$$$/DngConversion/Compression=Compression"_s));
    m_compressionCheckBox =
        makeCheckBox(PtZString::getZString(u"$$$/DngConversion/LossLess=&Compressed (lossless)"_s),
            compressed,
            group);
    auto* layout = new QHBoxLayout(group);
    layout->addWidget(m_compressionCheckBox);
    return group;
}

// To check a button is no click: a dialog that starts with "linear" shows the help all the same.
void DNGConversionDlg::makeMethodRadios(QWidget* group, bool convertToLinear)
{
    m_preserveRadio = makeRadio(
        PtZString::getZString(u"$$$/DngConversion/PreserveRawImage=&Preserve Raw Image"_s), group);
    m_linearRadio = makeRadio(
        PtZString::getZString(u"$$$/DngConversion/ConverttoLinearImage=C&onvert to Linear Image"_s),
        group);
    connect(
        &m_methods, &QButtonGroup::idClicked, this, &DNGConversionDlg::slotConversionOptionClicked);
    (convertToLinear ? m_linearRadio : m_preserveRadio)->setChecked(true);
}

QGroupBox* DNGConversionDlg::makeMethodGroup(bool convertToLinear)
{
    auto* group = makeGroup(PtZString::getZString(
        u"$$$/DngConversion/ImageConversionMethod=Image Conversion Method"_s));
    makeMethodRadios(group, convertToLinear);
    const HelpRow help = makeHelpRow(
        PtZString::getZString(
            u"$$$/DngConversion/HelpOne=The image data is stored in the original \"mosaic\" format,"
            " if possible, which maximizes the amount of data preserved. Mosaic image data can be"
            " converted to linear data, but the reverse is not possible."_s),
        m_helpPixmap,
        group);
    m_methodHelp = help.text;
    m_methodHelpIcon = help.icon;

    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_preserveRadio);
    layout->addWidget(m_linearRadio);
    m_roomBelowHelp.front() = addHelpRow(*layout, help);
    return group;
}

// This help holds whether or not the box is checked, and so always shows.
QGroupBox* DNGConversionDlg::makeRawFileGroup(bool embedOriginal)
{
    auto* group =
        makeGroup(PtZString::getZString(u"$$$/DngConversion/OriginalRawFile=Original Raw File"_s));
    m_embedCheckBox = makeCheckBox(
        PtZString::getZString(u"$$$/DngConversion/EmbedOriginalRawFile=&Embed Original Raw File"_s),
        embedOriginal,
        group);
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_embedCheckBox);
    m_roomBelowHelp.back() = addHelpRow(*layout,
        makeHelpRow(
            PtZString::getZString(
                u"$$$/DngConversion/HelpTwo=Embeds the entire non-DNG raw file inside the DNG file."
                " This creates a larger DNG file, but it allows the original raw file to be"
                " extracted later if needed."_s),
            m_helpPixmap,
            group));
    return group;
}

// Cancel is made first and so comes first for the tab key, as it does on screen.
QHBoxLayout* DNGConversionDlg::makeButtonRow()
{
    m_cancelButton = new QPushButton(PtZString::getCancelString(), m_controlParent);
    m_okButton = new QPushButton(PtZString::getOKString(), m_controlParent);
    connect(m_cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_okButton, &QPushButton::clicked, this, &QDialog::accept);
    m_okButton->setDefault(true);
    return makeRowOf(m_cancelButton, m_okButton);
}

bool DNGConversionDlg::getCompressionState() const
{
    return !m_compressionCheckBox->isChecked();
}

bool DNGConversionDlg::getEmbedOriginalRawFileStatus() const
{
    return m_embedCheckBox->isChecked();
}

int DNGConversionDlg::getJpegPreviewSize() const
{
    return m_previewCombo->currentIndex();
}

bool DNGConversionDlg::getImageConversionMethod() const
{
    return m_linearRadio->isChecked();
}

// The button's state counts and not the id: a group that numbers its own buttons gives ids that say
// nothing.
void DNGConversionDlg::slotConversionOptionClicked(int)
{
    const bool preserves = !m_linearRadio->isChecked();
    m_methodHelpIcon->setVisible(preserves);
    m_methodHelp->setVisible(preserves);
}
