#include "dialogs/PtSelfDisablingCancelButton.h"

using namespace Qt::StringLiterals;

PtSelfDisablingCancelButton::PtSelfDisablingCancelButton(QWidget* parent)
    : QPushButton(parent)
{
    setObjectName(u"cancel button"_s);
    connect(this, &QPushButton::clicked, this, &PtSelfDisablingCancelButton::slotClicked);
}

void PtSelfDisablingCancelButton::slotClicked()
{
    setEnabled(false);
}
