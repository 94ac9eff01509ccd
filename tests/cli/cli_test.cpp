// kirva-cli as a script sees it: the real executable run on the demo workshop and on generated
// workshops with one planted fault each, its output and its exit code.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <sys/wait.h>

#include "editor/workshop.h" // bench/: the demo workshop copied as scripts/run makes it
#include "support/GeneratedWorkshop.h"
#include "support/ScopedEnv.h"
#include "support/TempDir.h"

namespace kirva::test {
namespace {

namespace fs = std::filesystem;

// The line number of the first line of a file that starts with text.
std::string LineOf(const std::string& path, const std::string& text) {
    const std::string bytes = ReadBytes(path);
    const auto at = bytes.find("\n" + text);
    return std::to_string(std::count(bytes.begin(), bytes.begin() + static_cast<long>(at) + 1, '\n') + 1);
}

struct Result {
    int code;
    std::string out, err;
};

class CliTest : public ::testing::Test {
  protected:
    Result Run(const std::string& arguments) {
        const std::string out = dir / "stdout", err = dir / "stderr";
        const int status =
            std::system(("'" KIRVA_CLI_BINARY "' " + arguments + " >'" + out + "' 2>'" + err + "'").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(out), ReadBytes(err)};
    }
    // Every file of a folder with its bytes: what "nothing written" compares.
    static std::map<std::string, std::string> Snapshot(const fs::path& root) {
        std::map<std::string, std::string> files;
        for (const auto& e : fs::recursive_directory_iterator(root))
            if (e.is_regular_file()) files[e.path().string()] = ReadBytes(e.path().string());
        return files;
    }

