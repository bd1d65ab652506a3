#include "dialogs/PtProgressDialog.h"

#include "dialogs/DialogFrame.h"
#include "dialogs/PtSelfDisablingCancelButton.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr int kUnits = 500; // the whole bar

QString withEllipsis(const QString& label)
{
    const QString dots = u"..."_s;
    return label.isEmpty() || label.contains(dots) ? label : label + dots;
}

// Below zero is a state like any other: a caller may take back more than it did. Steps far below
// lead beyond what an int holds, where a conversion has no defined result.
int toUnits(float value)
{
    constexpr float kLimit = 2147483648.0F; // 2^31, exact in single precision
    if (value >= kLimit)
        return std::numeric_limits<int>::max();
    if (value < -kLimit)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

} // namespace

PtProgressDialog::PtProgressDialog(
    QWidget* parent, const QString& label, const QString& cancelText, int totalSteps)
    // Without a button of the base's own: each that is set leaves an Escape shortcut behind, and
    // two of them shut each other out.
    : QProgressDialog(QString(), QString(), 0, kUnits, parent, kDialogFlags)
{
    setObjectName(u"pt progress dialog"_s);
    setModal(true);
    setCancelButton(new PtSelfDisablingCancelButton(this));
    setCancelButtonText(cancelText);
    setLabelText(withEllipsis(label));
    setWindowTitle(u"Tevoro 4.0"_s); // the same in every language
    pushLevel(totalSteps);
}

// A job that ends early leaves its levels open.
PtProgressDialog::~PtProgressDialog()
{
    qDeleteAll(m_levels);
}

// The new level is worth a step of the one that is still the deepest: that is asked first.
void PtProgressDialog::pushLevel(int steps)
{
    m_levels.append(new PtProgressStep(steps, getNewCoefficient(steps)));
    m_currentLevel = m_levels.last();
}

void PtProgressDialog::createProgressLevel(int steps)
{
    pushLevel(steps);
}

void PtProgressDialog::setCurrentLevelFinished()
{
    if (m_levels.isEmpty())
        return;
    delete m_levels.takeLast();
    m_currentLevel = m_levels.isEmpty() ? nullptr : m_levels.last();
}

int PtProgressDialog::getCurrentLevelProgress() const
{
    return m_currentLevel ? m_currentLevel->currentStep() : 0;
}

float PtProgressDialog::getNewCoefficient(int steps)
{
    if (steps == 0)
        return 0.0F;
    const float share = 1.0F / static_cast<float>(steps);
    return m_currentLevel ? share * m_currentLevel->coefficient() : share;
}

// In single precision and from the first level on: another order or a wider type gives another unit
// here and there. No level at all means that the job is done.
int PtProgressDialog::calculateMasterProgress()
{
    if (m_levels.isEmpty())
        return kUnits;
    float done = 0.0F;
    for (const PtProgressStep* level : m_levels)
        done += static_cast<float>(level->currentStep()) * level->coefficient();
    return toUnits(std::floor(done * static_cast<float>(kUnits)));
}

// Slots of a dialog with one job and one total: connections to them do no harm.
void PtProgressDialog::setProgress(int, int) { }

void PtProgressDialog::setTotalSteps(int) { }

void PtProgressDialog::setProgress(int nAmountDone)
{
    if (m_currentLevel) {
        m_currentLevel->setCurrentStep(std::min(nAmountDone, m_currentLevel->totalSteps()));
        const int units = calculateMasterProgress();
        QProgressDialog::setValue(units);
        Q_EMIT signalProgressChanged(units);
    }
    // Last, and without a level too: the bar is drawn and the Cancel button heard before the job
    // goes on to its next step.
    QCoreApplication::processEvents();
}

bool PtProgressDialog::progressCallback(
    void* dialog, int progress, int newLevelSteps, bool levelFinished)
{
    constexpr int kNotGiven = -1;
    QCoreApplication::processEvents(); // first: a press that waits counts for this step
    if (!dialog)
        return true;
    auto& self = *static_cast<PtProgressDialog*>(dialog);
    if (self.wasCanceled())
        return false;
    if (progress != kNotGiven)
        self.setProgress(progress);
    else if (newLevelSteps != kNotGiven)
        self.createProgressLevel(newLevelSteps);
    else if (levelFinished)
        self.setCurrentLevelFinished();
    return true;
}
