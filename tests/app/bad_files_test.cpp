// Settings files that cannot be read or written.
// Every reader given a missing file or one that is not a usable file (a folder, a device, a FIFO)
// gives its "not found" message at once: nothing blocks on a FIFO and no reader goes on with empty
// values. Every writer above the engine is put in front of every way a file can refuse a write:
// none reports it done, each says so (the machine file and the callers' files with their warning,
// the lists and the dictionary through their result alone) and every file of the machine's folder
// is afterwards as it was.
#include <gtest/gtest.h>

#include <cctype>

#include "app/AppTestSupport.h"
#include "ini/store.h"
#include "lists/clsInsertIso.h"

#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "soak/loads.h"
#endif

namespace kirva::test {
namespace {

// ---------------------------------------------------------------- reads

// What stands at the reader's file name ("...SpelledOtherwise": at that name in capitals).
#ifdef _WIN32
// FIFOs and devices in the file system are POSIX objects (and there a name spelled otherwise is the
// same name).
const char* const kKinds[] = {"Missing", "Folder", "FolderSpelledOtherwise"};
#else
const char* const kKinds[] = {
    "Missing", "Folder", "LinkToDevice", "Fifo", "FolderSpelledOtherwise", "FifoSpelledOtherwise"};
#endif

struct Reader {
    const char* name;
    const char* file;
    std::function<bool(AppFixture&, const std::string& path)> read;
    const char* message;
    int icon;
};
const Reader kReaders[] = {
    {"HandOff", "Kirva.ini",
     [](AppFixture& f, const std::string& path) { return ReadProgramSettings(path, f.settings); },
     "Le fichier Kirva.ini est introuvable !", IconWarning},
    {"ProgramManager", "Kalderon.ini",
     [](AppFixture& f, const std::string& path) { return ReadKalderonEntry(path, 1, f.machine); },
     "Le fichier Kalderon.ini est introuvable !", IconWarning},
    {"TransferProgram", "Harbix.ini",
     [](AppFixture& f, const std::string& path) { return ReadHarbixEntry(path, 1, f.machine); },
     "Le fichier Harbix.ini est introuvable !", IconWarning},
    {"MachineFile", "Telvar.ini",
     [](AppFixture& f, const std::string& path) { return ReadTelvarIni(path, f.machine); },
     "Le fichier d'initialisation du Port DNC est introuvable.", IconCritical},
};

class BadFiles : public AppFixture, public ::testing::WithParamInterface<std::tuple<int, int>> {};

// A FIFO opened for reading without a writer would block: the ctest time-out guards these rows.
TEST_P(BadFiles, AreNotFoundAtOnce) {
    const Reader& reader = kReaders[std::get<0>(GetParam())];
    const std::string kind = kKinds[std::get<1>(GetParam())];
    const std::string path = In(reader.file);
    std::string upper = reader.file;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const std::string onDisk =
        kind.ends_with("SpelledOtherwise") ? In(upper) : path; // the reader asks for `path`
    fs::create_directories(MachineDir());
    if (kind.starts_with("Folder")) WriteBytes(onDisk + "/inside.ini", "[KIRVA]\r\nMode=1\r\n");
#ifndef _WIN32
    if (kind == "LinkToDevice") fs::create_symlink("/dev/null", onDisk);
    ASSERT_TRUE(!kind.starts_with("Fifo") || ::mkfifo(onDisk.c_str(), 0644) == 0);
#endif
    machine.RefMO = machine.Name = "AVANT";
    settings.Mode = 7;
    EXPECT_FALSE(reader.read(*this, path));
    EXPECT_TRUE(messages.Only(reader.message, reader.icon));
    // Nothing was read into the records.
    EXPECT_EQ(machine.RefMO + machine.Name, "AVANTAVANT");
    EXPECT_EQ(settings.Mode, 7);
}

INSTANTIATE_TEST_SUITE_P(ReadersAndKinds, BadFiles,
                         ::testing::Combine(::testing::Range(0, static_cast<int>(std::size(kReaders))),
                                            ::testing::Range(0, static_cast<int>(std::size(kKinds)))),
                         [](const auto& info) {
                             return std::string(kReaders[std::get<0>(info.param)].name) + "_" +
                                    kKinds[std::get<1>(info.param)];
                         });

// POSIX only from here: symbolic links, and writers run in a forked child with a file-size limit or
// as another user, compared with the soak's snapshots (bench/soak/loads.h).
#ifndef _WIN32
// The look-up without regard to case passes over a folder of the exact name for a regular file
// spelled otherwise, and a link to a regular file is that file.
TEST_F(BadFiles, RegularFileSpelledOtherwiseIsRead) {
    fs::create_directories(In("Telvar.ini"));
    WriteBytes(dir / "Elsewhere/telvar.ini", "[DNC]\r\nRefMO=TOUR\r\n");
    fs::create_symlink(dir / "Elsewhere/telvar.ini", In("TELVAR.INI"));
    EXPECT_TRUE(ReadTelvarIni(In("Telvar.ini"), machine));
    EXPECT_EQ(machine.RefMO, "TOUR");
    EXPECT_TRUE(messages.entries.empty());
}

// ---------------------------------------------------------------- writes

// How the target refuses the write; a usable file shows that the staging is what makes the writers
// fail (the table does not pass by failing everything).
enum Target { Usable, Folder, Oversized, WriteOnly, InReadOnlyFolder, DiskFull };
const char* const kTargetNames[] = {"Usable",    "Folder",           "Oversized",
                                    "WriteOnly", "InReadOnlyFolder", "DiskFull"};

// One writer: the file of the machine's folder it writes, its warning when the write fails ("": it
// says nothing and only returns its result; nullptr: the callers' warning naming the file) and what
// it runs (true when it reported success).
struct Writer {
    const char* name;
    const char* file;
    const char* message;
    std::function<bool(AppFixture&)> write;
};
const Writer kWriters[] = {
    {"MachineFile", "Telvar.ini", "Problème durant l'écriture du fichier Telvar.ini de la machine TOUR1",
     [](AppFixture& f) {
         return WriteTelvarIniTo(f.MachineDir(), f.machine, {"10.1.2.3", "/data/"});
     }},
    {"ProgramManagerEntry", "Kalderon.ini", nullptr,
     [](AppFixture& f) { return WriteCallerEntry(1, f.In("Kalderon.ini"), 1, f.machine); }},
    {"CountOfANewMachine", "Harbix.ini", nullptr,
     [](AppFixture& f) { // a count not written is not taken either
         return TakeEntryNumber(f.Calling(2, 1, 0, 1, f.In("Harbix.ini"))).has_value() ||
                f.settings.NbDevice != 1;
     }},
    {"IsoInsertions", "Iso.ini", "", // the lists share one way of saving
     [](AppFixture& f) {
         clsInsertIso list;
         list.Init(f.In("Iso.ini"));
         list.AddIso("Origine");
         return list.Save();
     }},
    {"LearntDictionaryText", "FR.lng", "",
     [](AppFixture& f) {
         clsTranslate dictionary;
         dictionary.Init(f.In("FR.lng"));
         // The text is shown as it stands all the same.
         if (dictionary.Trans("Réseau x1x", kDicoSection, {"", "A"}) != "Réseau A") return true;
         return dictionary.LearnText("Réseau x1x", kDicoSection);
     }},
};

class WriteFailures : public AppFixture, public ::testing::WithParamInterface<std::tuple<int, int>> {
  protected:
    WriteFailures() {
        TK_TRANSLATE::Shared().Init(""); // messages are shown as written and teach no dictionary
        // Every writer's file exists, so that one refusing leaves the others to compare.
        WriteBytes(In("Telvar.ini"), "[DNC]\r\nRefMO=TOUR1\r\n");
        WriteBytes(In("Iso.ini"), "[INSERT]\r\nDebut=iso:G90<R>M30|bmp:|Rac:0112|\r\n");
        WriteBytes(In("Kalderon.ini"),
                   "[KALDERON]\r\nNbDevice=1\r\n[CNC1]\r\nName=TOUR1\r\nPathTelvar=" + MachineDir() + "\r\n");
        WriteBytes(In("Harbix.ini"), "[HARBIX_MGR]\r\nNbDevice=1\r\n[CNC]\r\nRefMO1=TOUR1\r\n");
        WriteBytes(In("FR.lng"), "[KIRVA]\r\nGeneral=General\r\n");
        machine.RefMO = machine.Name = "TOUR1";
        machine.PathTelvar = machine.MachineDir = MachineDir();
    }
};

// What the child process that ran the writer found.
enum ChildResult { Refused, ReportedDone, WrongMessage, NoUnprivilegedUser };

TEST_P(WriteFailures, IsReportedAndLeavesEveryFileAsItWas) {
    const auto target = static_cast<Target>(std::get<0>(GetParam()));
    const Writer& writer = kWriters[std::get<1>(GetParam())];
    const std::string path = In(writer.file);
    const std::string expected =
        writer.message ? writer.message : "Problème durant l'écriture du fichier " + path;
    if (target == Folder) {
        fs::remove(path);
        WriteBytes(path + "/inside.ini", "[DNC]\r\nRefMO=AUTRE\r\n");
    }
    if (target == Oversized) fs::resize_file(path, ini::store::kMaxFileSize + 1); // sparse: costs no disk
    // Root reads a write-only file and writes into a read-only folder: the writer then runs as an
    // unprivileged user who owns the folder.
    const bool asNobody = ::geteuid() == 0 && (target == WriteOnly || target == InReadOnlyFolder);
    if (asNobody) {
        fs::permissions(dir.path(), fs::perms(0755)); // the way to the folder stays open
        for (const auto& entry : fs::recursive_directory_iterator(dir.path() / "M1"))
            (void)!::lchown(entry.path().c_str(), loads::kUnprivileged, loads::kUnprivileged);
        if (::lchown(MachineDir().c_str(), loads::kUnprivileged, loads::kUnprivileged) != 0)
            GTEST_SKIP() << "running as root, and the folder cannot be given to an unprivileged user";
    }
    const auto before = loads::Snapshot(MachineDir());
    const fs::perms mode = fs::status(path).permissions();
    if (target == WriteOnly) fs::permissions(path, fs::perms::owner_write);
    if (target == InReadOnlyFolder) fs::permissions(MachineDir(), fs::perms(0555));
    ini::ClearCache();

    const int result = InChild([&] {
        if (target == DiskFull) {
            ::signal(SIGXFSZ, SIG_IGN); // the write then fails with EFBIG instead of ending the process
            const rlimit small{16, 16};
            ::setrlimit(RLIMIT_FSIZE, &small);
        }
        if (asNobody && (::setgid(loads::kUnprivileged) != 0 || ::setuid(loads::kUnprivileged) != 0))
            return NoUnprivilegedUser;
        if (writer.write(*this)) return messages.entries.empty() ? ReportedDone : WrongMessage;
        const bool right =
            expected.empty() ? messages.entries.empty() : bool(messages.Only(expected, IconWarning));
        return right ? Refused : WrongMessage;
    });
    fs::permissions(MachineDir(), fs::perms(0755));
    fs::permissions(path, mode);
    if (result == NoUnprivilegedUser)
        GTEST_SKIP() << "running as root without the right to become an unprivileged user: root "
                        "would read the write-only file and write into the read-only folder";
    if (target == Usable) {
        EXPECT_EQ(result, ReportedDone);
        EXPECT_NE(loads::Snapshot(MachineDir())[writer.file], before.at(writer.file))
            << "nothing was written";
        return;
    }
    EXPECT_NE(result, ReportedDone) << "the writer reported a write that did not reach the disk";
    EXPECT_NE(result, WrongMessage) << "expected only the warning \"" << expected << "\"";
    EXPECT_EQ(result, Refused);
    EXPECT_EQ(loads::Snapshot(MachineDir()), before);
}

INSTANTIATE_TEST_SUITE_P(TargetsAndWriters, WriteFailures,
                         ::testing::Combine(::testing::Range(0, static_cast<int>(std::size(kTargetNames))),
                                            ::testing::Range(0, static_cast<int>(std::size(kWriters)))),
                         [](const auto& info) {
                             return std::string(kWriters[std::get<1>(info.param)].name) + "_" +
                                    kTargetNames[std::get<0>(info.param)];
                         });

// The Run value is part of the machine writer's work: a registry that refuses it is a failed write.
TEST_F(WriteFailures, RunValueRefusedByTheRegistryFailsTheMachineWriter) {
    fs::create_directories(dir.path() / "registry-folder");
    ScopedEnv registry("KIRVA_REGISTRY", (dir.path() / "registry-folder").string());
    machine.StartWithWindows = true;
    machine.UseComManager = false;
    EXPECT_FALSE(kWriters[0].write(*this));
    EXPECT_TRUE(messages.Only(kWriters[0].message, IconWarning));
}
#endif // POSIX only

} // namespace
} // namespace kirva::test
