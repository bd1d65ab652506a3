#include "mfx/panel/PanelControl.h"

#include "TevoroAppManager/contract/IUICallback.h"

#include <QAbstractButton>
#include <QFontInfo>
#include <QLabel>

namespace mfx {

PanelControl::PanelControl(QWidget& widget)
    : m_widget(&widget)
{
    // A click and nothing else: a state that the sink sets itself is no use of the widget.
    if (auto* button = qobject_cast<QAbstractButton*>(&widget))
        QObject::connect(button, &QAbstractButton::clicked, this, [this] { notifySink(); });
}

// The panel's description names the widget as the sink knows it. A widget may go before its
// wrapper, which the sink holds.
void PanelControl::notifySink()
{
    if (m_callback && m_widget)
        m_callback->handleUIEvent(m_widget->objectName().toUtf8().constData());
}

FxStatus PanelControl::SetEnabled(bool enabled)
{
    if (m_widget)
        m_widget->setEnabled(enabled);
    return kFxOk;
}

// The two forms of the host's dialogue: in the first the label is shown while its value says so, in
// the second it gives way.
FxStatus PanelControl::ApplyMode1()
{
    if (m_widget)
        m_widget->setVisible(m_modeValue != 0);
    return kFxOk;
}

FxStatus PanelControl::ApplyMode2()
{
    if (m_widget)
        m_widget->setVisible(false);
    return kFxOk;
}

int PanelControl::GetControlWidth()
{
    return m_widget ? m_widget->width() : 0;
}

int PanelControl::GetControlHeight()
{
    return m_widget ? m_widget->height() : 0;
}

FxStatus PanelControl::SetModeValue(int value)
{
    m_modeValue = value;
    return kFxOk;
}

int PanelControl::GetFontSize()
{
    return m_widget ? QFontInfo(m_widget->font()).pointSize() : 0;
}

// The caller gets a pointer into the member, which is good until it asks again.
const char* PanelControl::GetFontFamily()
{
    m_fontFamily = m_widget ? m_widget->font().family().toUtf8() : QByteArray();
    return m_fontFamily.constData();
}

bool PanelControl::IsFontBold()
{
    return m_widget != nullptr && m_widget->font().bold();
}

bool PanelControl::IsFontItalic()
{
    return m_widget != nullptr && m_widget->font().italic();
}

FxStatus PanelControl::SetCallback(IUICallback* callback)
{
    m_callback = callback;
    return kFxOk;
}

FxStatus PanelControl::SetToolTip(const char* utf8)
{
    if (m_widget)
        m_widget->setToolTip(QString::fromUtf8(utf8));
    return kFxOk;
}

// By the kind of widget, for Qt has no common base of those with a text.
FxStatus PanelControl::SetText(const char* utf8)
{
    const QString text = QString::fromUtf8(utf8);
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        button->setText(text);
    else if (auto* label = qobject_cast<QLabel*>(m_widget.data()))
        label->setText(text);
    return kFxOk;
}

bool PanelControl::IsChecked()
{
    const auto* button = qobject_cast<QAbstractButton*>(m_widget.data());
    return button != nullptr && button->isChecked();
}

FxStatus PanelControl::SetChecked(bool checked)
{
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        button->setChecked(checked);
    return kFxOk;
}

} // namespace mfx
