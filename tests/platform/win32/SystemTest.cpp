// Process-wide settings on the Windows backend: the single-instance mutex across processes, the
// decimal separator of the user's session, the executable folder and the command line.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/ScopedEnv.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace kirva::platform {
namespace {

// The test binary started again as a helper: one test of its own, chosen by a filter, with a
// variable that tells that test what to do. Returns its exit code, or -1.
int RunHelper(const std::wstring& testName, const char* mode, std::vector<std::wstring> arguments = {}) {
    const test::ScopedEnv variable("KIRVA_WIN_HELPER", mode);
    arguments.insert(arguments.begin(), L"--gtest_filter=WinSystemHelper." + testName);
    const test::StandIn helper(test::TestProgram(), arguments);
    DWORD code = 0;
    // Bounded: a helper that hangs fails the test (and is ended) instead of blocking the run.
    return helper.WaitForExit(60000, code) ? static_cast<int>(code) : -1;
}

std::string HelperMode() {
    return win32::EnvOr("KIRVA_WIN_HELPER", "");
}

// Exit codes of the helpers, distinct from GoogleTest's own 0 and 1.
constexpr int kInstanceTaken = 10;
constexpr int kInstanceRefused = 20;
constexpr int kLineAsExpected = 30;
constexpr int kLineDifferent = 31;

// Helper: tries to take the single-instance lock and tells whether it got it.
TEST(WinSystemHelper, SingleInstance) {
    if (HelperMode() != "instance") GTEST_SKIP() << "run by WinSystem.SecondProcessIsRefused";
    std::_Exit(AcquireSingleInstance() ? kInstanceTaken : kInstanceRefused);
}

// Helper: compares the command line it was given with the one it was told to expect.
TEST(WinSystemHelper, CommandLine) {
    if (HelperMode() != "commandline") GTEST_SKIP() << "run by WinSystem.CommandLineOfTheProcessKeepsUnicode";
    const std::string expected = "--gtest_filter=WinSystemHelper.CommandLine /MRV \xce\xa9 x y";
    std::_Exit(CommandLine(__argc, __argv) == expected ? kLineAsExpected : kLineDifferent);
}

TEST(WinSystem, SecondProcessIsRefused) {
    // Before this process takes the lock, another process gets it (and it goes with that process).
    EXPECT_EQ(RunHelper(L"SingleInstance", "instance"), kInstanceTaken);
    ASSERT_TRUE(AcquireSingleInstance());
    EXPECT_TRUE(AcquireSingleInstance()); // the holder asking again keeps it
    EXPECT_EQ(RunHelper(L"SingleInstance", "instance"), kInstanceRefused);
    EXPECT_EQ(RunHelper(L"SingleInstance", "instance"), kInstanceRefused);
}

TEST(WinSystem, CommandLineOfTheProcessKeepsUnicode) {
    // "Ω" has no place in the ANSI code page: only the UTF-16 command line carries it.
    EXPECT_EQ(RunHelper(L"CommandLine", "commandline", {L"/MRV", L"\u03a9", L"x y"}), kLineAsExpected);
}

TEST(WinSystem, CommandLineJoinsTheArgumentsAfterTheProgram) {
    struct Case {
        std::vector<const char*> arguments;
        std::string line;
    };
    const std::vector<Case> cases = {
        {{"C:\\MRV\\Kirva.exe"}, ""},
        {{"C:\\talm\\exe\\Kirva.exe", "/MRV"}, "/MRV"},
        {{"C:\\x\\/MRV\\Kirva.exe", "a", "b c"}, "a b c"},
    };
    for (const Case& c : cases) {
        std::vector<char*> argv;
        for (const char* argument : c.arguments) argv.push_back(const_cast<char*>(argument));
        argv.push_back(nullptr);
        EXPECT_EQ(CommandLine(static_cast<int>(c.arguments.size()), argv.data()), c.line);
    }
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

// The user's "sDecimal" value, or nullopt when it is not set.
std::optional<std::wstring> RegistryDecimal() {
    wchar_t buffer[16] = {};
    DWORD size = sizeof buffer;
    if (::RegGetValueW(HKEY_CURRENT_USER, L"Control Panel\\International", L"sDecimal", RRF_RT_REG_SZ,
                       nullptr, buffer, &size) != ERROR_SUCCESS)
        return std::nullopt;
    return std::wstring(buffer);
}

TEST(WinSystem, DecimalSeparatorIsForcedForTheSessionAndTheProcess) {
    const auto original = RegistryDecimal();
    ASSERT_TRUE(RegWriteString(RegRoot::CurrentUser, "Control Panel\\International", "sDecimal", ","));
    EXPECT_EQ(UserDecimalSeparator(), ",");
    std::setlocale(LC_NUMERIC, "French_France.1252"); // a locale whose separator is ","
    EXPECT_TRUE(ForceDecimalPoint());
    EXPECT_EQ(RegistryDecimal(), std::optional<std::wstring>(L"."));
    EXPECT_EQ(UserDecimalSeparator(), ".");
    char text[32] = {};
    std::snprintf(text, sizeof text, "%.2f", 1.5);
    EXPECT_STREQ(text, "1.50");
    EXPECT_EQ(std::strtod("2.25", nullptr), 2.25);
    if (original)
        RegWriteString(RegRoot::CurrentUser, "Control Panel\\International", "sDecimal",
                       win32::Narrow(*original));
    else
        ::RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Control Panel\\International", L"sDecimal");
}

} // namespace
} // namespace kirva::platform
