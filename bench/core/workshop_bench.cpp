// The command line's check of a whole workshop: a generated workshop of 500 machines (each with its
// Telvar.ini and Iso.ini) read as the editor reads it and checked, as "kirva-cli check" does, from
// a cold engine (every file parsed again, as in a new process).
// Run: kirva_bench --benchmark_filter=Workshop
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "ini/profile.h"
#include "support/GeneratedWorkshop.h"
#include "workshop/Workshop.h"
#include "workshop/WorkshopText.h"

namespace {

using namespace kirva;
namespace fs = std::filesystem;

void BM_WorkshopCheck(benchmark::State& state) {
    const int machines = static_cast<int>(state.range(0));
    const char* base = std::getenv("KIRVA_BENCH_DIR");
    const fs::path root = (base != nullptr && *base != '\0' ? fs::path(base) : fs::temp_directory_path()) /
                          ("kirva-workshop-bench-" + std::to_string(::getpid()));
    fs::create_directories(root);
    ::setenv("KIRVA_REGISTRY", (root / "registry.ini").c_str(), 1);
    const test::GeneratedWorkshop generated(root, machines);
    std::size_t findings = 0;
    for (auto _ : state) {
        ini::ClearCache();
        workshop::CollectedMessages quiet;
        workshop::Workshop shop;
        std::string error;
        if (!workshop::LoadWorkshop(generated.CallerFile(), shop, error)) {
            state.SkipWithError(error.c_str());
            break;
        }
        findings = workshop::CheckWorkshop(shop).size();
        benchmark::DoNotOptimize(findings);
    }
    state.counters["machines"] = machines;
    state.counters["findings"] = static_cast<double>(findings);
    ini::ClearCache();
    std::error_code ec;
    fs::remove_all(root, ec);
}
BENCHMARK(BM_WorkshopCheck)->Arg(500)->Unit(benchmark::kMillisecond);

} // namespace
