// Registry file on POSIX: a value read from a large registry file while the file stays as it is
// (the parsed file is kept between calls), after each change of the file (the file is parsed
// again), and one value written. Run: build/kirva_bench --benchmark_filter=Registry
// The registry file lives in the temporary folder, or in $KIRVA_BENCH_DIR when set.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>

#include "platform/platform.h"

namespace {

namespace fs = std::filesystem;
using kirva::platform::RegRoot;

// A registry file of about `bytes` bytes: keys of ten values of each type. The value the
// benchmarks read lies in the last key, so that no lookup can stop early.
std::string GenerateRegistry(std::size_t bytes, std::string& lastKey) {
    std::string text = "; registry of the bench\n";
    for (int key = 0; text.size() < bytes; ++key) {
        lastKey = "SOFTWARE\\MAROVEX\\TALM\\MACHINE_" + std::to_string(key);
        text += "[HKEY_LOCAL_MACHINE\\" + lastKey + "]\n";
        for (int value = 0; value < 10; ++value) {
            const std::string n = std::to_string(value);
            text += "AppHwnd" + n + "=dword:0000" + std::to_string(1000 + key % 9000) + "\n";
            text +=
                "ImagePath" + n + "=expand:\"\\\"/opt/talm/exe/srv" + std::to_string(key) + ".exe\\\"\"\n";
            text += "FailureActions" + n + "=hex:80,51,01,00,00,00,00,00\n";
        }
        text += "\n";
    }
    return text;
}

class RegistryFile {
  public:
    explicit RegistryFile(std::size_t bytes) {
        const char* base = std::getenv("KIRVA_BENCH_DIR");
        folder_ = fs::path(base != nullptr && *base != '\0' ? base : fs::temp_directory_path().string()) /
                  ("kirva-bench-registry-" + std::to_string(bytes));
        fs::create_directories(folder_);
        path_ = (folder_ / "registry.ini").string();
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << GenerateRegistry(bytes, lastKey_);
        ::setenv("KIRVA_REGISTRY", path_.c_str(), 1);
    }
    ~RegistryFile() {
        ::unsetenv("KIRVA_REGISTRY");
        std::error_code ec;
        fs::remove_all(folder_, ec);
    }
    RegistryFile(const RegistryFile&) = delete;
    RegistryFile& operator=(const RegistryFile&) = delete;

    const std::string& path() const { return path_; }
    const std::string& lastKey() const { return lastKey_; }

  private:
    fs::path folder_;
    std::string path_;
    std::string lastKey_;
};

void ReadOne(benchmark::State& state, const RegistryFile& file) {
    const auto value = kirva::platform::RegReadDword(RegRoot::LocalMachine, file.lastKey(), "AppHwnd9");
    if (!value) state.SkipWithError("value not found");
    benchmark::DoNotOptimize(value);
}

// The file does not change between calls.
void RegistryReadUnchanged(benchmark::State& state) {
    const RegistryFile file(static_cast<std::size_t>(state.range(0)) << 20);
    ReadOne(state, file); // the first call of the process parses the file
    for (auto _ : state) ReadOne(state, file);
}
BENCHMARK(RegistryReadUnchanged)->ArgName("MiB")->Arg(1)->Arg(16)->Arg(60)->Unit(benchmark::kMicrosecond);

// Another program changed the file before each call (here: a new modification time).
void RegistryReadAfterChange(benchmark::State& state) {
    const RegistryFile file(static_cast<std::size_t>(state.range(0)) << 20);
    std::time_t seconds = 1000000000;
    for (auto _ : state) {
        state.PauseTiming();
        const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ++seconds;
        if (::utimensat(AT_FDCWD, file.path().c_str(), times, 0) != 0)
            state.SkipWithError("utimensat failed");
        state.ResumeTiming();
        ReadOne(state, file);
    }
}
BENCHMARK(RegistryReadAfterChange)->ArgName("MiB")->Arg(1)->Arg(16)->Arg(60)->Unit(benchmark::kMillisecond);

// One value written (the file is replaced, flushed to disk).
void RegistryWriteOne(benchmark::State& state) {
    const RegistryFile file(static_cast<std::size_t>(state.range(0)) << 20);
    std::uint32_t number = 0;
    for (auto _ : state) {
        if (!kirva::platform::RegWriteDword(RegRoot::LocalMachine, file.lastKey(), "AppHwnd9", ++number))
            state.SkipWithError("write failed");
    }
}
BENCHMARK(RegistryWriteOne)->ArgName("MiB")->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);

} // namespace
