#include "dialogs/PtSelfDisablingCancelButton.h"

using namespace Qt::StringLiterals;

PtSelfDisablingCancelButton::PtSelfDisablingCancelButton(QWidget* parent)
    : QPushButton(parent)
{
    setObjectName(u"cancel button"_s);
    // Before anybody else can connect: the button is off by the time that others hear of the press.
    connect(this, &QPushButton::clicked, this, &PtSelfDisablingCancelButton::slotClicked);
}

void PtSelfDisablingCancelButton::slotClicked()
{
    setEnabled(false);
}
