// Shell commands and programs: exit codes, the capture of a service command's output with its
// " -> file" redirection, commands started without waiting, and a server started in its own
// folder, minimised, and stopped again.
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

std::wstring StandInPath(const char* name) {
    return test::BesideTestProgram(win32::Widen(name));
}

TEST(WinProcess, ExitCodesOfCommands) {
    for (const int code : {0, 7, 255})
        EXPECT_EQ(RunShellCommandAndWait("exit " + std::to_string(code)), code);
}

TEST(WinProcess, TheOutputOfAServiceCommandIsCaptured) {
    // As the service commands build them: the program, quoted arguments, " -> " and the capture
    // file, quoted when its path holds a blank. The stray "-" reaches the program as an argument.
    const TempDir dir;
    for (const std::string& folderName : {std::string("Exe"), std::string("Talm Exe")}) {
        SCOPED_TRACE(folderName);
        const fs::path folder = dir.path() / folderName;
        fs::create_directories(folder);
        const std::string program = (folder / "instsrv.exe").string();
        fs::copy_file(StandInPath(KIRVA_ARGS_STANDIN), program);
        const std::string capture = (folder / "Sortie.txt").string();
        const auto quotedIfBlank = [](const std::string& path) {
            return path.find(' ') != std::string::npos ? "\"" + path + "\"" : path;
        };
        const std::string command = quotedIfBlank(program) +
                                    " \"Srv A\" \"C:\\Talm\\TOUR1\\telvar.exe\" -> " + quotedIfBlank(capture);
        EXPECT_EQ(RunShellCommandAndWait(command), 3);
        EXPECT_EQ(ReadBytes(capture), "Srv A\r\nC:\\Talm\\TOUR1\\telvar.exe\r\n-\r\n");
    }
}

TEST(WinProcess, ACommandStartedWithoutWaitingRuns) {
    const TempDir dir;
    const std::string program = dir / "sc.exe";
    fs::copy_file(StandInPath(KIRVA_ARGS_STANDIN), program);
    const std::string capture = dir / "started.txt";
    ASSERT_TRUE(StartShellCommand(program + " \\\\CN12 start \"Srv A\" > " + capture));
    EXPECT_TRUE(test::WaitForFolderChange(dir.path().wstring(), 20000, [&] {
        return ReadBytes(capture) == "\\\\CN12\r\nstart\r\nSrv A\r\n";
    })) << ReadBytes(capture);
}

TEST(WinProcess, WithoutTheCommandInterpreterNothingStarts) {
    const test::ScopedEnv comSpec("ComSpec", "C:\\nowhere\\cmd.exe");
    EXPECT_EQ(RunShellCommandAndWait("exit 0"), -1);
    EXPECT_FALSE(StartShellCommand("exit 0"));
}

TEST(WinProcess, TheServerStartsMinimisedInItsOwnFolderAndStops) {
    const TempDir dir;
    const fs::path folder = dir.path() / "Machines" / "TOUR 1";
    fs::create_directories(folder);
    const std::string server = (folder / "Telvar.exe").string();
    fs::copy_file(StandInPath(KIRVA_SERVER_STANDIN), server);
    // The stand-in takes its title from the Telvar.ini of its current folder.
    WriteBytes((folder / "Telvar.ini").string(), "[DNC]\r\nRefMO=TOUR1\r\n");
    const std::string report = (folder / "standin.txt").string();

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
}

TEST(WinProcess, ProgramsThatCannotStart) {
    const TempDir dir;
    WriteBytes(dir / "Telvar.exe", "not a program");
    for (const std::string& path : {std::string(), dir / "missing.exe", dir / "Telvar.exe"})
        EXPECT_FALSE(StartProgram(path)) << path;
}

} // namespace
} // namespace kirva::platform
