// The notification of the calling program through real window messages: a stand-in caller opens
// its window, publishes the window's handle as a program of the suite does, and writes down each
// message 28679 it receives.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

#undef RegDeleteValue // the macro of windows.h; the interface's function is meant

namespace kirva::platform {
namespace {

using test::ReadBytes;
using test::StandIn;
using test::TempDir;

constexpr RegRoot kLM = RegRoot::LocalMachine;
const std::string kKalderon = "SOFTWARE\\MAROVEX\\TALM\\KALDERON";
constexpr std::uint32_t kMachineChanged = 28679;

TEST(WinNotify, TheCallerReceivesEachCodeInOrder) {
    const TempDir dir;
    const std::string received = dir / "received.txt";
    // The handle of an earlier caller must not count: the stand-in publishes its own.
    ASSERT_TRUE(RegDeleteValue(kLM, kKalderon, "AppHwnd"));
    const StandIn caller(test::BesideTestProgram(win32::Widen(KIRVA_CALLER_STANDIN)),
                         {win32::Widen(received), L"4"});
    ASSERT_TRUE(caller.Started());
    ASSERT_TRUE(test::WaitWhileRunning(caller, 20000, [] {
        return RegReadDword(kLM, kKalderon, "AppHwnd").has_value();
    })) << "the stand-in caller published no window handle";

    // Read as the start-up reads it: the DWORD as decimal text.
    const auto text = RegReadString(kLM, kKalderon, "AppHwnd");
    ASSERT_TRUE(text.has_value());
    const std::int64_t handle = std::stoll(*text);
    EXPECT_EQ(handle, static_cast<std::int64_t>(*RegReadDword(kLM, kKalderon, "AppHwnd")));
    EXPECT_TRUE(WindowExists(handle));
    for (const std::uint32_t code : {710u, 711u, 111u, 112u})
        EXPECT_TRUE(PostWindowMessage(handle, kMachineChanged, code, 0)) << code;

    DWORD exitCode = 0;
    ASSERT_TRUE(caller.WaitForExit(20000, exitCode)) << "the stand-in caller did not get its four messages";
    EXPECT_EQ(exitCode, 0u);
    EXPECT_EQ(ReadBytes(received), "710 0\r\n711 0\r\n111 0\r\n112 0\r\n");
    EXPECT_FALSE(WindowExists(handle)); // its window went with it
}

} // namespace
} // namespace kirva::platform
