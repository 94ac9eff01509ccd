// Opening the window on the demo machine: frmKirva built, filled with the machine of the demo
// workshop (examples/workshop, machine 1 of the program manager) and shown offscreen.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCoreApplication>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

#include "app/ProgramSettings.h"
#include "app/Startup.h"
#include "editor/frmKirva.h"
#include "translate/messages.h"

namespace fs = std::filesystem;

namespace {

// A copy of the demo workshop with its placeholder replaced by the copy's folder, as scripts/run makes.
fs::path PrepareWorkshop() {
    const fs::path source = fs::path(KIRVA_SOURCE_DIR) / "examples" / "workshop";
    const fs::path target = fs::temp_directory_path() / ("kirva-window-bench-" + std::to_string(::getpid()));
    fs::remove_all(target);
    fs::copy(source, target, fs::copy_options::recursive);
    for (const auto& entry : fs::recursive_directory_iterator(target)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        in.close();
        const std::string placeholder = "@WORKSHOP@";
        bool changed = false;
        for (auto at = bytes.find(placeholder); at != std::string::npos; at = bytes.find(placeholder, at)) {
            bytes.replace(at, placeholder.size(), target.string());
            changed = true;
        }
        if (changed) std::ofstream(entry.path(), std::ios::binary | std::ios::trunc) << bytes;
    }
    return target;
}

// Every message is dropped: the bench must not stop on a box.
class SilentMessages : public kirva::MessageService {
  public:
    kirva::MsgAnswer Show(const std::string&, int, kirva::MsgButtons) override {
        return kirva::MsgAnswer::No;
    }
};

fs::path g_workshop;

void BM_WindowOpenDemoMachine(benchmark::State& state) {
    kirva::ProgramState& app = kirva::App();
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
    SilentMessages messages;
    kirva::SetMessageService(&messages);

    g_workshop = PrepareWorkshop();
    kirva::ProgramState& app = kirva::App();
    app.ExeFolder = (g_workshop / "exe").string() + "/";
    app.SettingsFilePath = app.ExeFolder + "Kirva.ini";
    app.VersionText = kirva::VersionText();
    if (!kirva::ReadProgramSettings(app.SettingsFilePath, app.Settings)) {
        std::fprintf(stderr, "window_bench: cannot read %s\n", app.SettingsFilePath.c_str());
        return 1;
    }
    app.InfoCNPath = app.Settings.PathDirData + "InfoCN.ini";
    if (!kirva::ReadMachineToModify(app)) {
        std::fprintf(stderr, "window_bench: cannot read the demo machine\n");
        return 1;
    }
    // One window first: the French dictionary of the demo learns the window's texts once.
    { kirva::frmKirva first(app); }

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    kirva::SetMessageService(nullptr);
    std::error_code ec;
    fs::remove_all(g_workshop, ec);
    return 0;
}
