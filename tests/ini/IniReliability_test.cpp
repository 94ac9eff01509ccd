// The engine under stress from other processes: a writer killed in the middle of its flush and
// several writers on one file at once. The loads (bench/soak/loads.h) are those of the soak, here
// with small counts; the soak's third load, bad paths, is covered here by the writers' failure
// table (tests/app) and the engine's link and blank-line tests.
// POSIX only: the loads fork and kill their writers (the platform tests race a reader against the
// Windows replace).
#ifndef _WIN32

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "ini/IniTestSupport.h"
#include "soak/loads.h"

namespace kirva::test {
namespace {

// A child that is still running after this many seconds is stuck: its alarm ends it.
constexpr unsigned kChildDeadlineSeconds = 10;

std::string Lines(const std::vector<std::string>& faults) {
    std::string text;
    for (const std::string& fault : faults) text += "\n  " + fault;
    return text;
}

using IniReliability = IniFixture;

TEST_F(IniReliability, WriterKilledDuringFlushLeavesOneCompleteVersion) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    // One file of 400 keys of 500 bytes (about 200 KB), killed 30 times after one or two versions.
    const loads::KillOptions options{.series = 1,
                                     .rounds = 30,
                                     .sections = {20, 20},
                                     .valueSize = {500, 500},
                                     .reports = {1, 2},
                                     .spinIterations = 1,
                                     .childDeadline = kChildDeadlineSeconds};
    const loads::KillResult result = loads::RunKillLoad(options, dir.path(), rng);
    EXPECT_EQ(result.kills, 30);
    EXPECT_EQ(result.checked, 30);
    EXPECT_GE(result.flushes, 30);
    EXPECT_EQ(result.failed, 0) << Lines(result.faults);
    EXPECT_EQ(result.torn, 0) << Lines(result.faults);
    EXPECT_EQ(result.wrong, 0) << Lines(result.faults);
    RecordProperty("KillsInsideFlush", static_cast<int>(result.inside));
}

TEST_F(IniReliability, WritersInSeveralProcessesLoseNoKey) {
    std::mt19937 rng(1);
    const loads::WritersOptions options{
        .rounds = 1, .writers = {5, 5}, .keys = {30, 30}, .childDeadline = kChildDeadlineSeconds};
    const loads::WritersResult result = loads::RunWritersLoad(options, dir.path(), rng);
    EXPECT_EQ(result.rounds, 1);
    EXPECT_EQ(result.writes, 5 * 30);
    EXPECT_EQ(result.failedWriters, 0) << Lines(result.faults);
    EXPECT_EQ(result.lost, 0) << Lines(result.faults);
    EXPECT_EQ(result.extra, 0) << Lines(result.faults);
}

} // namespace
} // namespace kirva::test

#endif // _WIN32
