// Shared fixture of the INI engine tests: a fresh folder and an empty document cache.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "ini/profile.h"
#include "support/TempDir.h"

namespace kirva::test {

class IniFixture : public ::testing::Test {
  protected:
    void SetUp() override { ini::ClearCache(); }
    void TearDown() override { ini::ClearCache(); }

    // Writes a file in the test folder and returns its path.
    std::string File(const std::string& bytes, const std::string& name = "test.ini") {
        const std::string path = dir / name;
        WriteBytes(path, bytes);
        return path;
    }

    TempDir dir;
};

// UTF-16 LE bytes of ASCII text.
inline std::string Utf16(const std::string& ascii) {
    std::string out;
    for (const char c : ascii) {
        out.push_back(c);
        out.push_back('\0');
    }
    return out;
}

} // namespace kirva::test
