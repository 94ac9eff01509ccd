// The backups an apply keeps of the files it replaces, their number, and the restore.
#include <gtest/gtest.h>

#include "app/AppTestSupport.h"
#include "app/Apply.h"
#include "app/Backup.h"
#include "ini/profile.h"

namespace kirva::test {
namespace {

class BackupTest : public AppFixture {
  protected:
    // Every backup of a file, oldest first, as bytes.
    static std::vector<std::string> Kept(const std::string& file) {
        std::vector<std::string> bytes;
        for (const BackupEntry& b : ListBackups(file)) bytes.insert(bytes.begin(), ReadBytes(b.Path));
        return bytes;
    }
    ApplyOutcome ApplyOnce(const std::string& caller, const std::string& folder,
                           const std::string& isoBytes) {
        ini::ClearCache();
        state.Settings = Calling(1, 2, 1, 1, caller);
        NewMachine(folder);
        machine.PathIsoIni = folder + "Iso.ini";
        ApplyActions actions;
        actions.SaveLists = [&](const std::string& iso, const std::string&) {
            WriteBytes(iso, isoBytes);
            return true;
        };
        return ApplyMachine(state, machine, Remonte(), actions);
    }
    ProgramState state;
};

TEST_F(BackupTest, ApplyKeepsEachFileItReplacesOnceAndGoesOnWhenItCannot) {
    const std::string folder = dir / "S/", caller = dir / "Kalderon.ini";
    const std::string callerBytes = "[KALDERON]\r\nNbDevice=1\r\n",
                      telvarBytes = "; hand\r\n[DNC]\r\nRefMO=OLD\r\n";
    WriteBytes(caller, callerBytes);
    WriteBytes(folder + "Telvar.ini", telvarBytes);
    WriteBytes(folder + "Iso.ini", "[INSERT]\r\nA=iso:G0|bmp:|Rac:|\r\n");
    ASSERT_TRUE(ApplyOnce(caller, folder, "[INSERT]\r\n").TelvarWritten);
    EXPECT_EQ(Kept(caller), std::vector<std::string>{callerBytes});
    EXPECT_EQ(Kept(folder + "Telvar.ini"), std::vector<std::string>{telvarBytes});
    EXPECT_EQ(Kept(folder + "Iso.ini"), std::vector<std::string>{"[INSERT]\r\nA=iso:G0|bmp:|Rac:|\r\n"});
    EXPECT_EQ(BackupFolderFor(folder + "Telvar.ini"), Native(folder + "backup/"));
    // The next applies keep what the first wrote, once: an unchanged file is not kept again.
    const std::string written = ReadBytes(folder + "Telvar.ini");
    ApplyOnce(caller, folder, "[INSERT]\r\n");
    ApplyOnce(caller, folder, "[INSERT]\r\n");
    EXPECT_EQ(Kept(folder + "Telvar.ini"), (std::vector<std::string>{telvarBytes, written}));
    EXPECT_TRUE(messages.entries.empty());

    // A backup that cannot be made is said, and the apply still writes.
    fs::remove_all(folder + "backup");
    WriteBytes(folder + "backup", "not a folder");
    WriteBytes(folder + "Telvar.ini", telvarBytes);
    EXPECT_TRUE(ApplyOnce(caller, folder, "[INSERT]\r\n").TelvarWritten);
    ASSERT_FALSE(messages.entries.empty());
    EXPECT_EQ(messages.entries[0].text.rfind("La copie de sauvegarde de " + folder + "Telvar.ini", 0), 0u);
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
    EXPECT_NE(ReadBytes(folder + "Telvar.ini"), telvarBytes);
}

TEST_F(BackupTest, TheLastTwentyAreKeptAndOneIsRestoredByteForByte) {
    const std::string file = In("Telvar.ini");
    for (int n = 1; n <= kBackupsKept + 3; ++n) {
        WriteBytes(file, "[DNC]\r\nVersion=" + std::to_string(n) + "\r\n");
        ASSERT_TRUE(BackUpFile(file));
    }
    const std::vector<BackupEntry> backups = ListBackups(file);
    ASSERT_EQ(backups.size(), static_cast<std::size_t>(kBackupsKept));
    EXPECT_EQ(ReadBytes(backups.front().Path), "[DNC]\r\nVersion=23\r\n"); // newest first
    EXPECT_EQ(ReadBytes(backups.back().Path), "[DNC]\r\nVersion=4\r\n");
    EXPECT_EQ(backups.front().When.size(), 19u); // "2026-11-23 18:45:12"
    EXPECT_EQ(backups.front().When[13], ':');

    WriteBytes(file, "[DNC]\r\nVersion=24\r\n");
    ASSERT_TRUE(RestoreBackup(backups.back().Path, file));
    EXPECT_EQ(ReadBytes(file), "[DNC]\r\nVersion=4\r\n");
    EXPECT_EQ(ReadBytes(ListBackups(file).front().Path), "[DNC]\r\nVersion=24\r\n"); // what it replaced
    EXPECT_EQ(ListBackups(file).size(), static_cast<std::size_t>(kBackupsKept));
#ifndef _WIN32
    EXPECT_EQ(fs::status(backups.front().Path).permissions() & fs::perms::others_all, fs::perms::none);
#endif
    EXPECT_TRUE(messages.entries.empty());
}

} // namespace
} // namespace kirva::test
