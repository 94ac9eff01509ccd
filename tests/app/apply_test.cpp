// The apply without the window: the checks before any write, the writes in their order with the
// calling program's notification, and the machine commands (server folder from the template,
// program folders, export, the server's program and window).
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <sys/stat.h>

#include "app/AppTestSupport.h"
#include "app/Apply.h"
#include "app/MachineCommands.h"
#include "machine/Validation.h"

namespace kirva::test {
namespace {

// Answers the questions in the order given (No once they are used up) and records every text.
class Answers : public MessageService {
  public:
    explicit Answers(std::deque<MsgAnswer> answers) : answers_(std::move(answers)) {
        SetMessageService(this);
    }
    ~Answers() override { SetMessageService(nullptr); }
    MsgAnswer Show(const std::string& text, int, MsgButtons buttons) override {
        shown.push_back(text);
        if (buttons != MsgButtons::YesNo) return MsgAnswer::Ok;
        if (answers_.empty()) return MsgAnswer::No;
        const MsgAnswer a = answers_.front();
        answers_.pop_front();
        return a;
    }
    std::vector<std::string> shown;

  private:
    std::deque<MsgAnswer> answers_;
};

class ApplyTest : public AppFixture {
  protected:
    ApplyTest() {
        TK_TRANSLATE::Shared().Init("");
        state.Settings.RefMO = {"", "TOUR12", "FRAISE"};
        state.Settings.DefaultPathDirTelvar = dir / "Telvar/";
        state.Settings.PathDirData = dir / "Data/";
    }
    std::string Template() const { return dir / "Telvar/TelvarType/"; }
    ProgramState state;
};

TEST_F(ApplyTest, ChecksComeInOrderWithTheirWords) {
    struct Case {
        int mode, appCalling;
        const char* reference;
        const char* folder;
        ApplyCheck check;
        const char* message; // "" : none
    };
    const Case cases[] = {
        {1, 1, " tour1 ", "/f", ApplyCheck::Duplicate, kDuplicateReference}, // inside TOUR12
        {1, 1, "TOUR123", "/f", ApplyCheck::Passed, ""},
        {2, 2, "TOUR12", "/f", ApplyCheck::Passed, ""}, // a modified machine is never a duplicate
        {1, 1, "", "", ApplyCheck::Reference, kReferenceNeeded},
        {2, 2, "X", " ", ApplyCheck::ServerFolder, kServerFolderNeededTransfer},
        {1, 2, "X", "", ApplyCheck::ServerFolder, kServerFolderNeeded},
        {1, 2, "A/B", "/f", ApplyCheck::Reference,
         "La référence A/B ne peut pas servir de nom de fichier : elle contient \"/\"."},
        {1, 2, "..", "/f", ApplyCheck::Reference,
         "La référence .. ne peut pas servir de nom de fichier : elle contient \"..\"."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reference);
        messages.entries.clear();
        state.Settings.Mode = c.mode;
        state.Settings.AppCalling = c.appCalling;
        EXPECT_EQ(CheckBeforeApply(state.Settings, c.reference, c.folder), c.check);
        EXPECT_TRUE(*c.message ? messages.Only(c.message, IconCritical)
                               : ::testing::AssertionResult(messages.entries.empty()));
    }
}

// Each caller and each kind of edit: what is registered, written, started, saved and sent. A new
// machine takes the next number and its count is written; a modified one keeps its number.
TEST_F(ApplyTest, WritesInOrderAndTellsTheCaller) {
    const CallerListener listener(dir.path().string());
    ASSERT_TRUE(PublishCaller(listener)); // the caller's window published as text, then as a number
    struct Case {
        int mode, appCalling;
        const char* countKey; // the caller's count after the apply
        const char* entry;    // the entry's section
        bool startedAndSaved; // the program manager's new machine
        const char* received;
    };
    const Case cases[] = {
        {1, 1, "KALDERON", "CNC3", true, "28679 710 0"}, // the new count is the entry's number
        {1, 2, "KALDERON", "CNC2", false, "28679 711 0"},
        {2, 1, "HARBIX_MGR", "CNC", false, "28679 111 0"},
        {2, 2, "HARBIX_MGR", "CNC", false, "28679 112 0"},
    };
    for (const Case& c : cases) {
        const std::string caller = dir / ("caller" + std::to_string(c.mode * 10 + c.appCalling) + ".ini");
        WriteBytes(caller, std::string("[") + c.countKey + "]\r\nNbDevice=2\r\n");
        const std::string folder = dir / ("S" + std::to_string(c.mode * 10 + c.appCalling) + "/");
        fs::create_directories(folder);
        state.Settings = Calling(c.mode, c.appCalling, 2, 2, caller);
        state.ServerFolderCreated = true;
        NewMachine(folder);
        std::vector<std::string> saved;
        int started = 0;
        ApplyActions actions;
        actions.StartServer = [&started] { return ++started == 1; };
        actions.SaveLists = [&saved](const std::string& iso, const std::string& telvar) {
            saved = {iso, telvar};
            return true;
        };
        const ApplyOutcome out = ApplyMachine(state, machine, Remonte(), actions);
        SCOPED_TRACE(std::to_string(c.mode) + "/" + std::to_string(c.appCalling));
        EXPECT_TRUE(out.Registered && out.TelvarWritten && out.Notified);
        const std::string number = c.appCalling == 1 ? "3" : "2"; // the new count, or the index modified
        EXPECT_EQ(Value(c.countKey, "NbDevice", caller), number);
        EXPECT_EQ(state.Settings.NbDevice, std::stoi(number));
        EXPECT_EQ(Value(c.entry, c.mode == 1 ? "Name" : "RefMO" + number, caller), "NEUVE");
        EXPECT_EQ(Value("DNC", "RefMO", folder + "Telvar.ini"), "NEUVE");
        EXPECT_EQ(machine.MachineDir, folder);
        EXPECT_EQ(started, c.startedAndSaved ? 1 : 0);
        EXPECT_EQ(out.ListsSaved, c.mode == 1);
        using Paths = std::vector<std::string>;
        EXPECT_EQ(saved, (c.mode == 1 ? Paths{folder + "Iso.ini", folder + "Telvar.ini"} : Paths{}));
        EXPECT_EQ(listener.Received(), c.received);
    }
    EXPECT_TRUE(messages.entries.empty());
}

// A refused write is reported by its writer; the apply goes on with the other files, and the
// refused file stays as it was.
TEST_F(ApplyTest, RefusedWritesAreReportedAndTheOthersStillMade) {
    const std::string folder = dir / "S/";
    const std::string caller = dir / "Kalderon.ini";
    const std::string callerBytes = "[KALDERON]\r\nNbDevice=1\r\n";
    const std::string telvarBytes = "; hand\r\n[DNC]\r\nRefMO=NEUVE\r\n";
    const std::string telvarFailed = "Problème durant l'écriture du fichier Telvar.ini de la machine NEUVE";
    const std::string callerFailed = "Problème durant l'écriture du fichier " + caller;
    struct Case {
        const char* name;
        std::function<void()> refuse;
        const std::string& message;
        bool registered, telvarWritten;
    };
    const Case cases[] = {
        {"CallerFileIsAFolder", [&] { fs::remove(caller), fs::create_directories(caller); }, callerFailed,
         false, true},
        {"CallerFileReadOnly", [&] { fs::permissions(caller, fs::perms(0444)); }, callerFailed, false, true},
        {"TelvarReadOnly", [&] { fs::permissions(folder + "Telvar.ini", fs::perms(0444)); }, telvarFailed,
         true, false},
        {"MachineFolderVanished", [&] { fs::remove_all(folder); }, telvarFailed, true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(caller);
        fs::remove_all(folder);
        WriteBytes(caller, callerBytes);
        WriteBytes(folder + "Telvar.ini", telvarBytes);
        c.refuse();
        ini::ClearCache();
        messages.entries.clear();
        state.Settings = Calling(1, 2, 1, 1, caller);
        NewMachine(folder);
        int saves = 0;
        ApplyActions actions;
        actions.SaveLists = [&saves](const std::string&, const std::string&) { return ++saves < 0; };
        const ApplyOutcome out = ApplyMachine(state, machine, Remonte(), actions);
        EXPECT_TRUE(messages.Only(c.message, IconWarning));
        EXPECT_EQ(out.Registered, c.registered);
        EXPECT_EQ(out.TelvarWritten, c.telvarWritten);
        EXPECT_EQ(saves, 1); // the lists are still tried
        // A refused file keeps its bytes; a written one has changed.
        EXPECT_TRUE(!fs::is_regular_file(caller) || (ReadBytes(caller) == callerBytes) != c.registered);
        EXPECT_TRUE(!fs::exists(folder) ||
                    (ReadBytes(folder + "Telvar.ini") == telvarBytes) != c.telvarWritten);
        // Windows removes no read-only file: the next case starts from a writable one.
        if (fs::exists(caller)) fs::permissions(caller, fs::perms(0644));
        if (fs::exists(folder + "Telvar.ini")) fs::permissions(folder + "Telvar.ini", fs::perms(0644));
    }
}

// A new machine whose count cannot be written gets no entry (its caller would not see it).
TEST_F(ApplyTest, NoEntryWithoutItsCount) {
    const std::string caller = dir / "Kalderon.ini";
    WriteBytes(caller, "[KALDERON]\r\nNbDevice=2147483647\r\n");
    fs::create_directories(dir / "S");
    state.Settings = Calling(1, 1, 0, 2147483647, caller);
    const ApplyOutcome out = ApplyMachine(state, NewMachine(dir / "S/"), Remonte(), {});
    EXPECT_FALSE(out.Registered);
    EXPECT_TRUE(out.TelvarWritten);
    EXPECT_EQ(ReadBytes(caller), "[KALDERON]\r\nNbDevice=2147483647\r\n");
}

// ---------------------------------------------------------------- the server folder

// The server folder comes from the template, at the folder field's text when it is filled; a
// reference that cannot name a folder makes nothing.
TEST_F(ApplyTest, ServerFolderFromTheTemplate) {
    struct Case {
        const char* name;
        std::string reference, field; // the folder field's text before
        bool withTemplate, targetExists;
        std::deque<MsgAnswer> answers;
        std::string made;                   // the folder made; "": none
        std::vector<std::string> questions; // texts shown, in order
    };
    const std::string target = dir / "Telvar/NEUVE/", elsewhere = dir / "Ailleurs/T1",
                      there = dir / "Ailleurs/T1/";
    const auto ask = [](const std::string& folder) {
        return "Voulez-vous créer le dossier " + folder + " ?";
    };
    const std::string create = ask(target);
    const std::string replace = "Le dossier " + target + " existe déjà \r\n Voulez vous le remplacer ?";
    const std::string old = "[DNC]\r\nRefMO=ANCIENNE\r\n";
    const auto yes = MsgAnswer::Yes, no = MsgAnswer::No;
    // clang-format off
    const Case cases[] = {
        {"TemplateMissing", "NEUVE", "", false, false, {yes}, "", {kTemplateMissing}},
        {"NotWanted", "NEUVE", "", true, false, {no}, "", {create}},
        {"NotReplaced", "NEUVE", "", true, true, {yes, no}, "", {create, replace}},
        {"Replaced", "NEUVE", "", true, true, {yes, yes}, target, {create, replace}},
        {"FilledField", "IGNORE", elsewhere, true, false, {yes}, there, {ask(there)}},
        {"UnusableName", "../X", "", true, false, {yes}, "",
         {"La référence ../X ne peut pas servir de nom de fichier : elle contient \"..\"."}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(dir / "Telvar");
        if (c.withTemplate) {
            WriteBytes(Template() + "Telvar.ini", "[DNC]\r\nRefMO=\r\n");
            WriteBytes(Template() + "Bin/Telvar.exe", "server");
            WriteBytes(Template() + "maj_auto_telvareurs.exe", "updater");
        }
        if (c.targetExists) WriteBytes(target + "Telvar.ini", old);
        state.ServerFolderCreated = false;
        machine.MachineDir.clear();
        std::string field = c.field;
        const Answers answers(c.answers);
        EXPECT_EQ(FNCreateDirTelvar(state, machine, c.reference, field), !c.made.empty());
        EXPECT_EQ(answers.shown, c.questions);
        EXPECT_EQ(state.ServerFolderCreated, !c.made.empty());
        // A filled field keeps its text.
        EXPECT_EQ(field, c.field.empty() && !c.made.empty() ? target : c.field);
        EXPECT_EQ(machine.MachineDir, c.made);
        if (!c.made.empty()) {
            EXPECT_EQ(ReadBytes(c.made + "Telvar.ini"), "[DNC]\r\nRefMO=\r\n");
            EXPECT_EQ(ReadBytes(c.made + "Bin/Telvar.exe"), "server");
            EXPECT_FALSE(fs::exists(c.made + "maj_auto_telvareurs.exe")); // never left behind
            EXPECT_TRUE(fs::exists(Template() + "maj_auto_telvareurs.exe"));
        } else {
            EXPECT_EQ(ReadBytes(target + "Telvar.ini"), c.targetExists ? old : "");
            EXPECT_EQ(fs::exists(target), c.targetExists);
        }
    }
    EXPECT_FALSE(fs::exists(dir / "X"));
}

TEST_F(ApplyTest, ProgramFoldersAreProposedAndMade) {
    const std::string machines = dir / "Data/Machines/";
    EXPECT_EQ(ProposedProgramFolder(state.Settings, "F02", "", false), Native(machines + "F02/"));
    EXPECT_EQ(ProposedProgramFolder(state.Settings, "F02", "", true), Native(machines + "F02/Archive/"));
    EXPECT_EQ(ProposedProgramFolder(state.Settings, "F02", " " + Native("/srv/prog") + " ", true),
              Native("/srv/prog/"));
    EXPECT_EQ(ProposedProgramFolder(state.Settings, "", "", false), std::nullopt);
    EXPECT_TRUE(messages.Only(kReferenceNeeded, IconCritical));

    messages.Answer(MsgAnswer::No);
    EXPECT_FALSE(CreateProgramFolder(Native(machines + "F02/Archive/")));
    EXPECT_FALSE(fs::exists(machines));
    messages.Answer(MsgAnswer::Yes);
    EXPECT_TRUE(CreateProgramFolder(Native(machines + "F02/Archive/")));
    EXPECT_TRUE(fs::is_directory(machines + "F02/Archive"));
    EXPECT_EQ(messages.entries.back().text,
              "Voulez-vous créer le dossier " + Native(machines + "F02/Archive/") + " ?");
}

// ---------------------------------------------------------------- export and the server

TEST_F(ApplyTest, ExportCopiesTheMachineFilePrivately) {
    const std::string bytes = "; réglé à la main\r\n[DNC]\r\nRefMO=F02\r\n[RESEAU]\r\nPassWord=secret\r\n";
    WriteBytes(MachineDir() + "telvar.ini", bytes); // spelled otherwise: the same file
    const std::string out = dir / "Export/";
    fs::create_directories(out);
    ASSERT_TRUE(ExportMachineFile(MachineDir(), "F02", out));
    EXPECT_EQ(ReadBytes(out + "F02.ini"), bytes);
#ifndef _WIN32 // Windows keeps who may read a file in its ACL, which the platform tests check
    struct stat info {};
    ASSERT_EQ(::stat((out + "F02.ini").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07, 0U); // the password is never readable by others
#endif
    EXPECT_TRUE(messages.entries.empty());

    EXPECT_FALSE(ExportMachineFile(dir / "Nowhere/", "F02", out));
    EXPECT_TRUE(messages.Only(CatalogueText(244), IconCritical));
}

TEST_F(ApplyTest, ServerProgramAndWindowRules) {
    fs::create_directories(MachineDir());
    EXPECT_FALSE(StartServer(MachineDir()));
    EXPECT_FALSE(StopServer(MachineDir(), "M1"));
    EXPECT_EQ(messages.entries.size(), 2U);
    for (const auto& e : messages.entries) EXPECT_EQ(e.text, kServerMissing);

    // The first window in order whose title holds "Telvar " + reference, in any case.
    const std::vector<platform::TopLevelWindow> windows = {
        {1, "Telvarr M1"}, {2, "TELVAR M10 - COM2"}, {3, "Telvar M1"}, {4, "telvar touré"}};
    EXPECT_EQ(FindServerWindow(windows, "m1"), 2);
    EXPECT_EQ(FindServerWindow(windows, "M1 "), std::nullopt);
    EXPECT_EQ(FindServerWindow(windows, "TOURÉ"), 4);
    EXPECT_EQ(FindServerWindow({}, "M1"), std::nullopt);
}

} // namespace
} // namespace kirva::test
