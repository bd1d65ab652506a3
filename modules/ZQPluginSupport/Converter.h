// Hands raw files to the program mfx-dng and watches it: one after the other, with the program kept
// for the next file and made anew when it has died, hangs or does not do what it was told. One
// thread at a time; blocks for as long as a conversion takes.
#pragma once

#include "ZQPluginSupport/ZQPluginSupport.h"
#include "ZQPluginSupport/protocol/WorkMessages.h"
#include "platform/common/services/WorkerProcess.h"

#include <chrono>
#include <optional>
#include <string>

namespace dng {

struct ConversionTask {
    std::string source; // paths
    std::string destination;
    int preview = 0;
    bool isCompressed = false;
    bool isLinear = false;
    bool embedsRaw = false;
};

struct ConverterLimits {
    std::chrono::milliseconds start{30'000}; // until the program is ready
    std::chrono::milliseconds silence{60'000}; // until it has to say that it goes on
    std::chrono::seconds processorTime{1200}; // of one file
};

class Converter {
public:
    explicit Converter(std::string program, ConverterLimits limits = {});

    // Nothing is left behind but the DNG of a conversion that is done.
    ZQPluginResult convert(const ConversionTask& task);

    // Of the program; 0 when it does not run.
    unsigned long processId() const { return m_worker ? m_worker->process().id : 0; }

private:
    class Files;

    bool makeReady();
    ZQPluginResult runWorker(const Files& files, const ConversionTask& task);
    ZQPluginResult awaitResult();

    std::string m_program;
    ConverterLimits m_limits;
    std::optional<Pt::WorkerProcess> m_worker;
};

// The program beside this library, in the run-time tree.
std::string programOfLibrary();

} // namespace dng
