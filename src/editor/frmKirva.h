// The program's one window: a machine's connection configuration, opened in add mode
// (AppCalling 1) or in modify mode (AppCalling 2).
//
// On the left the tree TvwCat lists the panels by theme; on the right the panels PanConfig_0 ..
// PanConfig_18 are stacked, each tagged "pan:<number>|" (dynamic property "Tag") like its tree
// node. The fields are laid out from the field table (app/FieldTable.h); every control of an
// array carries the object name "<array>_<member>".
#pragma once

#include <QHash>
#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <map>
#include <vector>

#include "app/Apply.h"
#include "app/FieldTable.h"
#include "app/ProgramSettings.h"
#include "editor/Vocabularies.h"
#include "machine/ControlCatalogue.h"
#include "machine/MachineConfig.h"

class QCloseEvent;
class QComboBox;
class QFormLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QStackedWidget;
class QTabBar;
class QTabWidget;
class QTextEdit;
class QTreeWidget;
class QTreeWidgetItem;
class QVBoxLayout;

namespace kirva {

class ActivityChannelsPanel;
class ChannelsPanel;
class FieldFocusWatcher;
class IsoInsertPanel;
class PingWidgets;
class PlansPanel;
class WorkshopActivities;
struct BrowseDef;

class frmKirva : public QMainWindow {
    Q_OBJECT

  public:
    // state is the program-wide state filled by start-up (normally App()). In modify mode the
    // window shows the shared record (Machine(), Remonte()).
    explicit frmKirva(ProgramState& state, QWidget* parent = nullptr);
    ~frmKirva() override;

    // True when the window was opened to add a machine.
    bool AddMode() const;

    // ---------------------------------------------------------------- panels and navigation
    // Clears TvwCat and adds its nineteen nodes.
    void BuildPanelTree();
    // Brings to the front the first panel whose "pan:" value equals panel exactly.
    void ShowPanel(const QString& panel);
    // Brings to the front the panel that holds control (climbing its containers up to the window).
    void SetFocusOnPanOfInfo(QWidget* control);
    // Entry into and exit from an editing field: highlight and selection.
    void CtrlGotFocus(QWidget* control);
    void CtrlLostFocus(QWidget* control);
    // Kept for the callers of the window; does nothing.
    void SetOnglet();
    // The number of the panel in front ("3.2").
    QString CurrentPanel() const;

    // ---------------------------------------------------------------- the record
    // Shows a machine in the fields (and the lists it holds: workshop activities, analysis channels).
    void ShowMachine(const MachineConfig& machine, const RemonteState& remonte);
    // Takes every field into the record, each into the member of the key it edits. Members that no
    // field edits (the machine folder, Socket, ...) are left as they are.
    void TakeMachine(MachineConfig& machine, RemonteState& remonte) const;

    // A control by array and member ("cboDnc", 23) or by its own name (member -1); nullptr when none.
    QWidget* Control(const QString& array, int member = -1) const;
    // Every control of the given arrays, array after array in the order given, by member number
    // (the order in which the apply step looks for an empty field: TxtTelvar, txtIso, TxtDnc, ...).
    std::vector<QWidget*> ArrayControls(const QStringList& arrays) const;

    // ---------------------------------------------------------------- commands and field rules
    // Gives a command button (cmdExit member) its action; a button without one stays disabled.
    void SetCommandAction(int member, std::function<void()> action);
    // Runs a browse button (cmdParcourir member, or "cmdChain").
    void Browse(const QString& button, int member);

    // The list panels placed on the window.
    IsoInsertPanel* IsoInsertions() const { return isoInsert_; }
    PlansPanel* Plans() const { return plans_; }
    ChannelsPanel* Channels() const { return channels_; }
    ActivityChannelsPanel* AnalysisChannels() const { return analysisChannels_; }
    PingWidgets* Ping() const { return ping_; }
    // What the last apply wrote (all false before the first).
    const ApplyOutcome& LastApply() const { return lastApply_; }

    // Renders every panel, in tree order, to folder/<panel number>.png. False (with a reason) when
    // the folder cannot be made or a picture cannot be written.
    bool SaveScreenshots(const QString& folder, QString* error = nullptr);

    // Whether a field now differs from what the window showed of the machine.
    bool FieldChanged(const FieldDef& def) const;
    // The number of fields that differ from what was read.
    int ChangedFieldCount() const;

  protected:
    // A cancel (the button, Escape, the close box) with changes asks once whether to drop them.
    void closeEvent(QCloseEvent* event) override;

  private:
    // Where a field stands: its form and the widget of its row (the field, or the field with its buttons).
    struct RowPlace {
        QFormLayout* Form = nullptr;
        QWidget* Row = nullptr;
    };

    // ---------------------------------------------------------------- window frame (frmKirva.cpp)
    void BuildWindow();
    void SetTitle();
    void SetInfoTabs();
    void OnNodeChosen(QTreeWidgetItem* item);
    // Enter presses the apply button, Escape the cancel button; the first size fits the screen.
    void SetUpKeyboard();
    void FitToScreen();
    // A line in the status bar (the dictionary's words; x1x, x2x, ... replaced by values).
    void ShowStatus(const QString& text);

