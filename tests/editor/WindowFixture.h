// A real frmKirva over a fresh temporary folder: the hand-off values, a small control catalogue
// and a recorded message box.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QFocusEvent>
#include <QLineEdit>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/ProgramSettings.h"
#include "editor/BrowseTable.h"
#include "editor/frmKirva.h"
#include "machine/MachineConfig.h"
#include "support/TestSupport.h"
#include "translate/translate.h"

namespace kirva::test {

// Groups 3 ("Tours": models 31, 32) and 5 ("Fraiseuses": model 51). Group 3 lacks "CarDebCom".
inline constexpr const char* kCatalogue =
    "[CN_GROUP]\r\nListeCodeGroup=3,5\r\n"
    "[GROUP_3]\r\nName=Tours\r\nListeCodeModel=31,32\r\nCarDebProg=%\r\n"
    "CarDebBloc=N\r\nForceSepDec=1\r\nIJRel=0\r\n"
    "[GROUP_5]\r\nName=Fraiseuses\r\nListeCodeModel=51\r\nCarDebProg=:\r\n"
    "[MODELS]\r\nRef_31=TC-100\r\nRef_32=TC-200\r\nRef_51=FR-1\r\n";

class WindowFixture {
  public:
    explicit WindowFixture(int mode = 1, int appCalling = 2) {
        TK_TRANSLATE::Shared().Init("");
        ProgramSettings& s = state.Settings;
        s.Mode = mode;
        s.AppCalling = appCalling;
        s.CurrentIndexMO = 1;
        s.NbDevice = 1;
        s.RefMO = {"", "TOUR1"};
        s.PathDirData = dir / "Data/";
        s.DefaultPathDirTelvar = dir / "Telvar/";
        s.PathAppCallingIni = dir / (mode == 2 ? "Harbix.ini" : "Kalderon.ini");
        s.NbTreeViewNode = 2;
        s.RefDirNode = {"", "Atelier A", "Atelier B"};
        s.Spe = {"", "LECT_CART"};
        state.VersionText = "2.1.0.14";
        state.InfoCNPath = s.PathDirData + "InfoCN.ini";
        WriteBytes(state.InfoCNPath, kCatalogue);
    }

    // Opens the window on a machine (modify mode shows it).
    frmKirva& Open(const MachineConfig& machine = MachineConfig(),
                   const RemonteState& remonte = RemonteState()) {
        Machine() = machine;
        Remonte() = remonte;
        window = std::make_unique<frmKirva>(state);
        return *window;
    }

    template <typename T>
    T* Find(const char* name) const {
        return window->findChild<T*>(QString::fromUtf8(name));
    }
    // The text box of a line field or of an editable list.
    QLineEdit* Line(const char* name) const {
        if (auto* line = Find<QLineEdit>(name)) return line;
        auto* box = Find<QComboBox>(name);
        return box == nullptr ? nullptr : box->lineEdit();
    }
    // What the window hands to the apply step.
    MachineConfig Taken() const {
        MachineConfig m;
        RemonteState r;
        window->TakeMachine(m, r);
        return m;
    }
    // Shown and active, as the keyboard needs it.
    void Show() const {
        window->show();
        QApplication::setActiveWindow(window.get());
    }

    TempDir dir;
    ProgramState state;
    RecordingMessages messages;
    std::unique_ptr<frmKirva> window;
};

// The keyboard focus entering (QEvent::FocusIn) or leaving (QEvent::FocusOut) a field.
inline void SendFocus(QWidget* field, QEvent::Type type) {
    QFocusEvent event(type, Qt::TabFocusReason);
    QCoreApplication::sendEvent(field, &event);
}

// A choice of the user in a list (a program's setCurrentIndex alone is no choice).
inline void Choose(QComboBox* box, int index) {
    box->setCurrentIndex(index);
    emit box->activated(index);
}

// Answers every dialog with `answer` (nothing = the user cancelled) and records the titles.
class FakeDialogs : public DialogService {
  public:
    FakeDialogs() { SetDialogService(this); }
    ~FakeDialogs() override { SetDialogService(nullptr); }
    std::optional<QString> OpenFile(QWidget*, const QString& title, const QString& start,
                                    const QString&) override {
        return Record(title, start, files);
    }
    std::optional<QString> SelectFolder(QWidget*, const QString& title, const QString& start) override {
        return Record(title, start, folders);
    }
    std::optional<QString> Record(const QString& title, const QString& start, int& count) {
        titles.push_back(title);
        starts.push_back(start);
        ++count;
        return answer;
    }
    std::optional<QString> answer;
    std::vector<QString> titles, starts;
    int files = 0, folders = 0;
};

// A test with its window open from the start: modify mode, the program manager calling, no machine.
template <typename Base = ::testing::Test>
class OpenWindow : public Base {
  protected:
    WindowFixture f;
    frmKirva& w = f.Open();
};

} // namespace kirva::test
