// frmKirva: what the command buttons cmdExit run: the apply and the cancel, the server folder
// from the template, the program folders, the standard values, the channel's "&Ok", loading and
// exporting a machine file, and the start and stop of the communication server.
#include "editor/QtText.h"
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QStackedWidget>
#include <array>

#include "app/Apply.h"
#include "app/Backup.h"
#include "app/CallerSettings.h"
#include "app/MachineCommands.h"
#include "editor/ActivityChannelsPanel.h"
#include "editor/BrowseTable.h"
#include "editor/ChannelsPanel.h"
#include "editor/IsoInsertPanel.h"
#include "editor/PingWidgets.h"
#include "editor/PlansPanel.h"
#include "editor/RestoreDialog.h"
#include "editor/WaitCursor.h"
#include "editor/frmKirva.h"
#include "ini/helpers.h"
#include "machine/TelvarFile.h"
#include "translate/messages.h"

namespace kirva {

namespace {

// A standard value: the control and its value; nullptr selects the first entry of its list.
struct StandardValue {
    const char* Array;
    int Member;
    const char* Value;
};

// "Paramètres standards" of the DNC panels (cmdExit 5): the values of a new machine.
constexpr std::array<StandardValue, 27> kDncStandardValues{{
    {"cboDnc", 20, "1"},
    {"cboDnc", 21, "7"},
    {"cboDnc", 22, "1"},
    {"cboDnc", 23, "Paire"},
    {"cboDnc", 28, "2"},
    {"cboDnc", 92, "0"},
    {"cboDnc", 24, "9600"},
    {"cboDnc", 89, "9600"},
    {"TxtDnc", 25, "13,10"},
    {"cboDnc", 26, "RTS/CTS"},
    {"TxtDnc", 29, "0"},
    {"TxtDnc", 30, "0"},
    {"TxtDnc", 35, "5"},
    {"cboDnc", 70, "512"},
    {"cboDnc", 71, "512"},
    {"TxtDnc", 69, "0"},
    {"TxtDnc", 63, "X$$$$(APPEL PROGRAMME)"},
    {"cboDnc", 31, nullptr},
    {"cboDnc", 36, nullptr},
    {"TxtDnc", 37, "5"},
    {"TxtDnc", 65, "10"},
    {"TxtDnc", 38, "180.0.0.0"},
    {"cboDnc", 39, "FTP"},
    {"TxtDnc", 40, ""},
    {"TxtDnc", 41, ""},
    {"optDnc", 85, "1"},
    {"cboDnc", 93, "0"},
}};

// "Paramètres standards" of the syntax and header panel (cmdExit 6).
constexpr std::array<StandardValue, 6> kIsoStandardValues{{
    {"txtIso", 121, "36"},
    {"txtIso", 120, "#"},
    {"txtIso", 124, "MAROVEX"},
    {"optIso", 125, "1"},
    {"optIso", 129, "1"},
    {"cboIso", 108, "#1"}, // the second entry
}};

// The program folder buttons and the field each fills.
struct ProgramFolderButton {
    int Member;
    int Field;
    bool Archive;
};
constexpr std::array<ProgramFolderButton, 3> kProgramFolderButtons{
    {{3, 49, false}, {8, 98, false}, {13, 99, true}}};

// The arrays searched for an empty field, in order.
const QStringList& SweptArrays() {
    static const QStringList arrays{QStringLiteral("TxtTelvar"), QStringLiteral("txtIso"),
                                    QStringLiteral("TxtDnc"),    QStringLiteral("cboTelvar"),
                                    QStringLiteral("cboIso"),    QStringLiteral("cboDnc")};
    return arrays;
}

bool IsEmptyField(QWidget* w) {
    if (auto* line = qobject_cast<QLineEdit*>(w)) return line->text().trimmed().isEmpty();
    if (auto* box = qobject_cast<QComboBox*>(w)) return box->currentText().trimmed().isEmpty();
    return false;
}

} // namespace

// ====================================================================== wiring

void frmKirva::WireCommands() {
    SetCommandAction(0, [this] { Apply(); });
    SetCommandAction(1, [this] { close(); });
    SetCommandAction(2, [this] { CreateServerFolder(); });
    for (const ProgramFolderButton& b : kProgramFolderButtons) {
        SetCommandAction(b.Member, [this, b] { CreateProgramFolderOf(b.Field, b.Archive); });
    }
    SetCommandAction(4, [this] { ping_->RunTest(); });
    SetCommandAction(5, [this] { FillStandardValues(5); });
    SetCommandAction(6, [this] { FillStandardValues(6); });
    SetCommandAction(7, [this] { analysisChannels_->TakeShownChannel(); });
    SetCommandAction(9, [this] { LoadMachineFile(); });
    SetCommandAction(10, [this] { ExportMachine(); });
    SetCommandAction(11, [this] {
        const WaitCursor wait;
        StartServer(FieldText(QStringLiteral("TxtTelvar"), 48).toStdString());
    });
    SetCommandAction(12, [this] {
        const WaitCursor wait;
        StopServer(FieldText(QStringLiteral("TxtTelvar"), 48).toStdString(),
                   FieldText(QStringLiteral("TxtTelvar"), 1).trimmed().toStdString());
    });
}

QString frmKirva::FieldText(const QString& array, int member) const {
    if (auto* line = qobject_cast<QLineEdit*>(Control(array, member))) return line->text();
    return QString();
}

void frmKirva::SetFieldText(const QString& array, int member, const QString& text) {
    if (auto* line = qobject_cast<QLineEdit*>(Control(array, member))) line->setText(text);
}

void frmKirva::FocusField(QWidget* field) {
    if (field == nullptr) return;
    SetFocusOnPanOfInfo(field);
    field->setFocus(Qt::OtherFocusReason);
}

// ====================================================================== apply

bool frmKirva::ShownInThisMode(QWidget* w) const {
    // A page that a stacked widget or a tab strip keeps behind is still shown in this mode;
    // a field hidden for the calling program is not.
    for (QWidget* a = w; a != nullptr && a != this; a = a->parentWidget()) {
        if (a->isHidden() && qobject_cast<QStackedWidget*>(a->parentWidget()) == nullptr) return false;
    }
    return true;
}

QWidget* frmKirva::FirstEmptyField() const {
    for (QWidget* w : ArrayControls(SweptArrays())) {
        const QString name = w->objectName();
        const qsizetype underscore = name.lastIndexOf(QLatin1Char('_'));
        const FieldDef* def =
            FindField(name.left(underscore).toStdString(), name.mid(underscore + 1).toInt());
        // A control that is no field of the record (the insertion's bitmap) never blocks.
        if (def == nullptr || FieldMayStayEmpty(*def)) continue;
        if (ShownInThisMode(w) && w->isEnabled() && IsEmptyField(w)) return w;
    }
    return nullptr;
}

bool frmKirva::Apply() {
    const QString reference = FieldText(QStringLiteral("TxtTelvar"), 1);
    const QString folder = FieldText(QStringLiteral("TxtTelvar"), 48);
    switch (CheckBeforeApply(state_.Settings, reference.toStdString(), folder.toStdString())) {
    case ApplyCheck::Passed:
        break;
    case ApplyCheck::ServerFolder:
        FocusField(Control(QStringLiteral("TxtTelvar"), 48));
        return false;
    default:
        FocusField(Control(QStringLiteral("TxtTelvar"), 1));
        return false;
    }
    if (QWidget* empty = FirstEmptyField()) {
        FocusField(empty);
        return false;
    }

    TakeMachine(Machine(), Remonte());
    ApplyActions actions;
    actions.StartServer = [folder] { return StartServer(folder.toStdString()); };
    actions.SaveLists = [this](const std::string& iso, const std::string& telvar) {
        isoInsert_->List().SetPath(iso);
        plans_->List().SetPath(telvar);
        channels_->List().SetPath(telvar);
        bool saved = true;
        const std::pair<bool, const std::string*> results[] = {
            {isoInsert_->Save(), &iso}, {plans_->Save(), &telvar}, {channels_->Save(), &telvar}};
        for (const auto& [ok, path] : results) {
            if (!ok) ShowFileProblem(kCallerFileWriteFailed, *path);
            saved = saved && ok;
        }
        return saved;
    };
    {
        const WaitCursor wait;
        lastApply_ = ApplyMachine(state_, Machine(), Remonte(), actions);
    }
    // The edit is over, as the cancel button ends it; what was edited is written.
    applied_ = true;
    close();
    return true;
}

// ====================================================================== folders

void frmKirva::CreateServerFolder() {
    std::string field = FieldText(QStringLiteral("TxtTelvar"), 48).trimmed().toStdString();
    const bool hadFolder = !field.empty();
    const std::string reference = FieldText(QStringLiteral("TxtTelvar"), 1).trimmed().toStdString();
    if (!FNCreateDirTelvar(state_, Machine(), reference, field)) return;
    machineDir_ = Q(Machine().MachineDir);
    if (!hadFolder) SetFieldText(QStringLiteral("TxtTelvar"), 48, Q(field));
}

void frmKirva::CreateProgramFolderOf(int field, bool archive) {
    const auto folder =
        ProposedProgramFolder(state_.Settings, FieldText(QStringLiteral("TxtTelvar"), 1).toStdString(),
                              FieldText(QStringLiteral("TxtTelvar"), field).toStdString(), archive);
    if (!folder || !CreateProgramFolder(*folder)) return;
    SetFieldText(QStringLiteral("TxtTelvar"), field, Q(*folder));
}

// ====================================================================== standard values

void frmKirva::FillStandardValues(int member) {
    const auto values = member == 5 ? std::span<const StandardValue>(kDncStandardValues)
                                    : std::span<const StandardValue>(kIsoStandardValues);
    for (const StandardValue& v : values) {
        QWidget* w = Control(QString::fromUtf8(v.Array), v.Member);
        if (auto* line = qobject_cast<QLineEdit*>(w)) {
            line->setText(QString::fromUtf8(v.Value));
        } else if (auto* box = qobject_cast<QComboBox*>(w)) {
            const QString value = v.Value == nullptr ? QString() : QString::fromUtf8(v.Value);
            int index = 0;
            if (value.startsWith(QLatin1Char('#'))) {
                index = value.mid(1).toInt();
            } else if (!value.isEmpty()) {
                index = box->findText(Tr(v.Value));
                if (index < 0) index = box->findText(value);
            }
            if (index >= 0 && index < box->count()) {
                box->setCurrentIndex(index);
                emit box->activated(index);
            } else if (box->isEditable()) {
                box->setEditText(value);
            }
        } else if (auto* option = qobject_cast<QAbstractButton*>(w)) {
            option->setChecked(true);
        }
    }
}

// ====================================================================== machine files

void frmKirva::LoadMachineFile() {
    std::string folder = FieldText(QStringLiteral("TxtTelvar"), 48).trimmed().toStdString();
    std::string file;
    if (!folder.empty()) {
        folder = AddTrailingBackslash(folder);
        file = TelvarIniPathIn(folder);
    } else {
        const auto chosen = Dialogs().OpenFile(this, Tr(kLoadTitle), MachineFolder(), AllFilesFilter());
        if (!chosen) return;
        file = chosen->toStdString();
        // The file's machine gets its server folder under the servers' root folder.
        const std::string reference = ReferenceInFile(file);
        std::string field;
        if (FNCreateDirTelvar(state_, Machine(), reference, field)) {
            folder = field;
            SetFieldText(QStringLiteral("TxtTelvar"), 48, Q(field));
        }
    }
    ShowMachineFile(file, folder);
}

void frmKirva::ShowMachineFile(const std::string& file, const std::string& folder) {
    // The fields that Telvar.ini does not hold keep what the window shows; the file gives the rest.
    MachineConfig machine = Machine();
    RemonteState remonte = Remonte();
    TakeMachine(machine, remonte);
    if (!ReadTelvarIni(file, machine, remonte)) return;
    machine.MachineDir = folder;
    Machine() = machine;
    Remonte() = remonte;
    ShowMachine(Machine(), Remonte());
    plans_->Load(file);
    channels_->Load(file);
    isoInsert_->Load(FieldText(QStringLiteral("TxtTelvar"), 2).toStdString());
}

void frmKirva::RestoreMachine() {
    const QString folder = MachineFolder();
    if (folder.trimmed().isEmpty()) return;
    const std::string file = TelvarIniPathIn(AddTrailingBackslash(folder.trimmed().toStdString()));
    const auto chosen = Dialogs().ChooseBackup(this, file);
    if (!chosen) return;
    std::string when;
    for (const BackupEntry& b : ListBackups(file))
        if (b.Path == *chosen) when = b.When;
    if (!RestoreBackup(*chosen, file)) return;
    ShowMachineFile(file, AddTrailingBackslash(folder.trimmed().toStdString()));
    ShowStatus(Tr(kRestored, when));
}

void frmKirva::ExportMachine() {
    const auto folder = Dialogs().SelectFolder(this, Tr(kExportTitle), MachineFolder());
    if (!folder) return;
    ExportMachineFile(MachineFolder().toStdString(), FieldText(QStringLiteral("TxtTelvar"), 1).toStdString(),
                      folder->toStdString());
}

} // namespace kirva
