// Reading and writing a complete machine file: every key of the key table, activities, analysis
// channels, and the lists' sections ([PLANS] 20 lines, [CANAUX] 8 lines) as another program
// leaves them. Run: kirva_bench --benchmark_filter=Machine
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "app/ProgramSettings.h"
#include "ini/profile.h"
#include "machine/KeyTable.h"
#include "machine/TelvarFile.h"

namespace {

using namespace kirva;

class MachineBenchFolder {
  public:
    MachineBenchFolder() {
        std::random_device rd;
        // KIRVA_BENCH_DIR chooses the disk (for instance /dev/shm), the temporary folder otherwise.
        const char* base = std::getenv("KIRVA_BENCH_DIR");
        folder_ = (base && *base ? std::filesystem::path(base) : std::filesystem::temp_directory_path()) /
                  ("kirva-machine-bench-" + std::to_string(rd()));
        std::filesystem::create_directories(folder_ / "M1");
        ::setenv("KIRVA_REGISTRY", (folder_ / "registry.ini").c_str(), 1);
        App().LocalIPAddress = "192.168.1.20";
        App().Settings.PathDirData = "/data/talm/";

        machine_.MachineDir = (folder_ / "M1").string() + "/";
        int n = 0;
        for (const KeyDef& def : KeyTable()) {
            ++n;
            switch (def.Kind) {
            case KeyKind::String:
                SetKeyText(machine_, Remonte(), def, std::string(def.Key) + " value " + std::to_string(n));
                break;
            case KeyKind::Bool:
                SetKeyText(machine_, Remonte(), def, n % 2 ? "1" : "0");
                break;
            case KeyKind::Double:
                SetKeyText(machine_, Remonte(), def, std::to_string(n) + ".5");
                break;
            default:
                SetKeyText(machine_, Remonte(), def, std::to_string(n * 7));
            }
        }
        machine_.RefMO = "TOUR1";
        machine_.SetNbActivity(10);
        for (int a = 1; a <= 10; ++a) machine_.Activity[a] = {"Activite " + std::to_string(a), 100 + a, "A"};
        for (int c = 1; c <= 8; ++c)
            machine_.CanalAnalyse.push_back({"Canal " + std::to_string(c), std::to_string(1000 + c), "C"});
        WriteTelvarIni(machine_, ThisWorkstation());

        // The lists' sections, one line a plan or channel.
        std::string lists = "[PLANS]\r\n";
        for (int p = 1; p <= 20; ++p) {
            lists += "ref:P" + std::to_string(p) + "|LadX:X|LadY:Z|CoeffX:1|CoeffY:" + std::to_string(p) +
                     "|R:0|\r\n";
        }
        lists += "[CANAUX]\r\n";
        for (int c = 1; c <= 8; ++c) {
            lists += "ref:C" + std::to_string(c) + "|Pref:$" + std::to_string(c) +
                     "|Suff:|Canal:" + std::to_string(c) + "|\r\n";
        }
        std::FILE* f = std::fopen(Path().c_str(), "ab");
        std::fwrite(lists.data(), 1, lists.size(), f);
        std::fclose(f);
        ini::ClearCache();
    }
    ~MachineBenchFolder() {
        std::error_code ec;
        std::filesystem::remove_all(folder_, ec);
    }
    std::string Path() const { return machine_.MachineDir + "Telvar.ini"; }
    MachineConfig& Machine() { return machine_; }

  private:
    std::filesystem::path folder_;
    MachineConfig machine_;
};

// A first read, as at start-up: the file is parsed from disk each time.
void BM_MachineReadCold(benchmark::State& state) {
    MachineBenchFolder folder;
    MachineConfig m;
    for (auto _ : state) {
        ini::ClearCache();
        bool ok = ReadTelvarIni(folder.Path(), m);
        benchmark::DoNotOptimize(ok);
    }
    state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(folder.Path()));
}
BENCHMARK(BM_MachineReadCold)->Unit(benchmark::kMicrosecond);

// Reading again a file the engine already holds (unchanged on disk).
void BM_MachineReadCached(benchmark::State& state) {
    MachineBenchFolder folder;
    MachineConfig m;
    for (auto _ : state) {
        bool ok = ReadTelvarIni(folder.Path(), m);
        benchmark::DoNotOptimize(ok);
    }
}
BENCHMARK(BM_MachineReadCached)->Unit(benchmark::kMicrosecond);

// Writing every key back: one atomic replace of the file (flushed to disk), and the Run value.
void BM_MachineWrite(benchmark::State& state) {
    MachineBenchFolder folder;
    std::int32_t port = 0;
    for (auto _ : state) {
        folder.Machine().PortListen = ++port % 1000; // a changed value: the file is really replaced
        bool ok = WriteTelvarIni(folder.Machine(), ThisWorkstation());
        benchmark::DoNotOptimize(ok);
    }
}
BENCHMARK(BM_MachineWrite)->Unit(benchmark::kMicrosecond);

} // namespace
