// The editor from end to end, as a calling program sees it: a workshop in a temporary folder,
// the hand-off file, start-up, an edit through the widgets, "&Ajouter"/"&Modifier", and then the
// files on disk byte for byte and the notification that reached the caller.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "WindowFixture.h"
#include "app/AppTestSupport.h"
#include "app/FieldTable.h"
#include "app/Startup.h"
#include "editor/IsoInsertPanel.h"
#include "editor/frmKirva.h"
#include "machine/Validation.h"

namespace kirva::test {
namespace {

const std::string kSource = KIRVA_SOURCE_DIR;

// Every file below a folder with its bytes (what "nothing changed on disk" compares).
std::map<std::string, std::string> Snapshot(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file()) files[entry.path().string()] = ReadBytes(entry.path().string());
    return files;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

// Text with its lines ended by CR LF, as the programs of the workshop write them.
std::string Crlf(const std::string& text) {
    return Replaced(text, "\n", "\r\n");
}

class ApplyWindow : public MachineFixture {
  protected:
    ApplyWindow() { messages.Answer(MsgAnswer::Yes); }
    ~ApplyWindow() override {
        window.reset();
        if (fifoFd_ >= 0) ::close(fifoFd_);
    }

    std::string Root() const { return dir.path().string(); }
    std::string Servers() const { return dir / "Telvar/"; }
    std::string CallerFile(int mode) const {
        return dir / (mode == 1 ? "Kalderon/Kalderon.ini" : "Harbix/Harbix.ini");
    }
    // The program manager's file of the workshop: TOUR12 and FRAISE.
    std::string KalderonFile() const {
        return Crlf("[KALDERON]\nNbDevice=2\n[CNC1]\nName=TOUR12\nPathTelvar=" + Servers() +
                    "TOUR12/\n[CNC2]\nName=FRAISE\nPathTelvar=" + Servers() + "FRAISE/\n");
    }

    // The transfer program's file naming these machines, each with its server folder.
    std::string HarbixFile(std::initializer_list<std::string> names) const {
        std::string text = "[HARBIX_MGR]\nNbDevice=" + std::to_string(names.size()) + "\n[CNC]\n";
        int n = 0;
        for (const std::string& name : names) {
            const std::string k = std::to_string(++n);
            text += "RefMO" + k + "=" + name + "\nPathTelvar" + k + "=" + Servers() + name + "/\n";
        }
        return Crlf(text);
    }

    // A new start of the program: nothing cached or held from before, nothing said.
    void Restart() {
        ini::ClearCache();
        App() = ProgramState{};
        Machine() = MachineConfig{};
        Remonte() = RemonteState{};
        messages.entries.clear();
    }

    // The workshop: the template server folder (the demo's, with a stand-in server program that
    // reports its start through a FIFO, and the template's updater), the control catalogue, the
    // caller's file with TOUR12 and FRAISE, and the hand-off file.
    void Workshop(int mode, int appCalling, bool withServerProgram = true) {
        const std::string templ = Servers() + "TelvarType/";
        WriteBytes(templ + "Telvar.ini",
                   Replaced(ReadBytes(kSource + "/examples/workshop/Telvar/TelvarType/Telvar.ini"),
                            "@WORKSHOP@", Root()));
        WriteBytes(templ + "maj_auto_telvareurs.exe", "updater");
        if (withServerProgram) {
            const std::string fifo = dir / "started";
            ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
            fifoFd_ = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            WriteBytes(templ + "Telvar.exe", "#!/bin/sh\necho \"started in $(pwd)\" > '" + fifo + "'\n");
            ::chmod((templ + "Telvar.exe").c_str(), 0755);
        }
        WriteBytes(dir / "Data/InfoCN.ini", ReadBytes(kSource + "/examples/workshop/Data/InfoCN.ini"));
        WriteBytes(CallerFile(mode), mode == 2 ? HarbixFile({"TOUR12", "FRAISE"}) : KalderonFile());
        WriteBytes(
            dir / "exe/Kirva.ini",
            Crlf("[KIRVA]\nMode=" + std::to_string(mode) + "\nAppCalling=" + std::to_string(appCalling) +
                 "\nCurrentIndexMO=1\nPathDirData=" + Root() + "/Data/\nDefaultPathDirTelvar=" + Servers() +
                 "\nNbDevice=2\nPathAppCallingIni=" + CallerFile(mode) +
                 "\n[CNC]\nRefMO1=TOUR12\nRefMO2=FRAISE\n"));
        // The caller publishes its window and listens.
        const char* key = mode == 1 ? "SOFTWARE\\MAROVEX\\TALM\\KALDERON" : "SOFTWARE\\MAROVEX\\TALM\\HARBIX";
        ASSERT_TRUE(platform::RegWriteString(platform::RegRoot::LocalMachine, key, "AppHwnd",
                                             std::to_string(::getpid())));
    }

