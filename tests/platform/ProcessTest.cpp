// Shell commands, detached programs and file look-up without regard to case.
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace kirva::platform {
namespace {

using namespace test;

TEST(PlatformProcess, CommandReturnsItsExitCode) {
    TempDir dir;
    const std::pair<std::string, int> cases[] = {
        {"true", 0},
        {"exit 3", 3},
        {"kill -TERM $$", 128 + 15},
        {"no-such-command-for-kirva 2>/dev/null", 127},
        {"echo written > '" + (dir / "out.txt") + "'", 0},
    };
    for (const auto& [command, code] : cases) EXPECT_EQ(RunShellCommandAndWait(command), code) << command;
    EXPECT_EQ(ReadBytes(dir / "out.txt"), "written\n");
}

// What a started program writes comes through a FIFO (opening it waits for the writer).
TEST(PlatformProcess, StartedProgramsRunDetachedAndLeaveNoChild) {
    TempDir dir;
    const std::string fifo = dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_TRUE(StartShellCommand("cut -d' ' -f6 /proc/$$/stat > '" + fifo + "'"));
    // Nothing is left to reap here: the program belongs to init and to a session of its own.
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    std::string line;
    ASSERT_TRUE(std::getline(std::ifstream(fifo), line));
    EXPECT_NE(std::stol(line), static_cast<long>(::getsid(0)));

    // A program starts in its own folder.
    WriteBytes(dir / "bin/Telvar.sh", "#!/bin/sh\npwd > '" + fifo + "'\n");
    ::chmod((dir / "bin/Telvar.sh").c_str(), 0755);
    ASSERT_TRUE(StartProgram(dir / "bin/Telvar.sh"));
    ASSERT_TRUE(std::getline(std::ifstream(fifo), line));
    EXPECT_EQ(line, std::filesystem::canonical(dir.path() / "bin").string());
    WriteBytes(dir / "bin/plain.txt", "not a program");
    EXPECT_FALSE(StartProgram(dir / "bin/plain.txt"));
    EXPECT_FALSE(StartProgram(dir / "bin/missing"));
    EXPECT_FALSE(StartProgram(""));
}

// A Windows program ("MZ" first) runs through the wine found on PATH, in its own folder; without
// wine it is not started. The wine here is a script that reports its folder and arguments.
TEST(PlatformProcess, WindowsProgramsRunThroughWine) {
    TempDir dir;
    const std::string fifo = dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string program = dir / "Machines/TOUR 1/Telvar.exe";
    WriteBytes(program, std::string("MZ\x90\0\3\0", 6));
    WriteBytes(dir / "wine-bin/wine",
               "#!/bin/sh\nprintf '%s|%s|%s\\n' \"$(pwd)\" \"$#\" \"$1\" > '" + fifo + "'\n");
    ::chmod((dir / "wine-bin/wine").c_str(), 0755);
    WriteBytes(dir / "no-wine/wine", "not a program"); // not executable: not a wine
    {
        const ScopedEnv path("PATH", dir / "no-wine" + ":" + dir / "wine-bin");
        ASSERT_TRUE(StartProgram(program));
        std::string line;
        ASSERT_TRUE(std::getline(std::ifstream(fifo), line));
        const std::string folder = std::filesystem::canonical(dir.path() / "Machines/TOUR 1").string();
        EXPECT_EQ(line, folder + "|1|" + program);
    }
    for (const std::string& path : {dir / "no-wine", std::string("/nonexistent-kirva"), std::string()}) {
        const ScopedEnv noWine("PATH", path);
        EXPECT_FALSE(StartProgram(program)) << path;
    }
}

TEST(PlatformProcess, FilesAreFoundWithoutRegardToCase) {
    TempDir dir;
    for (const char* name : {"Telvar.exe", "Lng/FR.lng", "État.ini", "a.txt", "A.txt"})
        WriteBytes(dir / name, "");
    const std::string folder = dir.path().string();
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"Telvar.exe", dir / "Telvar.exe"}, {"telvar.EXE", dir / "Telvar.exe"},
        {"lng/fr.LNG", dir / "Lng/FR.lng"}, {"état.INI", dir / "État.ini"},
        {"a.txt", dir / "a.txt"},           {"A.TXT", dir / "A.txt"}, // the first in byte order
        {"missing.ini", std::nullopt},      {"", std::nullopt},
    };
    for (const auto& [name, found] : cases) EXPECT_EQ(FindFileNoCase(folder, name), found) << name;
    EXPECT_EQ(FindFileNoCase(folder + "/", "TELVAR.exe"), dir / "Telvar.exe");
}

} // namespace
} // namespace kirva::platform
