// The sink's options panel: the widgets of its description file, and the handler through which the
// sink finds them. Owns the widgets and their wrappers; outlives the sink. For the thread that owns
// the widgets. The command line reads and sets the same panel that a window shows.
#pragma once

#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "mfx/engine/sink/HostObject.h"
#include "mfx/panel/PanelControl.h"

#include <QString>
#include <QWidget>

#include <map>
#include <memory>

namespace mfx {

class OptionsPanel final : public HostObject<IClientUIHandler> {
public:
    // Builds the widgets. Throws SystemPartError when the file is missing or describes no panel.
    explicit OptionsPanel(const QString& descriptionFile);
    ~OptionsPanel() = default;

    FxStatus FindControl(const char* name, IClientUIControl** out) override;

    // What a check box of the panel says; false when there is none of that name.
    bool isChecked(const char* name) const;

    QWidget& widget() { return *m_widget; }

private:
    std::unique_ptr<QWidget> m_widget;
    std::map<QString, std::unique_ptr<PanelControl>> m_controls;
};

} // namespace mfx
