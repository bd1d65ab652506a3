#include "mfx/panel/OptionsPanel.h"

#include "mfx/engine/sink/SinkModule.h"
#include "mfx/texts/Texts.h"

#include <QAbstractButton>
#include <QFile>
#include <QUiLoader>

namespace mfx {

namespace {

void openForReading(QFile& description)
{
    if (!description.open(QIODevice::ReadOnly))
        throw SystemPartError(
            text("$$$/Mfx/System/PanelUnreadable=cannot read the options panel %1: %2",
                {description.fileName().toStdString(), description.errorString().toStdString()}));
}

} // namespace

OptionsPanel::OptionsPanel(const QString& descriptionFile)
{
    QFile file(descriptionFile);
    openForReading(file);
    QUiLoader loader;
    m_widget.reset(loader.load(&file));
    if (!m_widget)
        throw SystemPartError(
            text("$$$/Mfx/System/PanelDamaged=the options panel %1 is damaged: %2",
                {descriptionFile.toStdString(), loader.errorString().toStdString()}));
    // Laid out even where it is never shown: the sink fits texts to the sizes of widgets.
    m_widget->ensurePolished();
    m_widget->adjustSize();
}

// A name that the panel does not have is no failure by the contract: there is no control then. One
// wrapper for each widget, however often it is asked for.
FxStatus OptionsPanel::FindControl(const char* name, IClientUIControl** out)
{
    *out = nullptr;
    const QString objectName = QString::fromUtf8(name);
    auto* widget = m_widget->findChild<QWidget*>(objectName);
    if (!widget)
        return kFxOk;
    auto& control = m_controls[objectName];
    if (!control)
        control = std::make_unique<PanelControl>(*widget);
    control->AddRef();
    *out = control.get();
    return kFxOk;
}

// Of the widget and not of its wrapper: also of a box that the sink never asked for.
bool OptionsPanel::isChecked(const char* name) const
{
    const auto* button = m_widget->findChild<QAbstractButton*>(QString::fromUtf8(name));
    return button != nullptr && button->isChecked();
}

} // namespace mfx
