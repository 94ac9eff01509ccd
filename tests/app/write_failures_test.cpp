// Writes that do not reach the disk are never reported as done. Every writer above the engine is
// put in front of every way a file can refuse a write; each one says so (the machine file and the
// callers' files with their warning, the lists and the dictionary through their result alone) and
// every file of the machine's folder is afterwards byte for byte what it was.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "app/CallerSettings.h"
#include "ini/store.h"
#include "lists/clsCanaux.h"
#include "lists/clsInsertIso.h"
#include "lists/clsPlansPDC.h"
#include "machine/MachineFixture.h"
#include "machine/TelvarFile.h"
#include "translate/translate.h"

namespace kirva::test {
namespace {

namespace fs = std::filesystem;

// How the target refuses the write.
enum class Target { Folder, Oversized, WriteOnly, InReadOnlyFolder, DiskFull };

const char* TargetName(Target t) {
    switch (t) {
    case Target::Folder:
        return "a folder";
    case Target::Oversized:
        return "a file over the size limit";
    case Target::WriteOnly:
        return "a write-only file";
    case Target::InReadOnlyFolder:
        return "a file in a read-only folder";
    case Target::DiskFull:
        return "a disk that fills up";
    }
    return "?";
}

// Every file below a folder: its bytes, or for a large file its size and a hash of its bytes
// (a file over the size limit is read in pieces rather than held whole, twice, for each case).
std::map<std::string, std::string> Snapshot(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = fs::relative(entry.path(), folder).string();
        if (entry.is_directory()) {
            files[name] = "<folder>";
            continue;
        }
        std::ifstream in(entry.path(), std::ios::binary);
        if (entry.file_size() <= (1u << 20)) {
            files[name] = std::string(std::istreambuf_iterator<char>(in), {});
            continue;
        }
        std::uint64_t hash = 0;
        std::string block(1u << 20, '\0');
        while (in.read(block.data(), static_cast<std::streamsize>(block.size())) || in.gcount() > 0) {
            const std::string_view piece(block.data(), static_cast<std::size_t>(in.gcount()));
            hash = hash * 1099511628211ull ^ std::hash<std::string_view>{}(piece);
        }
        files[name] = "<" + std::to_string(entry.file_size()) + " bytes, hash " + std::to_string(hash) + ">";
    }
    return files;
}

class WriteFailures;

// One writer: the file it writes (in the machine's folder), what it runs and the message it gives
// when the write fails ("" = it says nothing and only returns its result).
struct WriterCase {
    const char* name;
    const char* file;
    std::function<bool(WriteFailures&)> write; // true when the writer reported success
    std::function<std::string(WriteFailures&)> message;
};

class WriteFailures : public MachineFixture {
  protected:
    WriteFailures() {
        TK_TRANSLATE::Shared().Init(""); // messages are shown as written and teach no dictionary
        fs::create_directories(Folder());
        // Every writer's file exists, so that one refusing leaves the others to compare.
        WriteBytes(In("Telvar.ini"), "[DNC]\r\nRefMO=TOUR1\r\n[PLANS]\r\nref:P1|LadX:X|LadY:Y|CoeffX:1|"
                                     "CoeffY:1|R:0|\r\n[CANAUX]\r\nref:C1|Pref:a|Suff:b|Canal:1|\r\n");
        WriteBytes(In("Iso.ini"), "[INSERT]\r\nDebut=iso:G90<R>M30|bmp:|Rac:0112|\r\n");
        WriteBytes(In("Kalderon.ini"),
                   "[KALDERON]\r\nNbDevice=1\r\n[CNC1]\r\nName=TOUR1\r\nPathTelvar=" + MachineDir() + "\r\n");
        WriteBytes(In("Harbix.ini"), "[HARBIX_MGR]\r\nNbDevice=1\r\n[CNC]\r\nRefMO1=TOUR1\r\n");
        WriteBytes(In("FR.lng"), "[KIRVA]\r\nGeneral=General\r\n");
        WriteBytes(In("Notes.txt"), "ni clé ni section, sans fin de ligne");
        machine.RefMO = "TOUR1";
        machine.Name = "TOUR1";
        machine.PathTelvar = MachineDir();
        machine.MachineDir = MachineDir();
    }
    ~WriteFailures() override { ::chmod(Folder().c_str(), 0755); }

