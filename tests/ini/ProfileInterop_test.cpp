// A program of the suite reads and writes the same settings files with the Windows profile
// functions: what the engine writes, they read, and what they write, the engine reads. Windows
// only (under Wine in CI); the expectations are the Windows rules.
#ifdef _WIN32
#include <gtest/gtest.h>

#include <windows.h>
// The engine's own functions share these names with the system's macros.
#undef GetProfileString
#undef WriteProfileString

#include <string>

#include "ini/profile.h"
#include "support/TempDir.h"

namespace kirva {
namespace {

using test::ReadBytes;
using test::TempDir;
using test::WriteBytes;

std::string SystemRead(const std::string& path, const char* section, const char* key) {
    char buffer[256] = {};
    ::GetPrivateProfileStringA(section, key, "<missing>", buffer, sizeof buffer, path.c_str());
    return buffer;
}

class ProfileInterop : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    void TearDown() override { ini::ClearCache(); }
    TempDir dir;
};

// The engine writes a machine's keys (new file, new section, a changed value, a deleted key); the
// system's functions read every value back, names matched without regard to case.
TEST_F(ProfileInterop, SystemReadsWhatTheEngineWrites) {
    const std::string path = dir / "Telvar.ini";
    ASSERT_TRUE(ini::WriteProfileString(path, "DNC", "RefMO", "TOUR1"));
    ASSERT_TRUE(ini::WriteProfileString(path, "DNC", "PathData", "C:\\talm\\data\\"));
    ASSERT_TRUE(ini::WriteProfileString(path, "COMM", "Parite", "E"));
    ASSERT_TRUE(ini::WriteProfileString(path, "DNC", "RefMO", "TOUR12"));
    ASSERT_TRUE(ini::WriteProfileString(path, "COMM", "Obsolete", "1"));
    ASSERT_TRUE(ini::WriteProfileString(path, "COMM", "Obsolete", std::nullopt));
    ini::ClearCache();
    EXPECT_EQ(ReadBytes(path),
              "[DNC]\r\nRefMO=TOUR12\r\nPathData=C:\\talm\\data\\\r\n[COMM]\r\nParite=E\r\n");
    const struct {
        const char *section, *key, *value;
    } expected[] = {
        {"DNC", "RefMO", "TOUR12"},
        {"dnc", "pathdata", "C:\\talm\\data\\"},
        {"COMM", "Parite", "E"},
        {"COMM", "Obsolete", "<missing>"},
    };
    for (const auto& row : expected) EXPECT_EQ(SystemRead(path, row.section, row.key), row.value) << row.key;
}

// The system's functions write into a file kept by hand; the engine reads their values and the
// lines they did not touch. (Wine rewrites the whole file and drops blank lines: only values are
// compared here, the bytes of a hand-kept file are the engine's own tests.)
TEST_F(ProfileInterop, EngineReadsWhatTheSystemWrites) {
    const std::string path = dir / "Kalderon.ini";
    WriteBytes(path, "[KALDERON]\r\nNbDevice=1\r\n[CNC1]\r\nName=TOUR1\r\n");
    ASSERT_TRUE(::WritePrivateProfileStringA("KALDERON", "NbDevice", "2", path.c_str()));
    ASSERT_TRUE(::WritePrivateProfileStringA("CNC2", "Name", "FRAISE", path.c_str()));
    ASSERT_TRUE(::WritePrivateProfileStringA("cnc1", "PathTelvar", "C:\\talm\\TOUR1\\", path.c_str()));
    ini::ClearCache();
    EXPECT_EQ(ini::GetProfileString(path, "KALDERON", "NbDevice", "<missing>"), "2");
    EXPECT_EQ(ini::GetProfileString(path, "CNC1", "Name", "<missing>"), "TOUR1");
    EXPECT_EQ(ini::GetProfileString(path, "CNC1", "PathTelvar", "<missing>"), "C:\\talm\\TOUR1\\");
    EXPECT_EQ(ini::GetProfileString(path, "CNC2", "Name", "<missing>"), "FRAISE");

    // And back: the engine's change is seen by the system, the system's by the engine.
    ASSERT_TRUE(ini::WriteProfileString(path, "CNC2", "Name", "FRAISE2"));
    ini::ClearCache();
    EXPECT_EQ(SystemRead(path, "CNC2", "Name"), "FRAISE2");
    EXPECT_EQ(SystemRead(path, "CNC1", "PathTelvar"), "C:\\talm\\TOUR1\\");
}

} // namespace
} // namespace kirva
#endif // _WIN32