    // ---------------------------------------------------------------- panels (frmKirvaPanels.cpp)
    QWidget* BuildPanel(int index, const char* panel, const char* text);
    void AddFieldRow(QFormLayout* form, const FieldDef& def);
    void AddGroupExtras(const QString& panel, const QString& group, QFormLayout* form);
    void AddPanelExtras(const QString& panel, QVBoxLayout* layout);
    void AlignLabels();

    // ---------------------------------------------------------------- buttons (frmKirvaCommands.cpp)
    QPushButton* CommandButton(int member);
    QPushButton* BrowseButton(const BrowseDef& def);
    QWidget* ServiceGroup();
    // Runs the service command of CmdService member (1..5) and shows its log in RtbServices.
    void RunServiceCommand(int member);
    void UpdateApplyButtons();
    void RunCommand(int member);
    void ReloadIsoInsertions(const QString& path);
    QString MachineFolder() const;

    // ---------------------------------------------------------------- commands (frmKirvaApply.cpp)
    void WireCommands();
    QString FieldText(const QString& array, int member) const;
    void SetFieldText(const QString& array, int member, const QString& text);
    void FocusField(QWidget* field);
    bool ShownInThisMode(QWidget* w) const;
    QWidget* FirstEmptyField() const;
    bool Apply();
    void CreateServerFolder();
    void CreateProgramFolderOf(int field, bool archive);
    void FillStandardValues(int member);
    void LoadMachineFile();
    // Shows a machine file in the fields and its lists, as "&Charger" does.
    void ShowMachineFile(const std::string& file, const std::string& folder);
    void ExportMachine();
    // "Restaurer...": a backup of the machine's Telvar.ini put back and shown.
    void RestoreMachine();

    // ---------------------------------------------------------------- lists and rules (frmKirvaRules.cpp)
    void FillChoiceLists();
    void HideProgramManagerFields();
    void LoadMachineLists();
    void WatchEditingFields();
    void UpdateStartConditionCompanions();
    void OnGroupChosen(int index);
    void OnModelChosen(int index);
    // Input rules of the fields (numbers by their key, the start condition's companions, no wheel
    // on an unfocused list), the settling of a number field left, and the marks of a preset.
    void InstallInputRules();
    void SettleFieldOnLeave(QWidget* control);
    void MarkPresetFields(const QList<QWidget*>& changed);

    // ---------------------------------------------------------------- the record (frmKirvaTransfer.cpp)
    QWidget* WidgetOf(const FieldDef& def) const;
    void ShowField(const FieldDef& def, const std::string& stored);
    std::string FieldValue(const FieldDef& def) const;
    QString DisplayState(const FieldDef& def) const;
    // The hints beside some fields: characters shown readably, a COM port this computer lacks, a
    // port another machine of the workshop uses (frmKirvaHints.cpp).
    bool FieldHasHint(const FieldDef& def) const;
    void UpdateHint(const FieldDef& def);
    void LoadWorkshopPorts();
    // The marks of the changed fields (bold label, the value read in the tooltip) and the title.
    void ScheduleChangeMarks();
    void UpdateChangeMarks();
    // The program-header preview, from the fields as they stand.
    void UpdateHeaderPreview();

    // ---------------------------------------------------------------- state
    ProgramState& state_;
    ControlCatalogue catalogue_;
    VocabularyCache vocabularies_;
    QHash<QString, QWidget*> controls_;
    QHash<QString, RowPlace> rowOf_; // by the field's object name
    QString machineDir_;             // folder of the machine shown
    std::vector<QWidget*> panConfig_;
    QTreeWidget* tvwCat_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    QTabBar* tabInfo_ = nullptr;
    QLabel* infoHeader_ = nullptr;
    QTabWidget* tabDnc_ = nullptr;
    QTabWidget* tabIso_ = nullptr;
    QTextEdit* infoBox_ = nullptr;
    IsoInsertPanel* isoInsert_ = nullptr;
    PlansPanel* plans_ = nullptr;
    ChannelsPanel* channels_ = nullptr;
    ActivityChannelsPanel* analysisChannels_ = nullptr;
    WorkshopActivities* activities_ = nullptr;
    PingWidgets* ping_ = nullptr;
    FieldFocusWatcher* focusWatcher_ = nullptr;
    std::array<std::function<void()>, 14> commandActions_;
    bool referenceTyped_ = false; // the reference field held text before the last key
    ApplyOutcome lastApply_;      // what the last apply wrote
    bool applied_ = false;        // the window closes after an apply: nothing to drop
    bool marksPending_ = false;   // an update of the change marks is on its way
    int changedFields_ = 0;
    QHash<QString, QLabel*> hints_;                              // by the field's object name
    std::vector<QPlainTextEdit*> headerPreviews_;                // on the syntax and header panels
    std::map<std::int32_t, std::string> otherTcp_, otherSerial_; // ports of the workshop's other machines
};

} // namespace kirva
