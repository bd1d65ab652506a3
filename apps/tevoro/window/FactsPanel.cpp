#include "tevoro/window/FactsPanel.h"

#include "copies/CopyPlaces.h"
#include "pictures/folder/PathText.h"
#include "tevoro/window/FactsText.h"
#include "tevoro/window/Words.h"

#include <QFormLayout>
#include <QLabel>
#include <QLocale>

namespace tevoro {

using pictures::displayText;

namespace {

QString linesOf(const QStringList& names)
{
    QStringList lines;
    for (const QString& name : names)
        lines.append(displayText(name));
    return lines.join(u'\n');
}

} // namespace

struct FactsPanel::Answer {
    pictures::PictureFacts facts;
    QString secondCopy; // its path; empty where none is known
};

FactsPanel::FactsPanel(QWidget* parent)
    : QWidget(parent)
    , m_rows(new QFormLayout(this))
{
    setMinimumWidth(240);
    m_rows->setRowWrapPolicy(QFormLayout::WrapLongRows);
    m_reader.setMaxThreadCount(1);
}

FactsPanel::~FactsPanel()
{
    m_reader.clear();
    m_reader.waitForDone();
}

void FactsPanel::showFactsOf(const QString& folder, const pictures::PictureGroup& group)
{
    if (folder == m_folder && group == m_group)
        return;
    m_folder = folder;
    m_group = group;
    const int question = ++m_asked;
    m_reader.clear();
    if (folder.isEmpty()) {
        fill({});
        return;
    }
    m_reader.start([this, question, path = folder + u'/' + group.name] {
        Answer answer{pictures::readFacts(path), {}};
        if (const auto copy = copies::secondCopyOf(pictures::pathBytes(path)))
            answer.secondCopy = pictures::pathText(*copy);
        QMetaObject::invokeMethod(
            this,
            [this, question, answer] {
                if (question == m_asked)
                    fill(answer);
            },
            Qt::QueuedConnection);
    });
}

void FactsPanel::fill(const Answer& answer)
{
    while (m_rows->rowCount() > 0)
        m_rows->removeRow(0);
    if (m_folder.isEmpty())
        return;
    for (const auto& [label, value] : factsText(answer.facts))
        addRow(label, value);
    addRow(words("$$$/Tevoro/Facts/File=File"), displayText(m_folder + u'/' + m_group.name));
    if (!answer.secondCopy.isEmpty())
        addRow(words("$$$/Tevoro/Facts/SecondCopy=Second copy"), displayText(answer.secondCopy));
    if (m_group.bytes >= 0)
        addRow(
            words("$$$/Tevoro/Facts/Bytes=File size"), QLocale().formattedDataSize(m_group.bytes));
    if (!m_group.companions.isEmpty())
        addRow(words("$$$/Tevoro/Facts/Companions=With it"), linesOf(m_group.companions));
}

void FactsPanel::addRow(const QString& label, const QString& value)
{
    auto* const text = new QLabel(value);
    text->setTextFormat(Qt::PlainText); // a camera's words are no markup
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setWordWrap(true);
    text->setAccessibleName(label);
    m_rows->addRow(new QLabel(label), text);
}

} // namespace tevoro
