// The core of the apply of the demo machine, without the window: the checks made before writing
// (CheckBeforeApply) and the writes (ApplyMachine) of machine 1 of the program manager in modify
// mode: the caller's entry, Telvar.ini (and the Run value), the three lists saved as the window
// saves them, and the notification, which a calling program listening on its socket reads each
// time. Same two cases as BM_ApplyDemoMachine (bench/editor/apply_bench.cpp):
//   changed:0  the machine applied as it is; changed:1  a value of every file changed each time.
// Run: kirva_bench --benchmark_filter=Apply
#include <benchmark/benchmark.h>

#include "../editor/workshop.h"
#include "app/Apply.h"
#include "machine/MachineConfig.h"

namespace {

using namespace kirva;

void BM_ApplyMachineCore(benchmark::State& state) {
    const bool changed = state.range(0) != 0;
    bench::SilentMessages messages;
    SetMessageService(&messages);
    const bench::DemoWorkshop workshop("kirva-apply-core-bench");
    ProgramState& app = App();
    const bench::ListeningCaller caller;
    if (!workshop.LoadDemoMachine(app) || !caller.Listening()) {
        SetMessageService(nullptr);
        state.SkipWithError("the demo machine or its caller cannot be set up");
        return;
    }
    MachineConfig& machine = Machine();
    clsInsertIso insertions;
    clsPlansPDC plans;
    clsCanaux channels;
    insertions.Init(machine.PathIsoIni);
    plans.Init(app.MachineSettingsPath);
    channels.Init(app.MachineSettingsPath);
    ApplyActions actions;
    actions.SaveLists = [&](const std::string& iso, const std::string& telvarPath) {
        insertions.SetPath(iso);
        plans.SetPath(telvarPath);
        channels.SetPath(telvarPath);
        const bool isoSaved = insertions.Save();
        const bool plansSaved = plans.Save();
        const bool channelsSaved = channels.Save();
        return isoSaved && plansSaved && channelsSaved;
    };
    const std::string key = machine.InsKeyF[0];
    const std::int32_t listen = machine.PortListen;

    int round = 0;
    for (auto _ : state) {
        if (changed) {
            state.PauseTiming();
            ++round;
            machine.InsKeyF[0] = round % 2 != 0 ? key + " G17" : key;
            machine.PortListen = listen + round % 2;
            bench::ChangeLists(insertions, plans, channels, round);
            state.ResumeTiming();
        }
        if (CheckBeforeApply(app.Settings, machine.RefMO, machine.PathTelvar) != ApplyCheck::Passed) {
            state.SkipWithError("the demo machine did not pass the checks");
            break;
        }
        const ApplyOutcome done = ApplyMachine(app, machine, Remonte(), actions);
        if (!caller.Receive() || !done.Registered || !done.TelvarWritten || !done.ListsSaved ||
            !done.Notified) {
            state.SkipWithError("a write failed or the caller was not told");
            break;
        }
    }
    SetMessageService(nullptr);
}
BENCHMARK(BM_ApplyMachineCore)
    ->ArgName("changed")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

} // namespace
