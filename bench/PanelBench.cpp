// What a user waits for when the download dialogue opens its options panel:
//
//   PanelFirst     from the description file to bound controls, for the first time in a process:
//                  with fonts and the loader of descriptions started
//   PanelAgain     the same afterwards
//
// Bound means: the sink has found its controls, filled them from its preferences and fitted the
// backup folder's name. The aim is below 50 ms for both.
//
// Usage: run in the stage's lib/mfx/bin; the plug-in and its assets are looked for beside it.

#include "mfx/engine/sink/SinkSession.h"
#include "mfx/panel/OptionsPanel.h"

#include <QApplication>

#include <memory>

#include <benchmark/benchmark.h>

namespace {

constexpr char kPlugin[] = "../plugins/TevoroAppManager.so";

// Nothing happens here that is worth telling.
class Silence final : public mfx::DownloadEvents {
public:
    void source(const std::string&, std::size_t, std::uint64_t) override { }
    void item(const mfx::ItemEvent&) override { }
    void message(const std::string&, const std::string&) override { }
    mfx::Answer question(const std::string&, const std::string&) override
    {
        return mfx::Answer::kNo;
    }
    void progress(const mfx::ProgressEvent&) override { }
    void summary(const mfx::DownloadSummary&) override { }
};

// The sink holds on to a panel until its own end, so each round has a new session, which is not
// part of the time.
void openPanel(benchmark::State& state)
{
    Silence events;
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<mfx::OptionsPanel> panel;
        {
            mfx::SinkSession session(kPlugin, events);
            state.ResumeTiming();
            panel =
                std::make_unique<mfx::OptionsPanel>(QString::fromStdString(session.panelFile()));
            session.bindPanel(*panel);
            state.PauseTiming();
        }
        panel.reset();
        state.ResumeTiming();
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::RegisterBenchmark("PanelFirst", openPanel)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("PanelAgain", openPanel)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
