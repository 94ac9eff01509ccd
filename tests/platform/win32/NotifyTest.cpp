// The notification of the calling program through real window messages: a stand-in caller opens
// its window, publishes the window's handle as a program of the suite does, and writes down each
// message 28679 it receives. Once it has ended, its window's number leads nowhere.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#undef RegDeleteValue // the macro of windows.h; the interface's function is meant

namespace kirva::platform {
namespace {

constexpr RegRoot kLM = RegRoot::LocalMachine;
const std::string kKalderon = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
constexpr std::uint32_t kMachineChanged = 28679;

TEST(WinNotify, TheCallerReceivesEachCodeInOrder) {
    const test::TempDir dir;
    const std::string received = dir / "received.txt";
    // The handle of an earlier caller must not count: the stand-in publishes its own.
    ASSERT_TRUE(RegDeleteValue(kLM, kKalderon, "AppHwnd"));
    const test::StandIn caller(test::BesideTestProgram(KIRVA_CALLER_STANDIN), {win32::Widen(received), L"4"});
    ASSERT_TRUE(caller.Started());
    std::optional<std::uint32_t> published;
    ASSERT_TRUE(test::WaitWhileRunning(caller, 20000, [&] {
        return (published = RegReadDword(kLM, kKalderon, "AppHwnd")).has_value();
    })) << "the stand-in caller published no window handle";
    const std::int64_t handle = *published;
    EXPECT_TRUE(WindowExists(handle));
    for (const std::uint32_t code : {710u, 711u, 111u, 112u})
        EXPECT_TRUE(PostWindowMessage(handle, kMachineChanged, code, 0)) << code;

    DWORD exitCode = 0;
    ASSERT_TRUE(caller.WaitForExit(20000, exitCode)) << "the stand-in caller did not get its four messages";
    EXPECT_EQ(exitCode, 0u);
    EXPECT_EQ(test::ReadBytes(received), "710 0\r\n711 0\r\n111 0\r\n112 0\r\n");
    // Its window went with it: neither its number nor numbers that cannot be a window lead anywhere.
    EXPECT_FALSE(test::ListedWindow("Kalderon stand-in").has_value());
    for (const std::int64_t number : {handle, std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 32}) {
        EXPECT_FALSE(WindowExists(number)) << number;
        EXPECT_FALSE(PostWindowMessage(number, kMachineChanged, 711, 0)) << number;
        EXPECT_FALSE(CloseTopLevelWindow(number)) << number;
    }
}

} // namespace
} // namespace kirva::platform
