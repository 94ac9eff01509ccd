// frmKirva: the buttons (command buttons cmdExit, browse and test buttons, the service group's
// buttons) and what they run.
#include "editor/QtText.h"
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QVBoxLayout>

#include "editor/BrowseTable.h"
#include "editor/FieldRules.h"
#include "editor/IsoInsertPanel.h"
#include "editor/frmKirva.h"
#include "ini/helpers.h"
#include "translate/translate.h"

namespace kirva {

namespace {

// Captions of the command buttons cmdExit 0..13 (member 0 is set to "&Ajouter" or "&Modifier").
constexpr std::array<const char*, 14> kCommandCaptions{"&Ajouter",
                                                       "&Annuler",
                                                       "&Créer...",
                                                       "&Créer...",
                                                       "&Ping !",
                                                       "Paramètres standards",
                                                       "Paramètres standards",
                                                       "&Ok",
                                                       "&Créer...",
                                                       "&Charger...",
                                                       "&Exporter...",
                                                       "&Executer",
                                                       "&Stopper",
                                                       "&Créer..."};

// The service panel's buttons CmdService 1..5.
constexpr std::array<const char*, 5> kServiceCaptions{"Installer le service", "Etat du service",
                                                      "Désinstaller le service", "Démarrer le service",
                                                      "Arrêter le service"};

} // namespace

// ====================================================================== making the buttons

QPushButton* frmKirva::CommandButton(int member) {
    auto* button = new QPushButton(QString::fromUtf8(kCommandCaptions[static_cast<std::size_t>(member)]));
    button->setObjectName(Q(ControlName("cmdExit", member)));
    button->setEnabled(false);
    controls_.insert(button->objectName(), button);
    connect(button, &QPushButton::clicked, this, [this, member] { RunCommand(member); });
    return button;
}

QPushButton* frmKirva::BrowseButton(const BrowseDef& def) {
    const bool test = def.Kind == BrowseKind::SerialTest;
    auto* button = new QPushButton(test ? QStringLiteral("Tester le port") : QStringLiteral("Parcourir..."));
    const QString name = Q(ControlName(def.Button, def.Member));
    button->setObjectName(name);
    if (!test) button->setToolTip(Tr(def.Title));
    controls_.insert(name, button);
    const QString array = QString::fromUtf8(def.Button);
    const int member = def.Member;
    connect(button, &QPushButton::clicked, this, [this, array, member] { Browse(array, member); });
    return button;
}

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
        // The service commands are wired with the service module; until then they stay disabled.
        button->setEnabled(false);
        controls_.insert(button->objectName(), button);
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

// ====================================================================== running them

void frmKirva::SetCommandAction(int member, std::function<void()> action) {
    if (member < 0 || member >= static_cast<int>(commandActions_.size())) return;
    commandActions_[static_cast<std::size_t>(member)] = std::move(action);
    UpdateApplyButtons();
}

void frmKirva::UpdateApplyButtons() {
    for (int member = 0; member < static_cast<int>(commandActions_.size()); ++member) {
        QWidget* button = Control(QStringLiteral("cmdExit"), member);
        if (button == nullptr) continue;
        bool enabled = static_cast<bool>(commandActions_[static_cast<std::size_t>(member)]);
        // The server folder can be made once the machine has a reference (one key behind).
        if (member == 2) enabled = enabled && referenceTyped_;
        button->setEnabled(enabled);
    }
}

void frmKirva::RunCommand(int member) {
    const auto& action = commandActions_[static_cast<std::size_t>(member)];
    if (action) action();
}

void frmKirva::Browse(const QString& button, int member) {
    const BrowseDef* def = FindBrowse(button.toStdString(), member);
    if (def == nullptr) return;
    QWidget* target = Control(QString::fromUtf8(def->Target), def->TargetMember);
    if (def->Kind == BrowseKind::SerialTest) {
        if (auto* port = qobject_cast<QComboBox*>(target))
            TestSerialPortAndTell(PortNumberOf(port->currentText()));
        return;
    }
    auto* field = qobject_cast<QLineEdit*>(target);
    if (field == nullptr) return;
    const QString title = Tr(def->Title);
    QString start = MachineFolder();
    if (def->Kind != BrowseKind::IsoFile && !field->text().trimmed().isEmpty()) {
        const QFileInfo current(QDir::fromNativeSeparators(field->text().trimmed()));
        start = def->Kind == BrowseKind::Folder ? current.filePath() : current.path();
    }
    if (def->Kind == BrowseKind::Folder) {
        const auto chosen = Dialogs().SelectFolder(this, title, start);
        if (!chosen) return;
        field->setText(Q(AddTrailingBackslash(QDir::toNativeSeparators(*chosen).toStdString())));
        return;
    }
    const auto chosen = Dialogs().OpenFile(this, title, start, AllFilesFilter());
    if (!chosen) return;
    field->setText(QDir::toNativeSeparators(*chosen));
    if (def->Kind == BrowseKind::IsoFile) ReloadIsoInsertions(field->text());
}

void frmKirva::ReloadIsoInsertions(const QString& path) {
    isoInsert_->Load(path.toStdString());
}

QString frmKirva::MachineFolder() const {
    if (!machineDir_.isEmpty()) return machineDir_;
    if (auto* folder = qobject_cast<QLineEdit*>(Control(QStringLiteral("TxtTelvar"), 48)))
        return folder->text();
    return QString();
}

} // namespace kirva
