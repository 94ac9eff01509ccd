// Process-wide settings on the Windows backend: the single-instance mutex across processes, the
// decimal separator of the user's session, the executable folder and the command line.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/ScopedEnv.h"
#include "support/WindowsTestSupport.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace kirva::platform {
namespace {

// The test binary started again as a helper: one test of its own (WinSystemHelper.<name>), which
// runs only when the variable names it. Returns its exit code, or -1.
int RunHelper(const std::string& name, std::vector<std::wstring> arguments = {}) {
    const test::ScopedEnv variable("KIRVA_WIN_HELPER", name.c_str());
    arguments.insert(arguments.begin(), L"--gtest_filter=WinSystemHelper." + win32::Widen(name));
    const test::StandIn helper(test::TestProgram(), arguments);
    DWORD code = 0;
    // Bounded: a helper that hangs fails the test (and is ended) instead of blocking the run.
    return helper.WaitForExit(60000, code) ? static_cast<int>(code) : -1;
}

// Exit codes of the helpers, distinct from GoogleTest's own 0 and 1.
constexpr int kYes = 10;
constexpr int kNo = 20;

// Helper: tries to take the single-instance lock and tells whether it got it.
TEST(WinSystemHelper, SingleInstance) {
    if (win32::EnvOr("KIRVA_WIN_HELPER", "") != "SingleInstance")
        GTEST_SKIP() << "run by WinSystem.SecondProcessIsRefused";
    std::_Exit(AcquireSingleInstance() ? kYes : kNo);
}

// Helper: tells whether it was given the command line that it expects.
TEST(WinSystemHelper, CommandLine) {
    if (win32::EnvOr("KIRVA_WIN_HELPER", "") != "CommandLine")
        GTEST_SKIP() << "run by WinSystem.CommandLineOfTheProcessKeepsUnicode";
    const std::string expected = "--gtest_filter=WinSystemHelper.CommandLine /MRV \xce\xa9 x y";
    std::_Exit(CommandLine(__argc, __argv) == expected ? kYes : kNo);
}

TEST(WinSystem, SecondProcessIsRefused) {
    // Before this process takes the lock, another process gets it (and it goes with that process).
    EXPECT_EQ(RunHelper("SingleInstance"), kYes);
    ASSERT_TRUE(AcquireSingleInstance());
    EXPECT_TRUE(AcquireSingleInstance()); // the holder asking again keeps it
    EXPECT_EQ(RunHelper("SingleInstance"), kNo);
}

TEST(WinSystem, CommandLineOfTheProcessKeepsUnicode) {
    // "Ω" has no place in the ANSI code page: only the UTF-16 command line carries it.
    EXPECT_EQ(RunHelper("CommandLine", {L"/MRV", L"\u03a9", L"x y"}), kYes);
}

TEST(WinSystem, ExecutableFolderIsTheFolderOfTheRunningProgram) {
    wchar_t image[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH;
    ASSERT_TRUE(::QueryFullProcessImageNameW(::GetCurrentProcess(), 0, image, &size));
    const std::string program = win32::Narrow(std::wstring(image, size));
    const std::string folder = ExecutableFolder(); // without a "\\" at its end
    EXPECT_EQ(program.substr(0, folder.size() + 1), folder + "\\");
    EXPECT_EQ(program.find('\\', folder.size() + 1), std::string::npos);
}

TEST(WinSystem, DecimalSeparatorIsForcedForTheSessionAndTheProcess) {
    const test::ScratchRegistry scratch; // the user's own setting is left as it is
    ASSERT_TRUE(scratch.Ready());
    const auto cu = RegRoot::CurrentUser;
    const char* const key = "Control Panel\\International";
    ASSERT_TRUE(RegWriteString(cu, key, "sDecimal", ","));
    EXPECT_EQ(UserDecimalSeparator(), ",");
    std::setlocale(LC_NUMERIC, "French_France.1252"); // a locale whose separator is ","
    EXPECT_TRUE(ForceDecimalPoint());
    EXPECT_EQ(RegReadString(cu, key, "sDecimal"), ".");
    EXPECT_EQ(UserDecimalSeparator(), ".");
    char text[32] = {};
    std::snprintf(text, sizeof text, "%.2f", 1.5);
    EXPECT_STREQ(text, "1.50");
}

} // namespace
} // namespace kirva::platform
