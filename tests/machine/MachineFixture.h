// A fresh folder per test with its own registry file and runtime folder, a recording message
// service, and small helpers to write a Telvar.ini and look at what is on disk.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "app/ProgramSettings.h"
#include "ini/profile.h"
#include "machine/MachineConfig.h"
#include "platform/platform.h"
#include "support/ScopedEnv.h"
#include "support/TestSupport.h"
#include "support/WindowsTestSupport.h"
#include "translate/translate.h"

namespace kirva::test {

class MachineFixture : public ::testing::Test {
  protected:
    MachineFixture()
        : registry_("KIRVA_REGISTRY", dir / "registry.ini"),
          runtime_("XDG_RUNTIME_DIR", dir.path().string()) {
#ifdef _WIN32
        EXPECT_TRUE(registryKeys_.Ready()) << "no registry of the test's own";
#endif
        ini::ClearCache();
        App() = ProgramState{};
        Remonte() = RemonteState{};
        Machine() = MachineConfig{};
    }
    ~MachineFixture() override {
        TK_TRANSLATE::Shared().Init(dictionary_); // reading a caller's entry may have changed it
        ini::ClearCache();
    }

    // The machine's folder, with its separator.
    std::string MachineDir() const {
        return (dir.path() / "M1").string() + platform::kPathSeparator;
    }
    std::string TelvarPath() const {
        return MachineDir() + "Telvar.ini";
    }
    // Writes the file as another program would: the next read takes it from the disk.
    void WriteTelvar(const std::string& text) {
        WriteBytes(TelvarPath(), text);
        ini::ClearCache();
    }
    std::string Value(const std::string& section, const std::string& key, const std::string& path = {}) {
        return ini::GetProfileString(path.empty() ? TelvarPath() : path, section, key, "<missing>");
    }
    // The file the complete machine of the writer's test gives, written out by hand.
    static std::string CompleteMachineFile() {
        return ReadBytes(std::string(KIRVA_SOURCE_DIR) + "/tests/machine/data/complete-machine.ini");
    }
    // The registry key whose values start programs at logon.
    static constexpr const char* kRunKey = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\RUN";

    TempDir dir;
    RecordingMessages messages;

  private:
    std::string dictionary_ = TK_TRANSLATE::Shared().PathDico();
#ifdef _WIN32
    ScratchRegistry registryKeys_; // the registry is the system's: each test gets keys of its own
#endif
    ScopedEnv registry_;
    ScopedEnv runtime_;
};

} // namespace kirva::test
