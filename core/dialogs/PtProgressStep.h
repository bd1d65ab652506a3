// One level of a nested job in PtProgressDialog: how many steps it has, how many are done, and the
// share of the whole bar that one of them is worth. Owned by its dialog; for the user-interface
// thread alone.
#pragma once

class PtProgressStep {
public:
    PtProgressStep(int totalSteps, float coefficient)
        : m_totalSteps(totalSteps)
        , m_coefficient(coefficient)
    {
    }
    virtual ~PtProgressStep() = default;
    PtProgressStep(const PtProgressStep&) = delete;
    PtProgressStep& operator=(const PtProgressStep&) = delete;

    int totalSteps() const { return m_totalSteps; }
    int currentStep() const { return m_currentStep; }
    void setCurrentStep(int step) { m_currentStep = step; }
    float coefficient() const { return m_coefficient; }

private:
    int m_totalSteps;
    int m_currentStep = 0;
    float m_coefficient;
};
