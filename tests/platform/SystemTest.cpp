// Single instance and decimal separator. (The executable's folder and the command line: the
// window suite's start-up tests run the real program from a folder of its own.)
#include "platform/PlatformTestSupport.h"
#include "platform/platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <filesystem>

namespace kirva::platform {
namespace {

using namespace test;

std::string Formatted(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", number);
    return text;
}

TEST(PlatformSystem, SecondInstanceIsRefusedWhileTheFirstRuns) {
    TempDir dir;
    ScopedEnv runtime("XDG_RUNTIME_DIR", dir.path().string());
    const auto acquire = [] { return AcquireSingleInstance() ? 1 : 0; };
    // The first instance may ask again (1, 1); a program it starts, which shares its open files, may not (0).
    EXPECT_EQ(RunInChild([&] { return acquire() * 100 + acquire() * 10 + RunInChild(acquire); }), 110);
    EXPECT_TRUE(std::filesystem::exists(dir / "marovex/kirva.lock"));
    EXPECT_EQ(RunInChild(acquire), 1); // the lock went with the first instance
}

// A locale that writes "1,5", made in a scratch folder so that the test needs no installed one.
TEST(PlatformSystem, DecimalSeparatorIsTheUsersAndCanBeForced) {
    {
        ScopedEnv all("LC_ALL", "C"); // a point: nothing to change
        EXPECT_EQ(UserDecimalSeparator(), ".");
        EXPECT_TRUE(ForceDecimalPoint());
    }
    TempDir dir;
    std::string source = "comment_char %\nescape_char /\n";
    for (const char* category : {"LC_CTYPE", "LC_COLLATE", "LC_TIME", "LC_MONETARY", "LC_MESSAGES"})
        source += std::string(category) + "\ncopy \"POSIX\"\nEND " + category + "\n";
    source += "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
    WriteBytes(dir / "comma.src", source);
    RunShellCommandAndWait("localedef -c -i '" + (dir / "comma.src") + "' -f UTF-8 '" +
                           (dir / "xx_XX.UTF-8") + "' >/dev/null 2>&1");
    if (!std::filesystem::exists(dir / "xx_XX.UTF-8/LC_NUMERIC"))
        GTEST_SKIP() << "localedef cannot make a locale";

    ScopedEnv path("LOCPATH", dir.path().string());
    ScopedEnv all("LC_ALL", "xx_XX.UTF-8");
    EXPECT_EQ(UserDecimalSeparator(), ",");
    ASSERT_NE(std::setlocale(LC_NUMERIC, ""), nullptr);
    EXPECT_EQ(Formatted(1.5), "1,5");
    EXPECT_TRUE(ForceDecimalPoint());
    EXPECT_EQ(Formatted(1.5), "1.5");
    EXPECT_EQ(UserDecimalSeparator(), ","); // the user's setting is still what it was
}

} // namespace
} // namespace kirva::platform
