// A message box with five buttons, shown and answered.
#pragma once

#include "core/dialogs/support/DialogUser.h"
#include "dialogs/PtMessageBox.h"

#include <array>

namespace test {

inline const std::array<QString, 5> kFive{QStringLiteral("a"),
    QStringLiteral("b"),
    QStringLiteral("c"),
    QStringLiteral("d"),
    QStringLiteral("e")};

inline QPushButton& button(const QWidget& box, int number)
{
    return childOf<QPushButton>(box, ("messageBox.button" + std::to_string(number)).c_str());
}

inline int displayButtons(
    const std::array<QString, 5>& buttons, int escapeResult, int defaultButton)
{
    return PtMessageBox::display(nullptr,
        QMessageBox::Warning,
        QStringLiteral("caption"),
        QStringLiteral("text"),
        buttons[0],
        buttons[1],
        buttons[2],
        buttons[3],
        buttons[4],
        escapeResult,
        defaultButton);
}

} // namespace test
