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

// Why the server folder's button waits: its folder is named after the reference.
constexpr const char* kReferenceFirst =
    "Saisissez d'abord la référence de la machine : le dossier porte son nom.";

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
        if (member == 2) {
            enabled = enabled && referenceTyped_;
            button->setToolTip(enabled ? QString() : Tr(kReferenceFirst));
        }
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