    // Start-up as the program runs it, then the window.
    frmKirva& Start() {
        StartupInput input;
        input.CommandLine = "/MRV";
        input.StartFolder = dir / "exe";
        EXPECT_EQ(Startup(input, App()), StartupAction::ShowWindow);
        window = std::make_unique<frmKirva>(App());
        window->show();
        QApplication::setActiveWindow(window.get());
        return *window;
    }

    template <typename T>
    T* Find(const char* name) const {
        T* w = window->findChild<T*>(QString::fromUtf8(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void Type(const char* field, const QString& text) {
        auto* line = Find<QLineEdit>(field);
        line->clear();
        QTest::keyClicks(line, text);
    }
    void Click(const char* button) { QTest::mouseClick(Find<QPushButton>(button), Qt::LeftButton); }

    // What the stand-in server wrote when it started; "" when it did not within ten seconds.
    std::string ServerStarted() {
        pollfd p{fifoFd_, POLLIN, 0};
        if (fifoFd_ < 0 || ::poll(&p, 1, 10000) <= 0) return "";
        char buffer[512];
        const ssize_t n = ::read(fifoFd_, buffer, sizeof buffer);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : "";
    }

    // An insertion, a plan and a channel, through their panels.
    void AddLists() {
        window->IsoInsertions()->SetInputService([](QWidget*, const QString&) { return QString("Origine"); });
        Click("Cmd_2");
        Find<QTextEdit>("RtbInsert")->setPlainText("G90 G40\nM30");
        for (int i = 0; const char* value : {"P1", "X", "Z", "1", "2"})
            Type(("txtPlan_" + std::to_string(i++)).c_str(), value);
        Click("CmdPlan_0");
        for (int i = 0; const char* value : {"C1", "1", "$1", ""})
            Type(("txtCanaux_" + std::to_string(i++)).c_str(), value);
        Click("CmdCanaux_0");
    }

    // Presses the apply button and fills each field that it brings forward, as a technician does:
    // every stop is silent, shows the field's panel and gives it the focus. Returns the stops.
    std::vector<std::string> ApplyFillingWhatItAsks() {
        std::vector<std::string> stops;
        const std::size_t said = messages.entries.size();
        for (int round = 0; round < 80 && !window->LastApply().TelvarWritten; ++round) {
            Click("cmdExit_0");
            if (window->LastApply().TelvarWritten) break;
            QWidget* field = QApplication::focusWidget();
            if (field == nullptr || messages.entries.size() != said) break;
            const QString name = field->objectName();
            const FieldDef* def =
                FindField(name.section('_', 0, 0).toStdString(), name.section('_', 1).toInt());
            if (def == nullptr || window->CurrentPanel() != def->Panel) break;
            stops.push_back(name.toStdString());
            if (auto* line = qobject_cast<QLineEdit*>(field)) QTest::keyClicks(line, "1");
            if (auto* box = qobject_cast<QComboBox*>(field)) { // its first entry that is not blank
                int index = 0;
                while (index < box->count() - 1 && box->itemText(index).trimmed().isEmpty()) ++index;
                Choose(box, index);
            }
        }
        return stops;
    }

    // The field the apply stopped on, for the failure message.
    std::string Stopped() const {
        QWidget* w = QApplication::focusWidget();
        std::string said;
        for (const auto& e : messages.entries) said += " / " + e.text;
        return (w ? w->objectName().toStdString() : "(none)") + said;
    }

    std::unique_ptr<frmKirva> window;
    int fifoFd_ = -1;
};

// The program manager adds a machine: a duplicate reference is refused with nothing written; then
// the server folder comes from the template, the fields of several panels and the three lists are
// filled, and the apply writes every file, starts the new server and tells the caller.
TEST_F(ApplyWindow, ProgramManagerAddsAMachine) {
    Workshop(1, 1);
    const CallerListener listener(Root());
    Start();
    const auto before = Snapshot(dir.path());
    Type("TxtTelvar_1", "tour1"); // part of TOUR12
    Click("cmdExit_0");
    EXPECT_TRUE(messages.Only(kDuplicateReference, IconCritical));
    EXPECT_EQ(Snapshot(dir.path()), before);
    messages.entries.clear();

    Type("TxtTelvar_1", "TOUR123");
    Click("cmdExit_2");
    const std::string folder = Servers() + "TOUR123/";
    EXPECT_EQ(Find<QLineEdit>("TxtTelvar_48")->text().toStdString(), folder);
    Type("TxtTelvar_3", "Tour 123");
    Click("cmdExit_5"); // the DNC panels' standard values
    Type("TxtDnc_35", "0,5");
    Choose(Find<QComboBox>("cboIso_2"), 0); // the catalogue presets the syntax
    AddLists();
    const auto stops = ApplyFillingWhatItAsks();
    ASSERT_TRUE(window->LastApply().TelvarWritten) << "stopped on " << Stopped();
    EXPECT_EQ(messages.entries.size(), 1U);  // the question of the server folder
    EXPECT_EQ(stops.front(), "TxtTelvar_6"); // the first empty number in the order of the arrays
    EXPECT_EQ(listener.Received(), "28679 710 0");
    EXPECT_EQ(ServerStarted(),
              "started in " + Replaced(folder, "//", "/").substr(0, folder.size() - 1) + "\n");

    const std::string expected =
        Replaced(Replaced(ReadBytes(kSource + "/tests/editor/data/new-machine-Telvar.ini"), "@ROOT@", Root()),
                 "@IP@", App().LocalIPAddress);
    EXPECT_EQ(ReadBytes(folder + "Telvar.ini"), expected);
    EXPECT_EQ(ReadBytes(folder + "Iso.ini"), "[INSERT]\r\nOrigine=iso:G90 G40<R>M30|bmp:|Rac:|\r\n");
    EXPECT_FALSE(fs::exists(folder + "maj_auto_telvareurs.exe"));
    // The caller's file as it was, one more machine, and its new entry at the end.
    EXPECT_EQ(ReadBytes(CallerFile(1)),
              Replaced(KalderonFile(), "NbDevice=2", "NbDevice=3") +
                  Crlf("[CNC3]\nName=Tour 123\nDirTreeView=\nPathTelvar=" + folder +
                       "\nPathFileProgOpen=\nPathFileProgSave=\nPathArchive=\nPathFileHead=\nPathFileFeet=\n"
                       "OpenInBD=0\nModeGestionBD=1\nCoefXYZ=\nInsKeyF5=\nInsKeyF6=\nInsKeyF7=\nInsKeyF8=\n"
                       "InsKeyF9=\nInsKeyF10=\nInsKeyF11=\nInsKeyF12=\n[CHAINAGE]\nChainExe=\n"));
}

// The DNC transfer program adds a machine: an entry and a Telvar.ini, but the lists are not saved
// and no server is started (the template has no server program: a start would say so).
TEST_F(ApplyWindow, TransferProgramAddsAMachineWithoutListsOrServer) {
    Workshop(2, 1, false);
    const CallerListener listener(Root());
    Start();
    Type("TxtTelvar_1", "TOUR123");
    Click("cmdExit_2");
    const std::string folder = Servers() + "TOUR123/";
    AddLists();
    ApplyFillingWhatItAsks();
    ASSERT_TRUE(window->LastApply().TelvarWritten) << "stopped on " << Stopped();
    EXPECT_EQ(messages.entries.size(), 1U);
    EXPECT_EQ(listener.Received(), "28679 111 0");
    EXPECT_EQ(Value("DNC", "RefMO", folder + "Telvar.ini"), "TOUR123");
    EXPECT_EQ(Value("PLANS", "ref:P1|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:0|", folder + "Telvar.ini"),
              "<missing>");
    EXPECT_FALSE(fs::exists(folder + "Iso.ini"));
    EXPECT_EQ(Value("HARBIX_MGR", "NbDevice", CallerFile(2)), "3");
    EXPECT_EQ(Value("CNC", "RefMO3", CallerFile(2)), "TOUR123");
}

// A machine whose Telvar.ini a technician edited by hand (comments in code page 1252, keys and a
// section of his own, odd spacing, the lists' sections) is modified through one field and applied
// by each calling program: every byte that the apply does not rewrite is still there.
TEST_F(ApplyWindow, HandEditedMachineKeepsEveryByte) {
    for (const int mode : {1, 2}) {
        SCOPED_TRACE(mode);
        fs::remove_all(dir.path());
        fs::create_directories(dir.path());
        Restart();
        Workshop(mode, 2, false);
        const CallerListener listener(Root());
        const std::string folder = Servers() + "TOUR12/";
        std::string file = ReadBytes(kSource + "/tests/machine/data/complete-machine.ini");
        file =
            Replaced(file, "[TELVAR]\r\n", "; Tour 12, r\xE9gl\xE9 \xE0 la main\r\n[TELVAR]\r\nSocket=5\r\n");
        file = Replaced(file, "RefMO=TOUR1\r\n", "RefMO=TOUR12\r\n  Atelier =  B\xE2timent B\t\r\n");
        file = Replaced(file, "PathData=/data/talm/\r\n", "PathData=" + Root() + "/Data/\r\n");
        file = Replaced(file, "/machines/TOUR1/Cycles.ini", folder + "Cycles.ini");
        file += Crlf("\n[NOTES]\nQui=H\xE9l\xE8ne\n[PLANS]\nref:P1|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:0|\n"
                     "[CANAUX]\nref:C1|Pref:$1|Suff:|Canal:1|\n");
        WriteBytes(folder + "Telvar.ini", file);
        Start();
        ASSERT_EQ(Find<QLineEdit>("TxtTelvar_1")->text(), "TOUR12");
        Type("TxtTelvar_6", "5002"); // "Port d'écoute :"
        Click("cmdExit_0");
        ASSERT_TRUE(window->LastApply().TelvarWritten) << "stopped on " << Stopped();
        EXPECT_TRUE(messages.entries.empty()) << Stopped();
        EXPECT_EQ(listener.Received(), mode == 1 ? "28679 711 0" : "28679 112 0");
        // The changed field, and what the apply always writes anew: the workstation's address, the
        // keys that are written but never read (the manager's port, the control's group: the
        // catalogue of this workstation does not know model 12) and the caller's own value.
        std::string expected = Replaced(file, "PortListen=5001", "PortListen=5002");
        expected = Replaced(expected, "IPserver=192.168.1.20", "IPserver=" + App().LocalIPAddress);
        expected = Replaced(expected, "PortComManager=4000", "PortComManager=0");
        expected = Replaced(expected, "CodeGroupCN=7", "CodeGroupCN=0");
        expected = Replaced(expected, "ModeGestionBD=3", "ModeGestionBD=0");
        EXPECT_EQ(ReadBytes(folder + "Telvar.ini"), expected);
    }
}

// A list whose file refuses the write (the insertion file is a folder) is named in a warning; the
// machine file with its plans and channels, the caller's file and the notification still go out.
TEST_F(ApplyWindow, RefusedListIsReportedAndTheRestWritten) {
    Workshop(1, 2, false);
    const CallerListener listener(Root());
    const std::string folder = Servers() + "TOUR12/";
    WriteBytes(folder + "Telvar.ini", Crlf("[DNC]\nRefMO=TOUR12\nPathIsoIni=" + folder + "Iso.ini\n"));
    fs::create_directories(folder + "Iso.ini");
    Start();
    AddLists();
    ApplyFillingWhatItAsks();
    ASSERT_TRUE(window->LastApply().TelvarWritten) << "stopped on " << Stopped();
    EXPECT_FALSE(window->LastApply().ListsSaved);
    EXPECT_TRUE(messages.Only("Problème durant l'écriture du fichier " + folder + "Iso.ini", IconWarning));
    EXPECT_NE(
        ReadBytes(folder + "Telvar.ini").find("[PLANS]\r\nref:P1|LadX:X|LadY:Z|CoeffX:1|CoeffY:2|R:0|\r\n"),
        std::string::npos);
    EXPECT_EQ(listener.Received(), "28679 711 0");
}

// Load with an empty folder field asks for a file (cancelling loads nothing), makes that machine's
// server folder from the template and shows the file; export copies the machine's file.
TEST_F(ApplyWindow, LoadAndExportThroughTheWindow) {
    Workshop(1, 1, false);
    WriteBytes(dir / "Ailleurs/F9.ini", "[DNC]\r\nRefMO=F9\r\n[TELVAR]\r\nPortListen=6001\r\n");
    Start();
    FakeDialogs dialogs;
    Click("cmdExit_9");
    EXPECT_EQ(dialogs.titles, std::vector<QString>{"Fichier de configuration du port Com"});
    EXPECT_EQ(Find<QLineEdit>("TxtTelvar_1")->text(), "");

    dialogs.answer = QString::fromStdString(dir / "Ailleurs/F9.ini");
    Click("cmdExit_9");
    const std::string folder = Servers() + "F9/";
    EXPECT_EQ(Find<QLineEdit>("TxtTelvar_48")->text().toStdString(), folder);
    EXPECT_EQ(Find<QLineEdit>("TxtTelvar_1")->text(), "F9");
    EXPECT_EQ(Find<QLineEdit>("TxtTelvar_6")->text(), "6001");
    EXPECT_TRUE(fs::exists(folder + "Telvar.ini")); // the template's copy

    dialogs.answer = QString::fromStdString(dir / "Export");
    fs::create_directories(dir / "Export");
    Click("cmdExit_10");
    EXPECT_EQ(ReadBytes(dir / "Export/F9.ini"), ReadBytes(folder + "Telvar.ini"));
    EXPECT_EQ(dialogs.titles.back(), "Sélectionnez le répertoire pour l'export...");
    EXPECT_EQ(messages.entries.size(), 1U); // the question of the server folder
}

// Every machine of the demo workshop applies as it stands, for each calling program: no field
// that a real machine leaves empty stops the apply.
TEST_F(ApplyWindow, DemoMachinesApplyAsTheyStand) {
    for (const int mode : {1, 2}) {
        for (const int index : {1, 2, 3}) {
            SCOPED_TRACE(std::to_string(mode) + "/" + std::to_string(index));
            fs::remove_all(dir.path());
            fs::copy(kSource + "/examples/workshop", dir.path(), fs::copy_options::recursive);
            for (const auto& entry : fs::recursive_directory_iterator(dir.path()))
                if (entry.is_regular_file())
                    WriteBytes(entry.path().string(),
                               Replaced(ReadBytes(entry.path().string()), "@WORKSHOP@", Root()));
            std::string handOff = ReadBytes(dir / "exe/Kirva.ini");
            handOff = Replaced(handOff, "CurrentIndexMO=1", "CurrentIndexMO=" + std::to_string(index));
            if (mode == 2) { // the transfer program's file names the same machines and folders
                WriteBytes(dir / "Harbix.ini", HarbixFile({"TOUR_T01", "FRAISEUSE_F02", "MULTI_M03"}));
                handOff = Replaced(handOff, "Mode=1", "Mode=2");
                handOff = Replaced(handOff, Root() + "/Kalderon/Kalderon.ini", dir / "Harbix.ini");
            }
            WriteBytes(dir / "exe/Kirva.ini", handOff);
            Restart();
            Start();
            QCoreApplication::processEvents();
            EXPECT_EQ(window->ChangedFieldCount(), 0); // a machine shown as read has no change
            EXPECT_FALSE(window->windowTitle().endsWith(QStringLiteral(" *")));
            Click("cmdExit_0");
            EXPECT_TRUE(window->LastApply().TelvarWritten) << "stopped on " << Stopped();
            EXPECT_TRUE(messages.entries.empty()) << Stopped();
        }
    }
}

} // namespace
} // namespace kirva::test
