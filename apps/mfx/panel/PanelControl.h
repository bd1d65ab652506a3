// One widget of the sink's options panel, as the sink sees it. Wraps a widget that it does not own
// and tells the sink when it is used. Lives as long as its panel; references are only counted.
// For the thread that owns the widgets.
#pragma once

#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "mfx/engine/sink/HostObject.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QWidget>

namespace mfx {

class PanelControl final : public QObject, public HostObject<IClientUIControl> {
public:
    explicit PanelControl(QWidget& widget);

    FxStatus SetEnabled(bool enabled) override;
    FxStatus ApplyMode1() override;
    FxStatus ApplyMode2() override;
    int GetControlWidth() override;
    int GetControlHeight() override;
    FxStatus SetModeValue(int value) override;
    int GetFontSize() override;
    const char* GetFontFamily() override;
    bool IsFontBold() override;
    bool IsFontItalic() override;
    FxStatus SetCallback(IUICallback* callback) override;
    FxStatus SetToolTip(const char* utf8) override;
    FxStatus SetText(const char* utf8) override;
    bool IsChecked() override;
    FxStatus SetChecked(bool checked) override;

private:
    void notifySink();

    QPointer<QWidget> m_widget;
    IUICallback* m_callback = nullptr; // borrowed
    QByteArray m_fontFamily;
    int m_modeValue = 0;
};

} // namespace mfx
