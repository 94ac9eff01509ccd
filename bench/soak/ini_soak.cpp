// Long runs of the INI engine against other processes, for scripts/soak:
//   kirva_ini_soak kill|writers|badfiles <seconds> <scratch folder>
// kill      a writer killed with SIGKILL during its flushes; each time the file must be exactly
//           one complete version
// writers   several processes writing distinct keys into one file at once; no key may be lost
// badfiles  paths that are not usable settings files (folder, FIFO, device, oversized, write-only,
//           read-only folder, link loop, dangling link, empty, NUL bytes), with every kind of write
// The loads (loads.h) also run in the reliability tests of the core suite, there for seconds.
// Prints one summary line and exits with 0 when no fault was seen, 1 otherwise.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "soak/loads.h"

namespace {

namespace fs = std::filesystem;
namespace loads = kirva::test::loads;

constexpr unsigned kChildDeadlineSeconds = 20;

void PrintFaults(const char* load, const std::vector<std::string>& faults) {
    for (const std::string& fault : faults) std::fprintf(stderr, "%s: %s\n", load, fault.c_str());
}

int KillLoad(double seconds, const fs::path& scratch, std::mt19937& rng) {
    const loads::KillResult r =
        loads::RunKillLoad({.seconds = seconds, .childDeadline = kChildDeadlineSeconds}, scratch, rng);
    PrintFaults("kill", r.faults);
    std::printf("kill -9 during flush: %ld kills (%ld inside a flush: temporary left), %ld versions checked, "
                "%ld flushes completed, torn files = %ld, wrong versions = %ld, failed flushes = %ld\n",
                r.kills, r.inside, r.checked, r.flushes, r.torn, r.wrong, r.failed);
    return r.torn == 0 && r.wrong == 0 && r.failed == 0 ? 0 : 1;
}

int WritersLoad(double seconds, const fs::path& scratch, std::mt19937& rng) {
    const loads::WritersResult r =
        loads::RunWritersLoad({.seconds = seconds, .childDeadline = kChildDeadlineSeconds}, scratch, rng);
    PrintFaults("writers", r.faults);
    std::printf(
        "concurrent writers: %ld rounds of 4-6 processes, %ld writes (one flush each), %ld refused as "
        "locked and retried, writers failed = %ld, keys lost = %ld, stray lines or files = %ld\n",
        r.rounds, r.writes, r.retried, r.failedWriters, r.lost, r.extra);
    return r.lost == 0 && r.extra == 0 && r.failedWriters == 0 ? 0 : 1;
}

int BadFilesLoad(double seconds, const fs::path& scratch) {
    const auto end = loads::After(seconds);
    loads::BadPathResult r;
    long rounds = 0;
    kirva::ini::ClearCache();
    for (; loads::Clock::now() < end; ++rounds)
        for (const loads::BadPath& bad : loads::kBadPaths)
            r.Add(loads::CheckBadPath(bad, scratch / "bad", kChildDeadlineSeconds));
    PrintFaults("badfiles", r.faults);
    std::printf(
        "bad files: %ld rounds of %zu paths x %d kinds of write, %ld calls, calls that did not answer "
        "= %ld, wrong answers = %ld, other files changed = %ld, cases skipped = %ld\n",
        rounds, std::size(loads::kBadPaths), loads::kWriteKinds, r.calls, r.stuck, r.wrongAnswers, r.changed,
        r.skipped);
    return r.stuck == 0 && r.wrongAnswers == 0 && r.changed == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s kill|writers|badfiles <seconds> <scratch folder>\n", argv[0]);
        return 2;
    }
    const std::string load = argv[1];
    const double seconds = std::atof(argv[2]);
    const fs::path scratch = fs::absolute(argv[3]);
    fs::create_directories(scratch);
    const unsigned seed = std::random_device{}();
    std::fprintf(stderr, "kirva_ini_soak %s: seed %u\n", load.c_str(), seed);
    std::mt19937 rng(seed);
    if (load == "kill") return KillLoad(seconds, scratch, rng);
    if (load == "writers") return WritersLoad(seconds, scratch, rng);
    if (load == "badfiles") return BadFilesLoad(seconds, scratch);
    std::fprintf(stderr, "unknown load %s\n", load.c_str());
    return 2;
}
