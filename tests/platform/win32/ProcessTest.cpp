// Shell commands and programs: exit codes, commands started without waiting, and a server started
// in its own folder, minimised, found among the top-level windows and closed while a look-alike
// stays open.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/ScopedEnv.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace kirva::platform {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;

TEST(WinProcess, ExitCodesOfCommandsAndNothingWithoutTheCommandInterpreter) {
    for (const int code : {0, 7, 255})
        EXPECT_EQ(RunShellCommandAndWait("exit " + std::to_string(code)), code);
    const test::ScopedEnv comSpec("ComSpec", "C:\\nowhere\\cmd.exe");
    EXPECT_EQ(RunShellCommandAndWait("exit 0"), -1);
    EXPECT_FALSE(StartShellCommand("exit 0"));
}

TEST(WinProcess, ACommandStartedWithoutWaitingRuns) {
    const TempDir dir;
    const std::string program = dir / "sc.exe";
    fs::copy_file(test::BesideTestProgram(KIRVA_ARGS_STANDIN), program);
    const std::string capture = dir / "started.txt";
    ASSERT_TRUE(StartShellCommand(program + " \\\\CN12 start \"Srv A\" > " + capture));
    EXPECT_TRUE(test::WaitForFolderChange(dir.path().wstring(), 20000, [&] {
        return ReadBytes(capture) == "\\\\CN12\r\nstart\r\nSrv A\r\n";
    })) << ReadBytes(capture);
}

TEST(WinProcess, TheServerStartsMinimisedInItsOwnFolderAndStops) {
    const TempDir dir;
    const fs::path folder = dir.path() / "Machines" / "TOUR 1";
    fs::create_directories(folder);
    const std::string server = (folder / "Telvar.exe").string();
    fs::copy_file(test::BesideTestProgram(KIRVA_SERVER_STANDIN), server);
    // The stand-in takes its title from the Telvar.ini of its current folder.
    WriteBytes((folder / "Telvar.ini").string(), "[DNC]\r\nRefMO=TOUR1\r\n");
    const std::string report = (folder / "standin.txt").string();

    // A server whose title only resembles this one's stays open. Titles are listed in UTF-8.
    const test::StandIn lookAlike(test::BesideTestProgram(KIRVA_SERVER_STANDIN),
                                  {L"Telvarr TOUR\u00C9 \u20AC"}, dir.path().wstring());
    ASSERT_TRUE(test::WaitWhileRunning(lookAlike, 20000, [] {
        return test::ListedWindow("Telvarr TOUR\xC3\x89 \xE2\x82\xAC").has_value();
    }));

    ASSERT_TRUE(StartProgram(server));
    // Minimised, and active (SW_SHOWMINIMIZED).
    ASSERT_TRUE(test::WaitForFolderChange(folder.wstring(), 20000, [&] {
        return ReadBytes(report) == "show=2\r\n";
    })) << ReadBytes(report);

    const std::optional<std::int64_t> handle = test::ListedWindow("Telvar TOUR1");
    ASSERT_TRUE(handle.has_value()) << "the server's window is not listed";
    EXPECT_TRUE(CloseTopLevelWindow(*handle));
    EXPECT_TRUE(test::WaitForFolderChange(folder.wstring(), 20000, [&] {
        return ReadBytes(report) == "show=2\r\nclosed\r\n";
    })) << ReadBytes(report);
    EXPECT_TRUE(lookAlike.Running());
}

TEST(WinProcess, ProgramsThatCannotStart) {
    const TempDir dir;
    WriteBytes(dir / "Telvar.exe", "not a program");
    for (const std::string& path : {std::string(), dir / "missing.exe", dir / "Telvar.exe"})
        EXPECT_FALSE(StartProgram(path)) << path;
}

} // namespace
} // namespace kirva::platform