  public:
    using MachineFixture::dir;
    using MachineFixture::MachineDir;
    using MachineFixture::messages;
    std::string Folder() const { return (dir.path() / "M1").string(); }
    std::string In(const std::string& name) const { return (dir.path() / "M1" / name).string(); }
    MachineConfig machine;
    ProgramSettings settings;
};

const std::string kWriteProblem = "Problème durant l'écriture du fichier ";

const WriterCase kWriters[] = {
    {"machine file", "Telvar.ini",
     [](WriteFailures& f) {
         return WriteTelvarIniTo(f.MachineDir(), f.machine, {"10.1.2.3", "/data/"});
     },
     [](WriteFailures&) {
         return std::string("Problème durant l'écriture du fichier Telvar.ini de la machine TOUR1");
     }},
    {"program manager's entry", "Kalderon.ini",
     [](WriteFailures& f) { return WriteCallerEntry(1, f.In("Kalderon.ini"), 1, f.machine); },
     [](WriteFailures& f) { return kWriteProblem + f.In("Kalderon.ini"); }},
    {"transfer program's entry", "Harbix.ini",
     [](WriteFailures& f) { return WriteCallerEntry(2, f.In("Harbix.ini"), 1, f.machine); },
     [](WriteFailures& f) { return kWriteProblem + f.In("Harbix.ini"); }},
    {"count of a new machine", "Harbix.ini",
     [](WriteFailures& f) {
         f.settings.Mode = 2;
         f.settings.AppCalling = 1;
         f.settings.NbDevice = 1;
         f.settings.PathAppCallingIni = f.In("Harbix.ini");
         const bool taken = TakeEntryNumber(f.settings).has_value();
         return taken || f.settings.NbDevice != 1; // a count not written is not taken either
     },
     [](WriteFailures& f) { return kWriteProblem + f.In("Harbix.ini"); }},
    {"apply to the caller", "Kalderon.ini",
     [](WriteFailures& f) {
         f.settings.Mode = 1;
         f.settings.AppCalling = 2;
         f.settings.CurrentIndexMO = 1;
         f.settings.NbDevice = 1;
         f.settings.PathAppCallingIni = f.In("Kalderon.ini");
         return WriteCallerSettings(f.settings, f.machine);
     },
     [](WriteFailures& f) { return kWriteProblem + f.In("Kalderon.ini"); }},
    {"ISO insertions", "Iso.ini",
     [](WriteFailures& f) {
         clsInsertIso list;
         list.Init(f.In("Iso.ini"));
         list.AddIso("Origine");
         return list.Save();
     },
     [](WriteFailures&) { return std::string(); }},
    {"reference plans", "Telvar.ini",
     [](WriteFailures& f) {
         clsPlansPDC list;
         list.Init(f.In("Telvar.ini"));
         list.AddPlan("P2", "X", "Y", 2.0f, 2.0f, true);
         return list.Save();
     },
     [](WriteFailures&) { return std::string(); }},
    {"channels", "Telvar.ini",
     [](WriteFailures& f) {
         clsCanaux list;
         list.Init(f.In("Telvar.ini"));
         list.Add("C2", 2, "p", "s");
         return list.Save();
     },
     [](WriteFailures&) { return std::string(); }},
    {"learnt dictionary text", "FR.lng",
     [](WriteFailures& f) {
         clsTranslate dictionary;
         dictionary.Init(f.In("FR.lng"));
         // The text is shown as it stands all the same.
         if (dictionary.Trans("Réseau x1x", kDicoSection, {"", "A"}) != "Réseau A") return true;
         return dictionary.LearnText("Réseau x1x", kDicoSection);
     },
     [](WriteFailures&) { return std::string(); }},
};

// What the child process that ran the writer found.
enum ChildResult { Refused = 0, ReportedDone = 1, WrongMessage = 2, NoUnprivilegedUser = 3 };

constexpr uid_t kUnprivileged = 65534; // "nobody"

// Puts the target in place. Returns false with a reason when the case cannot be staged.
bool Stage(WriteFailures& f, Target target, const WriterCase& writer, std::string& reason) {
    const std::string path = f.In(writer.file);
    switch (target) {
    case Target::Folder:
        fs::remove(path);
        WriteBytes(path + "/inside.ini", "[DNC]\r\nRefMO=AUTRE\r\n");
        return true;
    case Target::Oversized:
        fs::resize_file(path, ini::store::kMaxFileSize + 1); // sparse: costs no disk
        return true;
    case Target::WriteOnly:
    case Target::InReadOnlyFolder:
        if (::geteuid() == 0) {
            fs::permissions(f.dir.path(), fs::perms(0755)); // the way to the folder stays open
            // Root reads a write-only file and writes into a read-only folder: the writer runs as
            // an unprivileged user who owns the folder.
            for (const auto& entry : fs::recursive_directory_iterator(f.Folder()))
                if (::lchown(entry.path().c_str(), kUnprivileged, kUnprivileged) != 0) break;
            if (::lchown(f.Folder().c_str(), kUnprivileged, kUnprivileged) != 0) {
                reason = "running as root, and the folder cannot be given to an unprivileged user";
                return false;
            }
        }
        return true;
    case Target::DiskFull:
        return true;
    }
    return true;
}

// Runs the writer in a child process (so that limits and identities stay there) and says what it found.
int RunWriter(WriteFailures& f, Target target, const WriterCase& writer) {
    const std::string expected = writer.message(f);
    const pid_t child = ::fork();
    if (child == 0) {
        if (target == Target::DiskFull) {
            ::signal(SIGXFSZ, SIG_IGN); // the write then fails with EFBIG instead of ending the process
            const rlimit small{16, 16};
            ::setrlimit(RLIMIT_FSIZE, &small);
        }
        if (::geteuid() == 0 && (target == Target::WriteOnly || target == Target::InReadOnlyFolder)) {
            if (::setgid(kUnprivileged) != 0 || ::setuid(kUnprivileged) != 0) ::_exit(NoUnprivilegedUser);
        }
        if (target == Target::WriteOnly) ::chmod(f.In(writer.file).c_str(), 0200);
        if (target == Target::InReadOnlyFolder) ::chmod(f.Folder().c_str(), 0555);
        const bool done = writer.write(f);
        const auto& said = f.messages.entries;
        const bool messageRight =
            expected.empty() ? said.empty()
                             : said.size() == 1 && said[0].text == expected && said[0].icon == IconWarning;
        ::_exit(done ? ReportedDone : messageRight ? Refused : WrongMessage);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::chmod(f.Folder().c_str(), 0755);
    if (fs::exists(f.In(writer.file)) && !fs::is_directory(f.In(writer.file)))
        ::chmod(f.In(writer.file).c_str(), 0644);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

struct FailureCase {
    Target target;
    const WriterCase* writer;
};

void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.writer->name << " into " << TargetName(c.target);
}

class WriteFailuresTable : public WriteFailures, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(WriteFailuresTable, IsReportedAndLeavesEveryFileAsItWas) {
    const FailureCase& c = GetParam();
    std::string reason;
    if (!Stage(*this, c.target, *c.writer, reason)) GTEST_SKIP() << reason;
    const auto before = Snapshot(Folder());
    ini::ClearCache();

    const int result = RunWriter(*this, c.target, *c.writer);
    if (result == NoUnprivilegedUser)
        GTEST_SKIP() << "running as root without the right to become an unprivileged user: root "
                        "would read the write-only file and write into the read-only folder";
    EXPECT_NE(result, ReportedDone) << "the writer reported a write that did not reach the disk";
    EXPECT_NE(result, WrongMessage) << "expected only the warning \"" << c.writer->message(*this) << "\"";
    EXPECT_EQ(result, Refused);

    const auto after = Snapshot(Folder());
    for (const auto& [name, bytes] : before) {
        auto found = after.find(name);
        ASSERT_NE(found, after.end()) << name << " is gone";
        EXPECT_EQ(found->second, bytes) << name << " changed";
    }
    for (const auto& [name, bytes] : after) EXPECT_TRUE(before.count(name)) << name << " was left behind";
}

std::vector<FailureCase> AllCases() {
    std::vector<FailureCase> cases;
    for (Target target :
         {Target::Folder, Target::Oversized, Target::WriteOnly, Target::InReadOnlyFolder, Target::DiskFull}) {
        for (const WriterCase& writer : kWriters) cases.push_back({target, &writer});
    }
    return cases;
}

std::string CaseName(const ::testing::TestParamInfo<FailureCase>& info) {
    std::string name = std::string(info.param.writer->name) + "_" + TargetName(info.param.target);
    for (char& ch : name)
        if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(TargetsAndWriters, WriteFailuresTable, ::testing::ValuesIn(AllCases()), CaseName);

// The staging of the table is what makes the writers fail: on files that accept the write, the
// same writers report success (so the table above does not pass by failing everything).
TEST_F(WriteFailures, SameWritersSucceedOnUsableFiles) {
    for (const WriterCase& writer : kWriters) {
        messages.entries.clear();
        settings = ProgramSettings{};
        EXPECT_TRUE(writer.write(*this)) << writer.name;
        EXPECT_TRUE(messages.entries.empty()) << writer.name;
    }
    const std::string telvar = ReadBytes(In("Telvar.ini"));
    EXPECT_NE(telvar.find("[PLANS]\r\nref:P1|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|\r\n"
                          "ref:P2|LadX:X|LadY:Y|CoeffX:2|CoeffY:2|R:1|\r\n"),
              std::string::npos)
        << telvar;
    EXPECT_NE(telvar.find("[CANAUX]\r\nref:C1|Pref:a|Suff:b|Canal:1|\r\nref:C2|Pref:p|Suff:s|Canal:2|\r\n"),
              std::string::npos)
        << telvar;
    EXPECT_EQ(ReadBytes(In("Iso.ini")),
              "[INSERT]\r\nDebut=iso:G90<R>M30|bmp:|Rac:0112|\r\nOrigine=iso:|bmp:|Rac:|\r\n");
    // Code page 1252 in the file: "é" is one byte.
    EXPECT_EQ(ReadBytes(In("FR.lng")), "[KIRVA]\r\nGeneral=General\r\nR\xE9seau x1x=R\xE9seau x1x\r\n");
    EXPECT_EQ(ReadBytes(In("Harbix.ini")).find("NbDevice=2"), std::string("[HARBIX_MGR]\r\n").size());
}

// The Run value is part of the machine writer's work: a registry that refuses it is a failed write.
TEST_F(WriteFailures, RunValueRefusedByTheRegistryFailsTheMachineWriter) {
    fs::create_directories(dir.path() / "registry-folder");
    ScopedEnv registry("KIRVA_REGISTRY", (dir.path() / "registry-folder").string());
    machine.StartWithWindows = true;
    machine.UseComManager = false;
    EXPECT_FALSE(WriteTelvarIniTo(MachineDir(), machine, {"10.1.2.3", "/data/"}));
    ASSERT_EQ(messages.entries.size(), 1u);
    EXPECT_EQ(messages.entries[0].text,
              "Problème durant l'écriture du fichier Telvar.ini de la machine TOUR1");
    EXPECT_EQ(messages.entries[0].icon, IconWarning);
}

} // namespace
} // namespace kirva::test

#endif
