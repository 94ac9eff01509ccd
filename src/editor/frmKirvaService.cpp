// frmKirva: the service panel (service name, the buttons CmdService 1..5 and the log RtbServices).
#include "editor/QtText.h"
#include <QApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QVBoxLayout>
#include <array>
#include <functional>
#include <string>

#include "app/MachineCommands.h"
#include "editor/FieldRules.h"
#include "editor/WaitCursor.h"
#include "editor/frmKirva.h"
#include "ini/helpers.h"
#include "platform/platform.h"
#include "service/TK_SERVICE.h"
#include "translate/messages.h"

namespace kirva {

namespace {

// The service panel's buttons CmdService 1..5.
constexpr std::array<const char*, 5> kServiceCaptions{"Installer le service", "Etat du service",
                                                      "Désinstaller le service", "Démarrer le service",
                                                      "Arrêter le service"};

constexpr const char* kUninstallQuestion = "Voulez vous désinstaller le service";
constexpr const char* kRestartNeeded =
    "Vous devez redémarrer l'ordinateur pour terminer la désinstallation du service.";
constexpr const char* kNoServerFolder =
    "Indiquez le dossier du Telvareur (Dossier Port DNC) avant d'installer le service.";

// A log in the box, one line per line whatever its line ends (the commands print CR LF or LF).
void ShowLog(QTextEdit* box, const std::string& log) {
    QString text = QString::fromStdString(log);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    box->setPlainText(text);
}

} // namespace

QWidget* frmKirva::ServiceGroup() {
    auto* box = new QGroupBox(QStringLiteral("Service du Telvareur"));
    box->setObjectName(QStringLiteral("fraService"));
    auto* l = new QVBoxLayout(box);
    auto* form = new QFormLayout;
    auto* name = new QLineEdit;
    name->setObjectName(QStringLiteral("TxtService"));
    auto* label = new QLabel(QStringLiteral("Nom du service :"));
    label->setObjectName(QStringLiteral("lbl_TxtService"));
    label->setBuddy(name);
    form->addRow(label, name);
    l->addLayout(form);
    auto* buttons = new QHBoxLayout;
    for (int member = 1; member <= 5; ++member) {
        auto* button =
            new QPushButton(QString::fromUtf8(kServiceCaptions[static_cast<std::size_t>(member - 1)]));
        button->setObjectName(Q(ControlName("CmdService", member)));
        controls_.insert(button->objectName(), button);
        connect(button, &QPushButton::clicked, this, [this, member] { RunServiceCommand(member); });
        buttons->addWidget(button);
    }
    buttons->addStretch();
    l->addLayout(buttons);
    auto* log = new QTextEdit;
    log->setObjectName(QStringLiteral("RtbServices"));
    log->setReadOnly(true);
    log->setMinimumHeight(220);
    l->addWidget(log);
    return box;
}

void frmKirva::RunServiceCommand(int member) {
    auto* nameBox = findChild<QLineEdit*>(QStringLiteral("TxtService"));
    auto* logBox = findChild<QTextEdit*>(QStringLiteral("RtbServices"));
    if (nameBox == nullptr || logBox == nullptr) return;
    const std::string name = Trim(nameBox->text().toStdString());
    if (!TK_SERVICE::ValidServiceName(name)) {
        logBox->clear();
        ShowMessage(TK_SERVICE::kInvalidServiceName, IconCritical);
        nameBox->setFocus();
        return;
    }
    const TK_SERVICE::ServiceContext context{state_.ExeFolder, MachineFolder().toStdString()};
    std::function<std::string()> command;
    switch (member) {
    case 1: {
        const std::string folder = Trim(FieldText(QStringLiteral("TxtTelvar"), 48).toStdString());
        if (folder.empty()) {
            logBox->clear();
            ShowMessage(kNoServerFolder, IconCritical);
            return;
        }
        const std::string server =
            ServerProgramIn(folder).value_or(AddTrailingBackslash(folder) + "telvar.exe");
        command = [&, server] { return TK_SERVICE::InstallService(context, name, server); };
        break;
    }
    case 2:
        command = [&] { return TK_SERVICE::QueryService(context, name); };
        break;
    case 3:
        if (ShowMessage(kUninstallQuestion, IconQuestion, MsgButtons::YesNo) != MsgAnswer::Yes) {
            logBox->clear();
            return;
        }
        command = [&] { return TK_SERVICE::DeleteService(context, name); };
        break;
    case 4:
        command = [&] { return TK_SERVICE::StartService(context, name); };
        break;
    case 5:
        command = [&] { return TK_SERVICE::StopService(context, name); };
        break;
    default:
        return;
    }
    std::string log;
    {
        const WaitCursor wait;
        log = command();
    }
    ShowLog(logBox, log);
    if (member == 3) ShowMessage(kRestartNeeded, IconInformation);
}

} // namespace kirva
