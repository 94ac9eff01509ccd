// Top-level windows: the list with titles, numbers that designate no window, and closing a stand-in server's
// window the way the stop command does, while a window whose title only resembles it stays open.
#include "platform/platform.h"
#include "platform/win32/StandInProcess.h"
#include "platform/win32/internal.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace kirva::platform {
namespace {

using test::ReadBytes;
using test::StandIn;
using test::TempDir;

using test::ListedWindow;
const std::wstring kServerStandIn = test::BesideTestProgram(win32::Widen(KIRVA_SERVER_STANDIN));

TEST(WinWindows, TitlesAreListedAsUtf8) {
    const std::string title = "Telvar FRAIS\xC3\x89 \xE2\x82\xAC"; // "Telvar FRAISÉ €"
    HWND window = ::CreateWindowExW(0, L"STATIC", L"Telvar FRAIS\u00C9 \u20AC", WS_OVERLAPPED, 0, 0, 10, 10,
                                    nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr) << "no window can be created (under Wine without a display, the prefix needs "
                                  "the null graphics driver)";
    std::vector<TopLevelWindow> windows;
    std::string error = "left from before";
    ASSERT_TRUE(ListTopLevelWindows(windows, error));
    EXPECT_EQ(error, "");
    int found = 0;
    for (const TopLevelWindow& listed : windows)
        if (listed.Title == title) {
            ++found;
            EXPECT_TRUE(WindowExists(listed.Handle));
        }
    EXPECT_EQ(found, 1);
    ASSERT_TRUE(::DestroyWindow(window));
    EXPECT_FALSE(ListedWindow(title).has_value());
    // Numbers that designate no window, the one just destroyed among them.
    const auto destroyed =
        static_cast<std::int64_t>(static_cast<std::uint32_t>(reinterpret_cast<UINT_PTR>(window)));
    for (const std::int64_t handle : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 32, destroyed}) {
        EXPECT_FALSE(WindowExists(handle)) << handle;
        EXPECT_FALSE(PostWindowMessage(handle, 28679, 711, 0)) << handle;
        EXPECT_FALSE(CloseTopLevelWindow(handle)) << handle;
    }
}

TEST(WinWindows, StopClosesTheServerAndLeavesTheLookAlike) {
    const TempDir serverDir, lookAlikeDir;
    const StandIn server(kServerStandIn, {L"Telvar FRAISE"}, serverDir.path().wstring());
    const StandIn lookAlike(kServerStandIn, {L"Telvarr FRAISE"}, lookAlikeDir.path().wstring());
    ASSERT_TRUE(server.Started() && lookAlike.Started());
    // Each is ready once its window is listed and it has written its report.
    std::optional<std::int64_t> serverWindow, lookAlikeWindow;
    ASSERT_TRUE(test::WaitWhileRunning(server, 20000, [&] {
        serverWindow = ListedWindow("Telvar FRAISE");
        return serverWindow && ReadBytes(serverDir / "standin.txt") == "show=10\r\n";
    }));
    ASSERT_TRUE(test::WaitWhileRunning(lookAlike, 20000, [&] {
        lookAlikeWindow = ListedWindow("Telvarr FRAISE");
        return lookAlikeWindow && ReadBytes(lookAlikeDir / "standin.txt") == "show=10\r\n";
    }));

    EXPECT_TRUE(CloseTopLevelWindow(*serverWindow));
    DWORD exitCode = 99;
    ASSERT_TRUE(server.WaitForExit(10000, exitCode));
    EXPECT_EQ(exitCode, 0u);
    EXPECT_EQ(ReadBytes(serverDir / "standin.txt"), "show=10\r\nclosed\r\n");
    EXPECT_FALSE(ListedWindow("Telvar FRAISE").has_value());
    // A window that is gone cannot be asked again.
    EXPECT_FALSE(CloseTopLevelWindow(*serverWindow));

    EXPECT_TRUE(lookAlike.Running());
    EXPECT_EQ(ListedWindow("Telvarr FRAISE"), lookAlikeWindow);
    EXPECT_EQ(ReadBytes(lookAlikeDir / "standin.txt"), "show=10\r\n");
}

} // namespace
} // namespace kirva::platform
