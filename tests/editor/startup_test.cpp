// Start-up, observed from outside: the real kirva program is copied into a fresh folder and run
// offscreen, with messages on standard error and an exit as soon as its window is shown. The
// decisions of start-up themselves are tested in the core suite (tests/app/Startup_test.cpp);
// here the program's command line, its message box and the window's title are.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <regex>
#include <string>

#include "support/TempDir.h"

namespace kirva {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using test::WriteBytes;

constexpr const char* kMissingSettings = "48: Le fichier Kirva.ini est introuvable !\n";

std::string Version() {
    return std::to_string(KIRVA_VERSION_MAJOR) + "." + std::to_string(KIRVA_VERSION_MINOR) + ".0." +
           std::to_string(KIRVA_VERSION_REVISION);
}
const std::string kModifyTitle =
    "Configuration des Connexions Machines - Version " + Version() + " - Configurer...";

// The hand-off file of the program manager, modifying machine 1; "@ROOT@" stands for the
// installation's folder.
constexpr const char* kHandOff =
    "[KIRVA]\nMode=1\nAppCalling=2\nCurrentIndexMO=1\nNbDevice=1\nPathDirData=@ROOT@/Data/\n"
    "DefaultPathDirTelvar=@ROOT@/Telvar/\nPathAppCallingIni=@ROOT@/Kalderon/"
    "Kalderon.ini\n[CNC]\nRefMO1=TOUR\n";

// True when standard error holds a message line ("<icon>: <text>").
bool HasMessage(const std::string& err) {
    static const std::regex line("(^|\n)(0|16|32|48|64): ");
    return std::regex_search(err, line);
}

struct Outcome {
    int exitCode = -1;
    bool finished = false;
    std::string out, err;
};

// A scratch installation in a fresh temporary folder: a copy of the program in "exe", the
// program manager's settings file (machine 1 without a folder of its own), and the installation's
// own runtime folder and registry file.
class Installation {
  public:
    Installation() {
        fs::create_directories(root_.path() / "exe");
        fs::create_directories(root_.path() / "run");
        fs::permissions(root_.path() / "run", fs::perms::owner_all);
        fs::copy_file(KIRVA_BINARY, program_, fs::copy_options::overwrite_existing);
        fs::permissions(program_, fs::perms::owner_all, fs::perm_options::add);
        Write("Kalderon/Kalderon.ini", "[KALDERON]\nLangue=FR.lng\n[CNC1]\nName=TOUR\nPathTelvar=\n");
    }

    fs::path RuntimeFolder() const { return root_.path() / "run"; }
    // A file of the installation: line ends made CR LF, "@ROOT@" replaced by its folder.
    void Write(const std::string& relative, const std::string& content) const {
        std::string text;
        for (char c : content) text += c == '\n' ? std::string("\r\n") : std::string(1, c);
        for (std::size_t at; (at = text.find("@ROOT@")) != std::string::npos;)
            text.replace(at, 6, root_.path().string());
        WriteBytes((root_.path() / relative).string(), text);
    }

    Outcome Run(const QStringList& arguments) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("KIRVA_MESSAGES", "stderr");
        env.insert("KIRVA_EXIT_WHEN_SHOWN", "1");
        env.insert("XDG_RUNTIME_DIR", QString::fromStdString(RuntimeFolder().string()));
        env.insert("XDG_CONFIG_HOME", QString::fromStdString((root_.path() / "config").string()));
        env.insert("KIRVA_REGISTRY", QString::fromStdString((root_.path() / "registry.ini").string()));
        QProcess process;
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(QString::fromStdString(root_.path().string()));
        process.start(QString::fromStdString(program_.string()), arguments);
        Outcome outcome;
        if (!process.waitForStarted(30000)) return outcome;
        outcome.finished = process.waitForFinished(60000);
        if (!outcome.finished) process.kill();
        outcome.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        outcome.out = process.readAllStandardOutput().toStdString();
        outcome.err = process.readAllStandardError().toStdString();
        return outcome;
    }

  private:
    TempDir root_;
    fs::path program_ = root_.path() / "exe" / "kirva";
};

// Each run ends with exit code 0: with the hand-off file the window is shown (its title printed) and
// nothing is said; without it no window is shown and the message is on standard error.
TEST(StartupTest, EndsOrShowsTheWindow) {
    for (const bool handOff : {true, false}) {
        SCOPED_TRACE(handOff ? "switch among other arguments" : "missing hand-off file");
        Installation install;
        if (handOff) install.Write("exe/Kirva.ini", kHandOff);
        const Outcome outcome =
            install.Run(handOff ? QStringList{"-platform", "offscreen", "/MRV", "x"} : QStringList{"/MRV"});
        ASSERT_TRUE(outcome.finished) << outcome.err;
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.out, handOff ? kModifyTitle + "\n" : "");
        EXPECT_EQ(HasMessage(outcome.err), !handOff) << outcome.err;
        EXPECT_EQ(outcome.err.find(kMissingSettings) != std::string::npos, !handOff) << outcome.err;
    }
}

TEST(StartupTest, TitleInTheProgramManagersLanguage) {
    Installation install;
    install.Write("exe/Kirva.ini", kHandOff);
    install.Write("Kalderon/Kalderon.ini", "[KALDERON]\nLangue=EN.lng\n[CNC1]\nName=TOUR\n");
    install.Write("Kalderon/Lng/EN.lng", "[KIRVA]\nConfiguration des Connexions Machines - Version x1x -="
                                         "Machine Connections - Version x1x -\nConfigurer...=Configure...\n");
    const Outcome outcome = install.Run({"/MRV"});
    EXPECT_EQ(outcome.out, "Machine Connections - Version " + Version() + " - Configure...\n") << outcome.err;
}

} // namespace
} // namespace kirva
