// Shell commands and programs: exit codes, the capture of a service command's output with its
// " -> file" redirection, commands started without waiting, and a server started in its own
// folder, minimised, and stopped again.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
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

// Sets an environment variable of this process for the life of the object.
class ScopedVariable {
  public:
    ScopedVariable(const wchar_t* name, const wchar_t* value) : name_(name) {
        std::wstring old(32767, L'\0');
        const DWORD length = ::GetEnvironmentVariableW(name, old.data(), static_cast<DWORD>(old.size()));
        if (length > 0) old_ = old.substr(0, length);
        ::SetEnvironmentVariableW(name, value);
    }
    ~ScopedVariable() { ::SetEnvironmentVariableW(name_.c_str(), old_ ? old_->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    std::wstring name_;
    std::optional<std::wstring> old_;
};

TEST(WinProcess, ExitCodesOfCommands) {
    const TempDir dir;
    const fs::path program = dir.path() / "count.exe";
    fs::copy_file(StandInPath(KIRVA_ARGS_STANDIN), program);
    const struct {
        std::string command;
        int exitCode;
    } cases[] = {
        {"exit 0", 0},
        {"exit 7", 7},
        {"exit 255", 255},
        // The stand-in ends with the number of its arguments.
        {program.string() + " a \"b c\" d", 3},
        {"\"" + program.string() + "\" a", 1},
    };
    for (const auto& c : cases) EXPECT_EQ(RunShellCommandAndWait(c.command), c.exitCode) << c.command;
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
    const ScopedVariable comSpec(L"ComSpec", L"C:\\nowhere\\cmd.exe");
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

    std::vector<TopLevelWindow> windows;
    std::string error;
    ASSERT_TRUE(ListTopLevelWindows(windows, error)) << error;
    std::optional<std::int64_t> handle;
    for (const TopLevelWindow& window : windows)
        if (window.Title == "Telvar TOUR1") handle = window.Handle;
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
