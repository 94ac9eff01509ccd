// INI engine: parse throughput beside libinih, and a machine's 250 keys read and written
// through clsIniVar. Run: build/kirva_bench --benchmark_filter=Ini
// The machine file lives in the temporary folder, or in $KIRVA_BENCH_DIR when set.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "ini/clsIniVar.h"
#include "ini/document.h"
#include "ini/profile.h"

#ifdef KIRVA_HAVE_INIH
#include <ini.h>
#endif

namespace {

namespace fs = std::filesystem;

// A settings file of about `bytes` bytes: sections of 20 keys with paths, numbers and flags,
// a comment and a blank line here and there; lines stay below 200 characters for libinih.
std::string GenerateIni(std::size_t bytes) {
    std::string text;
    std::mt19937 rng(7);
    for (int section = 0; text.size() < bytes; ++section) {
        text += "; settings of group " + std::to_string(section) + "\r\n";
        text += "[SECTION_" + std::to_string(section) + "]\r\n";
        for (int key = 0; key < 20; ++key) {
            switch (key % 4) {
            case 0:
                text += "PathArchive" + std::to_string(key) + "=C:\\talm\\data\\machine" +
                        std::to_string(rng() % 1000) + "\\\r\n";
                break;
            case 1:
                text += "NbCanaux" + std::to_string(key) + " = " + std::to_string(rng() % 100000) + "\r\n";
                break;
            case 2:
                text += "Option" + std::to_string(key) + "=" + std::to_string(rng() % 2) + "\r\n";
                break;
            default:
                text += "Comment" + std::to_string(key) + "=\"Texte de l'op\xE9rateur " +
                        std::to_string(rng()) + "\"\r\n";
                break;
            }
        }
        text += "\r\n";
    }
    return text;
}

const std::string& OneMegabyte() {
    static const std::string text = GenerateIni(1 << 20);
    return text;
}

void IniParseEngine(benchmark::State& state) {
    const std::string& text = OneMegabyte();
    for (auto _ : state) {
        const kirva::ini::Document doc = kirva::ini::Document::Parse(text);
        benchmark::DoNotOptimize(doc.LineCount());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(IniParseEngine)->Unit(benchmark::kMillisecond);

#ifdef KIRVA_HAVE_INIH
int CountEntry(void* user, const char*, const char*, const char*) {
    ++*static_cast<long*>(user);
    return 1;
}

void IniParseInih(benchmark::State& state) {
    const std::string& text = OneMegabyte();
    for (auto _ : state) {
        long entries = 0;
        if (ini_parse_string(text.c_str(), CountEntry, &entries) != 0) state.SkipWithError("inih failed");
        benchmark::DoNotOptimize(entries);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(IniParseInih)->Unit(benchmark::kMillisecond);
#endif

// A machine-sized file: 250 keys in 13 sections, with comments, as a Telvar.ini is (or `count`
// keys in sections of 20).
struct MachineFile {
    fs::path folder;
    std::string path;
    std::vector<std::pair<std::string, std::string>> keys; // section, key
    explicit MachineFile(int count = 250) {
        std::random_device rd;
        const char* base = std::getenv("KIRVA_BENCH_DIR"); // another disk to measure on
        folder = (base && *base ? fs::path(base) : fs::temp_directory_path()) /
                 ("kirva-bench-" + std::to_string(rd()));
        fs::create_directories(folder);
        path = (folder / "Telvar.ini").string();
        std::string text = "; Telvar\r\n";
        for (int i = 0; i < count; ++i) {
            const std::string section = "SECTION_" + std::to_string(i / 20);
            if (i % 20 == 0) text += "\r\n[" + section + "]\r\n; keys of " + section + "\r\n";
            const std::string key = "Key" + std::to_string(i);
            text += key + "=" +
                    (i % 3 ? std::to_string(i * 7) : "C:\\talm\\machine\\dir" + std::to_string(i) + "\\") +
                    "\r\n";
            keys.emplace_back(section, key);
        }
        std::ofstream(path, std::ios::binary) << text;
    }
    ~MachineFile() {
        std::error_code ec;
        fs::remove_all(folder, ec);
    }
};

// Cold: the file is read and parsed again on every iteration, as when a machine is opened.
// Inside a ReadScope the file is compared with the disk once; without one, at every read.
void IniVarRead250Keys(benchmark::State& state) {
    const bool scoped = state.range(0) != 0;
    MachineFile file;
    kirva::clsIniVar ini;
    ini.Path(file.path);
    for (auto _ : state) {
        kirva::ini::ClearCache();
        std::optional<kirva::ini::ReadScope> scope;
        if (scoped) scope.emplace();
        for (const auto& [section, key] : file.keys)
            benchmark::DoNotOptimize(ini.Read(std::string(key), std::string(section)));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * file.keys.size()));
}
BENCHMARK(IniVarRead250Keys)->ArgName("ReadScope")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

// Every key of a file of `count` keys changed in one BatchScope: one atomic replace, flushed to disk.
void WriteEveryKeyInOneBatch(benchmark::State& state, int count) {
    MachineFile file(count);
    kirva::clsIniVar ini;
    ini.Path(file.path);
    int round = 0;
    for (auto _ : state) {
        ++round;
        kirva::ini::BatchScope batch;
        for (const auto& [section, key] : file.keys)
            ini.WriteStr(std::to_string(round), std::string(key), std::string(section));
        if (!batch.Flush()) state.SkipWithError("flush failed");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * file.keys.size()));
}

// A machine file's 250 keys.
void IniVarWrite250KeysBatch(benchmark::State& state) {
    WriteEveryKeyInOneBatch(state, 250);
}
BENCHMARK(IniVarWrite250KeysBatch)->Unit(benchmark::kMicrosecond);

// Larger files: the time per key must not grow with the length of the file (a key line replaced
// by another moves no section header).
void IniVarWriteBatchOfLargeFile(benchmark::State& state) {
    WriteEveryKeyInOneBatch(state, static_cast<int>(state.range(0)));
}
BENCHMARK(IniVarWriteBatchOfLargeFile)
    ->ArgName("keys")
    ->Arg(1000)
    ->Arg(4000)
    ->Arg(8000)
    ->Unit(benchmark::kMillisecond);

} // namespace
