// Opening the window on the demo machine: frmKirva built, filled with the machine of the demo
// workshop (examples/workshop, machine 1 of the program manager) and shown offscreen.
// This file also holds the main of kirva_editor_bench (every benchmark of bench/editor).
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCoreApplication>

#include "editor/frmKirva.h"
#include "workshop.h"

namespace {

void BM_WindowOpenDemoMachine(benchmark::State& state) {
    const kirva::bench::DemoWorkshop workshop("kirva-window-bench");
    kirva::ProgramState& app = kirva::App();
    if (!workshop.LoadDemoMachine(app)) {
        state.SkipWithError("the demo machine cannot be read");
        return;
    }
    // One window first: the French dictionary of the demo learns the window's texts once.
    { kirva::frmKirva first(app); }
    for (auto _ : state) {
        kirva::frmKirva window(app);
        window.resize(1280, 800);
        window.show();
        QCoreApplication::processEvents();
        benchmark::DoNotOptimize(window.CurrentPanel());
    }
}
BENCHMARK(BM_WindowOpenDemoMachine)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    kirva::bench::SilentMessages messages;
    kirva::SetMessageService(&messages);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    kirva::SetMessageService(nullptr);
    return 0;
}