    TempDir dir;
    ScopedEnv registry{"KIRVA_REGISTRY", dir / "registry.ini"};
    ScopedEnv ports{"KIRVA_SERIAL_PORTS", "/dev/null:/dev/null"}; // COM1 and COM2 exist, COM3 does not
    ScopedEnv colours{"NO_COLOR", "1"};
};

TEST_F(CliTest, DemoWorkshopIsListedAndClean) {
    bench::DemoWorkshop demo("kirva-cli-demo");
    const std::string root = demo.Root().string();
    const Result list = Run("list " + root);
    EXPECT_EQ(list.code, 0) << list.err;
    EXPECT_EQ(list.out, "N°  Référence      Type                    Dossier" +
                            std::string(root.size() + 17, ' ') +
                            "Port  COM   Fichier\n"
                            "1   TOUR_T01       Bloc à Bloc             " +
                            root +
                            "/Telvar/TOUR_T01/       5001  COM1  oui\n"
                            "2   FRAISEUSE_F02  Client FTP              " +
                            root +
                            "/Telvar/FRAISEUSE_F02/  5002  -     oui\n"
                            "3   MULTI_M03      Copier/Coller - TCP/IP  " +
                            root + "/Telvar/MULTI_M03/      5003  -     oui\n");
    const Result check = Run("check " + root);
    EXPECT_EQ(check.code, 0) << check.out;
    EXPECT_EQ(check.out, "3 machine(s) vérifiée(s) : aucun problème.\n");
}

// One fault planted in a clean generated workshop: the one line check prints for it.
struct Fault {
    const char* name;
    std::function<void(const GeneratedWorkshop&)> plant;
    std::function<std::string(const GeneratedWorkshop&)> line; // expected output line
};

std::string At(const GeneratedWorkshop& w, int n, const std::string& lineText) {
    return w.MachineFile(n) + ":" + LineOf(w.MachineFile(n), lineText) + ": ";
}

TEST_F(CliTest, EachPlantedFaultIsOneLineAndExitCodeOne) {
    using W = GeneratedWorkshop;
    const std::vector<Fault> faults = {
        {"missing file", [](const W& w) { fs::remove(w.MachineFile(2)); },
         [](const W& w) { return w.MachineFile(2) + ": Le fichier de la machine n'existe pas. (missing)"; }},
        {"folder as file",
         [](const W& w) { fs::remove(w.MachineFile(2)), fs::create_directory(w.MachineFile(2)); },
         [](const W& w) {
             return w.MachineFile(2) +
                    ": Ce n'est pas un fichier (un dossier ou un périphérique). (unreadable)";
         }},
        {"out of range", [](const W& w) { W::Set(w.MachineFile(3), "COMM", "TimeOut", "99999999999"); },
         [](const W& w) {
             return At(w, 3, "TimeOut=") +
                    "[COMM] TimeOut: 99999999999 est hors des limites de la clé (-2147483648 à 2147483647) : "
                    "l'éditeur arrête là sa lecture du fichier. (value)";
         }},
        {"not a number", [](const W& w) { W::Set(w.MachineFile(3), "SYNTAXE_MO", "NbPot", "12a"); },
         [](const W& w) {
             return At(w, 3, "NbPot=") +
                    "[SYNTAXE_MO] NbPot: « 12a » n'est pas un nombre : l'éditeur lit 12. (value)";
         }},
        {"outside vocabulary", [](const W& w) { W::Set(w.MachineFile(1), "DNC", "Methode", "22"); },
         [](const W& w) {
             return At(w, 1, "Methode=") + "[DNC] Methode: « 22 » n'est pas une valeur de la liste « Méthode "
                                           "de transfert » : le champ reste vide. (value)";
         }},
        {"misspelt key", [](const W& w) { W::Set(w.MachineFile(1), "SYNTAXE_MO", "LaddY", "Y"); },
         [](const W& w) {
             return At(w, 1, "LaddY=") +
                    "[SYNTAXE_MO] LaddY: Clé inconnue LaddY : la plus proche est ladY. (unknown-key)";
         }},
        {"same TCP port", [](const W& w) { W::Set(w.MachineFile(3), "TELVAR", "PortListen", "5001"); },
         [](const W& w) {
             return At(w, 3, "PortListen=") +
                    "[TELVAR] PortListen: Le port TCP 5001 est aussi celui de MACHINE_0001. (tcp-port)";
         }},
        {"same serial port",
         [](const W& w) {
             W::Set(w.MachineFile(1), "COMM", "NumPort", "2"),
                 W::Set(w.MachineFile(4), "COMM", "NumPort", "2");
         },
         [](const W& w) {
             return At(w, 4, "NumPort=") +
                    "[COMM] NumPort: Le port COM2 est aussi celui de MACHINE_0001. (serial-port)";
         }},
        {"missing serial port", [](const W& w) { W::Set(w.MachineFile(2), "COMM", "NumPort", "3"); },
         [](const W& w) {
             return At(w, 2, "NumPort=") +
                    "[COMM] NumPort: Le port COM3 n'existe pas sur ce poste. (no-serial-port)";
         }},
        {"reference inside another",
         [](const W& w) { W::Set(w.CallerFile(), "CNC4", "Name", "MACHINE_0001B"); },
         [](const W& w) {
             return w.CallerFile() + ":" + LineOf(w.CallerFile(), "Name=MACHINE_0001B") +
                    ": La référence MACHINE_0001 est contenue dans MACHINE_0001B : l'éditeur refuserait de "
                    "créer l'une à côté de l'autre. (reference)";
         }},
        {"channels against their count", [](const W& w) { W::Set(w.MachineFile(2), "DNC", "NbCanaux", "2"); },
         [](const W& w) {
             return At(w, 2, "NbCanaux=") +
                    "[DNC] NbCanaux: NbCanaux vaut 2 mais la section [CANAUX] a 1 ligne(s). (list-count)";
         }},
        {"insertion named twice",
         [](const W& w) { W::Append(w.MachineFolder(1) + "Iso.ini", "Origine=iso:M30|bmp:|Rac:|\r\n"); },
         [](const W& w) {
             return w.MachineFolder(1) +
                    "Iso.ini:4: [INSERT] Origine: Le nom « Origine » figure deux fois dans [INSERT] : "
                    "l'éditeur ne montre que le dernier (ligne 4). (list-line)";
         }},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        const fs::path root = dir.path() / fault.name;
        fs::create_directories(root);
        GeneratedWorkshop workshop(root, 4);
        fault.plant(workshop);
        const Result check = Run("check '" + workshop.CallerFile() + "'");
        EXPECT_EQ(check.code, 1);
        EXPECT_EQ(check.out, fault.line(workshop) + "\n1 problème(s) dans 4 machine(s) vérifiée(s).\n");
    }
}

TEST_F(CliTest, DiffPrintsOnlyDifferencesAndExportCopiesAreIdentical) {
    GeneratedWorkshop workshop(dir.path(), 3);
    const std::string shop = " --workshop '" + workshop.CallerFile() + "'";
    GeneratedWorkshop::Write(workshop.MachineFile(2),
                             GeneratedWorkshop::Replaced(ReadBytes(workshop.MachineFile(2)), "R:0|", "R:1|"));
    const Result diff = Run("diff MACHINE_0001 machine_0002" + shop);
    EXPECT_EQ(diff.code, 1) << diff.err;
    EXPECT_EQ(diff.out, "[1 Général] Port d'écoute (TELVAR PortListen) : « 5001 » → « 5002 »\n"
                        "[1 Général] Référence machine (DNC RefMO) : « MACHINE_0001 » → « MACHINE_0002 »\n"
                        "[6 PDC] Plans (PLANS XZ) : « ref:XZ|LadX:X|LadY:Z|CoeffX:1|CoeffY:1|R:0| » → « "
                        "ref:XZ|LadX:X|LadY:Z|CoeffX:1|CoeffY:1|R:1| »\n");

    const fs::path exported = dir.path() / "export";
    const Result out = Run("export '" + workshop.CallerFile() + "' '" + exported.string() + "'");
    EXPECT_EQ(out.code, 0) << out.err;
    for (int n = 1; n <= 3; ++n) {
        const std::string copy = (exported / (GeneratedWorkshop::Reference(n) + ".ini")).string();
        EXPECT_EQ(ReadBytes(copy), ReadBytes(workshop.MachineFile(n)));
        const Result same = Run("diff '" + copy + "' '" + workshop.MachineFolder(n) + "'");
        EXPECT_EQ(same.code, 0);
        EXPECT_EQ(same.out, "");
    }
    EXPECT_EQ(ReadBytes((exported / "Index.ini").string()),
              "[EXPORT]\r\nSource=" + workshop.CallerFile() +
                  "\r\nNbDevice=3\r\n"
                  "[CNC1]\r\nRefMO=MACHINE_0001\r\nFile=MACHINE_0001.ini\r\nEntry=1\r\nPathTelvar=" +
                  workshop.MachineFolder(1) +
                  "\r\n"
                  "[CNC2]\r\nRefMO=MACHINE_0002\r\nFile=MACHINE_0002.ini\r\nEntry=2\r\nPathTelvar=" +
                  workshop.MachineFolder(2) +
                  "\r\n"
                  "[CNC3]\r\nRefMO=MACHINE_0003\r\nFile=MACHINE_0003.ini\r\nEntry=3\r\nPathTelvar=" +
                  workshop.MachineFolder(3) + "\r\n");
    // The copies hold the FTP password: nobody else may read them.
    EXPECT_EQ(fs::status(exported / "MACHINE_0001.ini").permissions() & fs::perms::others_all,
              fs::perms::none);
    // An unreadable machine is reported and the others are exported; nothing of the workshop changes.
    fs::remove(workshop.MachineFile(2));
    const auto workshopBefore = Snapshot(dir.path() / "Telvar");
    const Result partial = Run("export '" + workshop.CallerFile() + "' '" + (dir / "export2") + "'");
    EXPECT_EQ(partial.code, 1);
    EXPECT_NE(partial.err.find(workshop.MachineFile(2) + ": Le fichier de la machine n'existe pas."),
              std::string::npos);
    EXPECT_TRUE(fs::exists(dir.path() / "export2" / "MACHINE_0003.ini"));
    EXPECT_EQ(Run("export '" + workshop.CallerFile() + "' '" + workshop.MachineFolder(1) + "'").code, 2);
    Run("check '" + workshop.CallerFile() + "'");
    Run("list --json '" + workshop.CallerFile() + "'");
    EXPECT_EQ(Snapshot(dir.path() / "Telvar"), workshopBefore);
}

TEST_F(CliTest, UsageErrorsExitWithTwo) {
    const struct {
        const char* arguments;
        int code;
        const char* says;
    } cases[] = {
        {"", 2, "Usage : kirva-cli <commande>"},
        {"--help", 0, "Commandes :"},
        {"check --help", 0, "Usage : kirva-cli check"},
        {"frobnicate x", 2, "commande inconnue frobnicate."},
        {"list --fast x", 2, "option inconnue --fast."},
        {"diff only-one", 2, "diff attend deux machines."},
        {"list /nonexistent/workshop", 2, "/nonexistent/workshop n'existe pas."},
        {"diff A B", 2, "A n'existe pas (une référence de machine demande --workshop)."},
        {"check --color=sometimes x", 2, "--color attend auto, always ou never."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Result r = Run(c.arguments);
        EXPECT_EQ(r.code, c.code);
        EXPECT_NE((r.out + r.err).find(c.says), std::string::npos) << r.out << r.err;
    }
}

TEST_F(CliTest, JsonNamesEveryFindingForScripts) {
    GeneratedWorkshop workshop(dir.path(), 2);
    EXPECT_EQ(Run("check --json '" + workshop.CallerFile() + "'").out, "{\"machines\":2,\"findings\":[]}\n");
    GeneratedWorkshop::Set(workshop.MachineFile(2), "COMM", "Parite", "X\"");
    const Result r = Run("check --json '" + workshop.CallerFile() + "'");
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(
        r.out,
        "{\"machines\":2,\"findings\":[{\"kind\":\"value\",\"file\":\"" + workshop.MachineFile(2) +
            "\",\"line\":" + LineOf(workshop.MachineFile(2), "Parite=") +
            ",\"section\":\"COMM\",\"key\":\"Parite\",\"message\":\"« X\\\" » n'est pas une valeur de la "
            "liste « Parité » : le champ reste vide.\"}]}\n");
}

} // namespace
} // namespace kirva::test
