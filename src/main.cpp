// Kirva's entry point: runs start-up and, when it asks for it, shows the window.
//
// Environment variables for automation:
//   KIRVA_MESSAGES=stderr      every message is one line "<icon>: <text>" on standard error and
//                              every question is answered No (no message box is shown).
//   KIRVA_EXIT_WHEN_SHOWN=1    once the window is shown, its title is printed on standard output
//                              and the program ends with exit code 0.
//
// Switch of the window (beside /MRV):
//   --screenshots DIR          opens the machine as usual, renders every panel at 1280x800 to
//                              DIR/<panel number>.png (1.png, 1.1.png, ... 7.png) and ends
//                              (exit code 1 when a picture cannot be written). Works offscreen.
#include <QApplication>
#include <QTimer>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/ProgramSettings.h"
#include "app/Startup.h"
#include "editor/QtMessageService.h"
#include "editor/WindowFrame.h"
#include "editor/frmKirva.h"
#include "platform/platform.h"
#include "translate/messages.h"
#include "translate/translate.h"

namespace {

bool ExitWhenShown() {
    const char* v = std::getenv("KIRVA_EXIT_WHEN_SHOWN");
    return v != nullptr && std::strcmp(v, "1") == 0;
}

// The arguments of the program other than the start switch, in order, as given (before Qt
// looks at the command line). Switches of the window layer are taken from this list.
std::vector<std::string> PassedOnArguments(int argc, char** argv) {
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a.find("/MRV") == std::string::npos) args.push_back(std::move(a));
    }
    return args;
}

} // namespace

int main(int argc, char** argv) {
    using namespace kirva;

    // Taken before QApplication parses (and may shorten) argv.
    const std::vector<std::string> arguments = PassedOnArguments(argc, argv);
    StartupInput input;
    input.CommandLine = platform::CommandLine(argc, argv);
    input.StartFolder = platform::ExecutableFolder();

    // Qt gets its own copy of the arguments so that what it removes cannot affect ours.
    std::vector<std::string> qtArgStore(argv, argv + argc);
    std::vector<char*> qtArgv;
    for (auto& a : qtArgStore) qtArgv.push_back(a.data());
    qtArgv.push_back(nullptr);
    int qtArgc = argc;

    std::unique_ptr<QApplication> application;
    QtMessageService boxes;
    input.OnStarting = [&] {
        application = std::make_unique<QApplication>(qtArgc, qtArgv.data());
        QApplication::setApplicationName(QStringLiteral("Kirva"));
        if (!MessagesToStandardError()) SetMessageService(&boxes);
    };

    const StartupAction action = Startup(input, App());
    if (action != StartupAction::ShowWindow || !application) {
        SetMessageService(nullptr);
        return 0;
    }
    QString screenshots;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == "--screenshots") screenshots = QString::fromStdString(arguments[i + 1]);
    }

    // Qt's own dialogs and standard buttons speak the language of the dictionary in use.
    const std::unique_ptr<QTranslator> qtTranslations =
        InstallQtTranslations(TK_TRANSLATE::Shared().PathDico());

    int exitCode = 0;
    {
        frmKirva window(App());
        if (!screenshots.isEmpty()) {
            window.resize(1280, 800);
            window.show();
            QString error;
            const bool saved = window.SaveScreenshots(screenshots, &error);
            if (!saved) std::fprintf(stderr, "kirva: %s\n", error.toUtf8().constData());
            SetMessageService(nullptr);
            return saved ? 0 : 1;
        }
        window.show();
        if (ExitWhenShown()) {
            QTimer::singleShot(0, &window, [&window] {
                std::printf("%s\n", window.windowTitle().toUtf8().constData());
                std::fflush(stdout);
                QApplication::exit(0);
            });
        }
        exitCode = QApplication::exec();
    }
    SetMessageService(nullptr);
    return exitCode;
}
