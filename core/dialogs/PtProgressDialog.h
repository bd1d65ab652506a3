// The progress of a job made of nested jobs, in one bar of 500 units. A job of n steps may open a
// job inside any of its steps; the inner job's steps share the width of that one step, and so on to
// any depth. Owns its levels: what is still open when the dialog ends goes with it.
//
// Every step serves events, which is what lets the Cancel button work during a long job: a caller
// must stand its own slots being called in between. For the user-interface thread alone.
#pragma once

#include "dialogs/PtProgressStep.h"

#include <QList>
#include <QProgressDialog>
#include <QString>

class PtProgressDialog : public QProgressDialog {
    Q_OBJECT

public:
    // A label gets "..." behind it unless it is empty or has them. A null `cancelText` means that
    // there is no Cancel button.
    PtProgressDialog(
        QWidget* parent, const QString& label, const QString& cancelText, int totalSteps);
    ~PtProgressDialog() override;

    // Opens a job inside the current step of the deepest level. The bar does not change until the
    // next `setProgress`.
    void createProgressLevel(int steps);

    // Closes the deepest level. Its share leaves the bar, and its parent's step is not advanced:
    // the caller does that with the next `setProgress`. Requires: a level that is not the first.
    void setCurrentLevelFinished();

    // The step of the deepest level; 0 when there is none.
    int getCurrentLevelProgress() const;

    // What a step of a level of that many steps is worth inside the deepest level, as a share of
    // the bar. Steps of a level that has none are worth nothing.
    float getNewCoefficient(int steps);

    // What the bar should show: 0 to 500 where steps are neither negative nor beyond their totals.
    int calculateMasterProgress();

    // For code that knows no Qt. `dialog` points to a PtProgressDialog or is null; -1 means that a
    // number is not given, and only the first of the three that is given counts. False when the
    // user has cancelled: the caller is to stop, and nothing was applied.
    static bool progressCallback(void* dialog, int progress, int newLevelSteps, bool levelFinished);

Q_SIGNALS:
    void signalProgressChanged(int progress);

public Q_SLOTS:
    // These two do nothing: totals belong to levels, and are set when a level is opened.
    virtual void setProgress(int, int);
    virtual void setTotalSteps(int);

    // The deepest level has come to this step, at most to its last.
    virtual void setProgress(int nAmountDone);

private:
    void pushLevel(int steps);

    QList<PtProgressStep*> m_levels; // owned; the last is the deepest
    PtProgressStep* m_currentLevel = nullptr; // the last of them
};
