// A Cancel button that can be pressed once: a press registers at once, and no second one happens
// while the job winds down. Owned by its parent; for the user-interface thread alone.
#pragma once

#include <QPushButton>

class PtSelfDisablingCancelButton : public QPushButton {
    Q_OBJECT

public:
    explicit PtSelfDisablingCancelButton(QWidget* parent);

private Q_SLOTS:
    void slotClicked();
};
